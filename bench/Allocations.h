#pragma once

#include <cstdint>

namespace orbis::bench {

// Heap allocations of this process so far, libraries included.
[[nodiscard]] std::uint64_t Allocations() noexcept;

}  // namespace orbis::bench
