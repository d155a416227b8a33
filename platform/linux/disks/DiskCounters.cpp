#include "linux/disks/DiskCounters.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <string_view>
#include <utility>

#include "emulated/CaseFolding.h"

namespace orbis::platform::linux_system {
namespace {

constexpr std::array kNames{
    std::pair{std::u16string_view(u"% Idle Time"), DiskCounter::IdleTime},
    std::pair{std::u16string_view(u"% Disk Read Time"), DiskCounter::ReadTime},
    std::pair{std::u16string_view(u"% Disk Write Time"), DiskCounter::WriteTime},
    std::pair{std::u16string_view(u"Disk Read Bytes/sec"), DiskCounter::ReadBytesPerSecond},
    std::pair{std::u16string_view(u"Disk Write Bytes/sec"), DiskCounter::WriteBytesPerSecond},
    std::pair{std::u16string_view(u"Avg. Disk sec/Read"), DiskCounter::SecondsPerRead},
    std::pair{std::u16string_view(u"Avg. Disk sec/Write"), DiskCounter::SecondsPerWrite},
};

// Sums over the interval, of all its disks.
struct Activity {
    double reads = 0;
    double readBytes = 0;
    double readSeconds = 0;
    double writes = 0;
    double writtenBytes = 0;
    double writeSeconds = 0;
    double busySeconds = 0;
};

// The kernel prints times as 32-bit milliseconds; they start again every 50 days.
double Seconds(std::uint64_t before, std::uint64_t after) noexcept
{
    return static_cast<double>(static_cast<std::uint32_t>(after - before)) / 1000;
}

bool Add(Activity& sum, const DiskInterval& disk) noexcept
{
    const DiskStats& before = disk.before;
    const DiskStats& after = disk.after;
    if (after.reads < before.reads || after.readBytes < before.readBytes || after.writes < before.writes ||
        after.writtenBytes < before.writtenBytes) {
        return false;
    }
    sum.reads += static_cast<double>(after.reads - before.reads);
    sum.readBytes += static_cast<double>(after.readBytes - before.readBytes);
    sum.readSeconds += Seconds(before.readMilliseconds, after.readMilliseconds);
    sum.writes += static_cast<double>(after.writes - before.writes);
    sum.writtenBytes += static_cast<double>(after.writtenBytes - before.writtenBytes);
    sum.writeSeconds += Seconds(before.writeMilliseconds, after.writeMilliseconds);
    sum.busySeconds += Seconds(before.busyMilliseconds, after.busyMilliseconds);
    return true;
}

}  // namespace

std::optional<DiskCounter> DiskCounterByName(std::u16string_view name) noexcept
{
    const auto found =
        std::ranges::find_if(kNames, [&](const auto& entry) { return emulated::EqualIgnoreCase(entry.first, name); });
    return found != kNames.end() ? std::optional(found->second) : std::nullopt;
}

std::optional<double> DiskCounterValue(DiskCounter counter, std::span<const DiskInterval> disks,
                                       std::chrono::nanoseconds elapsed) noexcept
{
    Activity sum;
    if (elapsed.count() <= 0 || !std::ranges::all_of(disks, [&](const DiskInterval& disk) { return Add(sum, disk); })) {
        return std::nullopt;
    }
    const double seconds = std::chrono::duration<double>(elapsed).count();
    const double diskSeconds = seconds * static_cast<double>(std::max<std::size_t>(1, disks.size()));
    switch (counter) {
        case DiskCounter::IdleTime:
            return std::max(0.0, 100 * (1 - sum.busySeconds / diskSeconds));
        case DiskCounter::ReadTime:
            return 100 * sum.readSeconds / diskSeconds;
        case DiskCounter::WriteTime:
            return 100 * sum.writeSeconds / diskSeconds;
        case DiskCounter::ReadBytesPerSecond:
            return sum.readBytes / seconds;
        case DiskCounter::WriteBytesPerSecond:
            return sum.writtenBytes / seconds;
        case DiskCounter::SecondsPerRead:
            return sum.reads > 0 ? sum.readSeconds / sum.reads : 0;
        case DiskCounter::SecondsPerWrite:
            return sum.writes > 0 ? sum.writeSeconds / sum.writes : 0;
    }
    return std::nullopt;
}

}  // namespace orbis::platform::linux_system
