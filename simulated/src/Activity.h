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

    ActivityTotals& operator+=(const ActivityTotals& other);
};

// The totals of a disk at a time after the start; they stand still while the disk is away.
[[nodiscard]] ActivityTotals TotalsAt(const DiskModel& disk, double seconds);

}  // namespace orbis::simulated
