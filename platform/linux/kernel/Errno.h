#pragma once

#include <cstdint>

namespace orbis::platform::linux_system {

// The Win32 error that a Windows user would see for the same cause as this errno.
[[nodiscard]] std::uint32_t Win32FromErrno(int error) noexcept;

}  // namespace orbis::platform::linux_system
