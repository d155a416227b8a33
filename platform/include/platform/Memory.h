#pragma once

#include <cstddef>

#include "platform/Export.h"

namespace orbis::platform {

// This process's own memory, for addresses that come from another library and may be wrong. It is the same whatever machine is in
// force, so it is no part of Platform.
class Memory {
public:
    Memory() = delete;

    // Copies `bytes` bytes from `address`; false, without a fault, when one of them cannot be read. ReadProcessMemory of the
    // current process on Windows.
    [[nodiscard]] ORBIS_PLATFORM_EXPORT static bool Read(const void* address, void* to, std::size_t bytes) noexcept;
};

}  // namespace orbis::platform
