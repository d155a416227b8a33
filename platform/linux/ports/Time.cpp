#include "linux/ports/Time.h"

#include <thread>

namespace orbis::platform {

std::chrono::system_clock::time_point LinuxTime::UtcNow() { return std::chrono::system_clock::now(); }

void LinuxTime::Sleep(std::uint32_t milliseconds) { std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds)); }

}  // namespace orbis::platform
