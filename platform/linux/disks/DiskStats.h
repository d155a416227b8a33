#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "linux/kernel/Kernel.h"

namespace orbis::platform::linux_system {

// Activity of one block device since it appeared, as the kernel counts it (Documentation/admin-guide/iostats.rst).
struct DiskStats {
    std::uint64_t reads = 0;
    std::uint64_t readBytes = 0;
    std::uint64_t readMilliseconds = 0;  // summed over requests, so it may pass faster than the clock; wraps at 2^32
    std::uint64_t writes = 0;
    std::uint64_t writtenBytes = 0;
    std::uint64_t writeMilliseconds = 0;
    std::uint64_t inFlight = 0;
    std::uint64_t busyMilliseconds = 0;  // some request was under way; wraps at 2^32
};

// From the words of a "stat" attribute, or of a diskstats line past the device's name.
[[nodiscard]] std::optional<DiskStats> ParseDiskStats(const std::vector<std::string_view>& words);
// One block device, by kernel name.
[[nodiscard]] std::optional<DiskStats> ReadDiskStats(const Roots& roots, const std::string& blockName);
// One whole disk, from ReadAllDiskStats. Before Linux 6.4 an NVMe namespace with native multipath counts nothing itself; its hidden
// paths ("nvme1c0n2" of "nvme1n2") do, and are summed for it.
[[nodiscard]] std::optional<DiskStats> StatsOfDisk(const std::map<std::string, DiskStats>& all, const std::string& name);
// All block devices in one read of diskstats, by kernel name.
[[nodiscard]] std::map<std::string, DiskStats> ReadAllDiskStats(const Roots& roots);

}  // namespace orbis::platform::linux_system
