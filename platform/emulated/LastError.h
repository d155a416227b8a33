#pragma once

#include <cstdint>

namespace orbis::platform::emulated {

using Win32Error = std::uint32_t;

// GetLastError and SetLastError of the calling thread, shared by all ports of the process as on Windows.
[[nodiscard]] Win32Error LastError() noexcept;
void SetLastError(Win32Error error) noexcept;

// Sets the last error and returns the result of a failed call.
template <typename T>
[[nodiscard]] T FailWith(Win32Error error, T result) noexcept
{
    SetLastError(error);
    return result;
}

}  // namespace orbis::platform::emulated
