#include "linux/disks/DiskStats.h"

#include <algorithm>
#include <array>

#include "linux/kernel/Files.h"

namespace orbis::platform::linux_system {
namespace {

constexpr std::size_t kFields = 10;
constexpr std::uint64_t kStatSector = 512;
constexpr std::size_t kDiskStatsLimit = std::size_t{4} << 20;

// Is "nvme1c0n2" a path of "nvme1n2"?
bool IsPathOf(std::string_view path, std::string_view name)
{
    constexpr std::string_view kDigits = "0123456789";
    const std::size_t subsystem = name.find('n', 4);  // after "nvme"
    if (subsystem == std::string_view::npos || path.size() <= subsystem || path.substr(0, subsystem) != name.substr(0, subsystem) ||
        path[subsystem] != 'c') {
        return false;
    }
    const std::size_t controllerEnd = path.find_first_not_of(kDigits, subsystem + 1);
    return controllerEnd != std::string_view::npos && path.substr(controllerEnd) == name.substr(subsystem);
}

}  // namespace

std::optional<DiskStats> ParseDiskStats(const std::vector<std::string_view>& words)
{
    std::array<std::uint64_t, kFields> fields{};
    if (words.size() < kFields) {
        return std::nullopt;
    }
    for (std::size_t i = 0; i < kFields; ++i) {
        const std::optional<std::uint64_t> value = ParseNumber(words[i]);
        if (!value) {
            return std::nullopt;
        }
        fields[i] = *value;
    }
    // reads, merged, sectors, time; writes, merged, sectors, time; in flight, busy time
    return DiskStats{.reads = fields[0],
                     .readBytes = fields[2] * kStatSector,
                     .readMilliseconds = fields[3],
                     .writes = fields[4],
                     .writtenBytes = fields[6] * kStatSector,
                     .writeMilliseconds = fields[7],
                     .inFlight = fields[8],
                     .busyMilliseconds = fields[9]};
}

std::optional<DiskStats> ReadDiskStats(const Roots& roots, const std::string& blockName)
{
    return ParseDiskStats(SplitWords(ReadText(roots.sys + "/class/block/" + blockName + "/stat")));
}

std::optional<DiskStats> StatsOfDisk(const std::map<std::string, DiskStats>& all, const std::string& name)
{
    const auto own = all.find(name);
    if (own == all.end()) {
        return std::nullopt;
    }
    DiskStats stats = own->second;
    if (!name.starts_with("nvme") || stats.reads != 0 || stats.writes != 0) {
        return stats;
    }
    for (const auto& [path, counted] : all) {
        if (IsPathOf(path, name)) {
            stats.reads += counted.reads;
            stats.readBytes += counted.readBytes;
            stats.readMilliseconds += counted.readMilliseconds;
            stats.writes += counted.writes;
            stats.writtenBytes += counted.writtenBytes;
            stats.writeMilliseconds += counted.writeMilliseconds;
            stats.inFlight += counted.inFlight;
            // Usually one path is used at a time, so the busiest one is taken for the namespace.
            stats.busyMilliseconds = std::max(stats.busyMilliseconds, counted.busyMilliseconds);
        }
    }
    return stats;
}

std::map<std::string, DiskStats> ReadAllDiskStats(const Roots& roots)
{
    constexpr std::size_t kNameAt = 2;  // after major and minor number
    std::map<std::string, DiskStats> all;
    const std::string text = ReadBytes(roots.proc + "/diskstats", kDiskStatsLimit).value_or(std::string());
    for (const std::string_view line : SplitLines(text)) {
        std::vector<std::string_view> words = SplitWords(line);
        if (words.size() > kNameAt) {
            const std::string name(words[kNameAt]);
            words.erase(words.begin(), words.begin() + kNameAt + 1);
            if (const std::optional<DiskStats> stats = ParseDiskStats(words)) {
                all.emplace(name, *stats);
            }
        }
    }
    return all;
}

}  // namespace orbis::platform::linux_system
