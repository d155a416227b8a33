#include "linux/ports/Time.h"

#include <thread>

namespace orbis::platform::linux_system {

std::chrono::system_clock::time_point Time::UtcNow() { return std::chrono::system_clock::now(); }

void Time::Sleep(std::uint32_t milliseconds) { std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds)); }

}  // namespace orbis::platform::linux_system
