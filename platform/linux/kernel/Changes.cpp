#include "linux/kernel/Changes.h"

#include "linux/kernel/Files.h"

namespace orbis::platform::linux_system {

Moment Moment::Now(const Roots& roots) { return {ReadText(roots.sys + "/kernel/uevent_seqnum"), std::chrono::steady_clock::now()}; }

bool Moment::Confirms(const Moment& then) const noexcept
{
    return !events.empty() && events == then.events && time - then.time < std::chrono::seconds(1);
}

}  // namespace orbis::platform::linux_system
