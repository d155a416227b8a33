#pragma once

#include <cstdint>

namespace orbis::bench {

// The memory that operator new allocated in this process, libraries included.
struct HeapUse {
    std::uint64_t allocations = 0;
    std::int64_t bytes = 0;  // in use now
    std::int64_t peak = 0;   // maximum since ResetHeapPeak
};

[[nodiscard]] HeapUse Heap() noexcept;
void ResetHeapPeak() noexcept;

}  // namespace orbis::bench
