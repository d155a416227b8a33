#include "linux/requests/Control.h"

#include <algorithm>

#include <sys/ioctl.h>

namespace orbis::platform::linux_system {

int KernelDevice::Ioctl(unsigned long request, void* argument) const
{
    return calls.ioctl ? calls.ioctl(descriptor, request, argument) : ::ioctl(descriptor, request, argument);
}

std::chrono::nanoseconds MonotonicClock(const KernelCalls& calls)
{
    return calls.monotonicClock ? calls.monotonicClock() : std::chrono::steady_clock::now().time_since_epoch();
}

std::uint32_t KernelTimeout(std::uint32_t seconds) noexcept
{
    constexpr std::uint32_t kLongest = 600;
    return std::min(seconds, kLongest) * 1000;
}

}  // namespace orbis::platform::linux_system
