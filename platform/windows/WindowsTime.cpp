#include "WindowsTime.h"

#include "WindowsHeaders.h"

namespace orbis::platform {

std::chrono::system_clock::time_point WindowsTime::UtcNow() { return std::chrono::system_clock::now(); }

void WindowsTime::Sleep(std::uint32_t milliseconds) { ::Sleep(milliseconds); }

}  // namespace orbis::platform
