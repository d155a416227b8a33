#pragma once

#include "DiskModel.h"

namespace orbis::simulated {

// What a disk has done since it was plugged in, all growing with time.
struct ActivityTotals {
    double reads = 0;
    double writes = 0;
    double bytesRead = 0;
    double bytesWritten = 0;
    double readSeconds = 0;   // added up over requests
    double writeSeconds = 0;  // added up over requests
    double idleSeconds = 0;

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
