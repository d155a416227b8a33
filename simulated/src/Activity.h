#pragma once

#include "DiskModel.h"
#include "emulated/Pdh.h"

namespace orbis::simulated {

// The activity of a disk since it was plugged in; all values grow with time. `busyTime` is computed by the caller, from the idle
// time.
struct ActivityTotals : platform::emulated::DiskTotals {
    double idleTime = 0;

    // Adds `other` so many times.
    ActivityTotals& Add(const ActivityTotals& other, double times = 1);
};

// The totals of a disk at a time after the start; they do not change while the disk is absent.
[[nodiscard]] ActivityTotals TotalsAt(const DiskModel& disk, double seconds);

// The disk's performance instance at a time after the start: its name, and when its counters began from zero.
struct CounterInstance {
    std::string name;  // "0 C: D:"
    double since = 0;
};
[[nodiscard]] CounterInstance CounterInstanceAt(const DiskModel& disk, double seconds);

}  // namespace orbis::simulated
