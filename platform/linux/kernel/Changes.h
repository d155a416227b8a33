#pragma once

#include <chrono>
#include <string>

#include "linux/kernel/Files.h"

namespace orbis::platform::linux_system {

// When sysfs was looked at. The kernel counts the device events that it sends (arrivals, departures, changes of size, medium
// and partitions), so a look need not be repeated until the count moves. A few attributes change without an event, a firmware
// revision for one; so no look is good for longer than a second.
struct Moment {
    std::string events;  // empty where the kernel has no such counter; sysfs is then read every time
    std::chrono::steady_clock::time_point time;

    [[nodiscard]] static Moment Now(const Roots& roots)
    {
        return {ReadText(roots.sys + "/kernel/uevent_seqnum"), std::chrono::steady_clock::now()};
    }
    // Whether what was seen at `then` is good at this moment.
    [[nodiscard]] bool Confirms(const Moment& then) const noexcept
    {
        return !events.empty() && events == then.events && time - then.time < std::chrono::seconds(1);
    }
};

}  // namespace orbis::platform::linux_system
