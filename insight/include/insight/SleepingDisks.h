#pragma once

#include <cstdint>
#include <vector>

#include "insight/Export.h"
#include "insight/HiddenDisks.h"

namespace orbis::insight {

// Keeps collections from waking the disks that are asleep: they are left out of the machine that the collectors meet.
class ORBIS_INSIGHT_EXPORT SleepingDisks {
public:
    // `inner` is not owned and must outlive this object.
    explicit SleepingDisks(platform::Platform& inner) : m_Inner(inner), m_Hidden(inner) {}

    // The machine without its sleeping disks, to be put in force.
    [[nodiscard]] platform::Platform& Visible() noexcept { return m_Hidden; }

    // Asks every disk for its power state, in the way that wakes none; those that are asleep are left out from now on, and those
    // that woke up are back. Call it before the first request of a pass. Where a disk is asleep, the names by which a collection
    // would meet it are asked for as well: device paths and letters, in the same way, and counter instances, which are no disk's.
    void Look();
    // The disks that are left out, with the names learnt so far.
    [[nodiscard]] std::vector<HiddenDisk> Asleep() const { return m_Hidden.Hidden(); }

private:
    [[nodiscard]] bool IsAsleep(const std::u16string& path);
    // Hides the disk behind the path if it is asleep and not hidden yet.
    void HideIfAsleep(const std::u16string& path);

    platform::Platform& m_Inner;
    HiddenDisks m_Hidden;
};

}  // namespace orbis::insight
