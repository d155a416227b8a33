#pragma once

#include <chrono>
#include <optional>
#include <span>
#include <string_view>

#include "linux/disks/DiskStats.h"

namespace orbis::platform::linux_system {

// Counters of the PhysicalDisk performance object.
enum class DiskCounter {
    IdleTime,
    ReadTime,
    WriteTime,
    ReadBytesPerSecond,
    WriteBytesPerSecond,
    SecondsPerRead,
    SecondsPerWrite,
};

// By English name, whatever the case of its letters.
[[nodiscard]] std::optional<DiskCounter> DiskCounterByName(std::u16string_view name) noexcept;

// One disk's numbers at both ends of an interval.
struct DiskInterval {
    DiskStats before;
    DiskStats after;
};

// A counter's value over an interval of more than no time; no disk at all is idle. Over several disks ("_Total") percentages are
// averages, rates are sums, and times per transfer count all transfers. Percentages of time may pass 100 when requests overlap.
// Nothing when a disk counts less than before: it was replaced.
[[nodiscard]] std::optional<double> DiskCounterValue(DiskCounter counter, std::span<const DiskInterval> disks,
                                                     std::chrono::nanoseconds elapsed) noexcept;

}  // namespace orbis::platform::linux_system
