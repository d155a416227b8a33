#pragma once

#include <cstdint>

namespace orbis::platform::linux_system {

// The calling thread's last Win32 error, shared by all ports as it is on Windows.
void SetLastError(std::uint32_t error) noexcept;
[[nodiscard]] std::uint32_t LastError() noexcept;

// The Win32 error that a Windows user would see for the same cause as this errno.
[[nodiscard]] std::uint32_t Win32FromErrno(int error) noexcept;

}  // namespace orbis::platform::linux_system
