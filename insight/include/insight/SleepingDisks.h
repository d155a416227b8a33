#pragma once

#include <cstdint>
#include <vector>

#include "insight/Export.h"
#include "insight/HiddenDisks.h"

namespace orbis::insight {

// Prevents collections from waking sleeping disks: these are left out of the machine that the collectors see.
class ORBIS_INSIGHT_EXPORT SleepingDisks {
public:
    // `inner` is not owned and must outlive this object.
    explicit SleepingDisks(platform::Platform& inner) : m_Inner(inner), m_Hidden(inner) {}

    // The machine without its sleeping disks, to be installed.
    [[nodiscard]] platform::Platform& Visible() noexcept { return m_Hidden; }

    // Asks every disk for its power state, in a way that wakes none. Sleeping disks are left out from now on, and disks that woke
    // up are included again. Call it before the first request of a pass. If a disk is asleep, its other names are looked up as
    // well, so that it is hidden under all of them: device paths and letters, in the same way, and counter instances, which do not
    // involve a disk.
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
