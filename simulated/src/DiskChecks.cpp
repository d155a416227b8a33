// Rules for one disk as a whole.
#include <fmt/format.h>

#include <cmath>
#include <set>

#include "Bytes.h"
#include "Checker.h"
#include "DiskModel.h"

namespace orbis::simulated {
namespace {

constexpr const char* kIntended = "leave it so if it is intended";

void CheckSizes(const Place& place, const description::Disk& disk, Findings& findings)
{
    if (disk.kind() == description::DISK_KIND_UNSPECIFIED) {
        findings.Warning(place, "kind", "the disk has no kind", "say what it is, such as kind: NVME");
    }
    if (disk.has_sector_size() &&
        (disk.sector_size() < 512 || disk.sector_size() > 65536 || (disk.sector_size() & (disk.sector_size() - 1)) != 0)) {
        findings.Error(place, "sector_size", fmt::format("no disk has sectors of {} bytes", disk.sector_size()),
                       "use a power of two from 512 to 65536");
        return;
    }
    const std::uint32_t sector = disk.has_sector_size() ? disk.sector_size() : 512;
    if (disk.no_medium() && (disk.has_gpt() || disk.has_mbr())) {
        findings.Error(place, "no_medium", "a disk without a medium has no partitions", "remove the partition table, or no_medium");
    }
    if (disk.size() == 0 && !disk.no_medium()) {
        findings.Warning(place, "size", "the disk has no capacity", kIntended);
    } else if (disk.size() % sector != 0) {
        findings.Warning(place, "size", fmt::format("not a multiple of the sector size {}", sector),
                         "round it down to whole sectors");
    }
}

void CheckKind(const Place& place, const description::Disk& disk, Findings& findings)
{
    const KindTraits& traits = TraitsOf(disk.kind());
    if (disk.has_nvme() && !traits.isNvme) {
        findings.Warning(place, "nvme",
                         fmt::format("a disk of kind {} has no NVMe controller", description::DiskKind_Name(disk.kind())),
                         "remove it, or use kind NVME or NVME_RAID");
    }
    if (disk.has_ata() && !traits.isAta) {
        findings.Warning(place, "ata", fmt::format("a disk of kind {} is no ATA device", description::DiskKind_Name(disk.kind())),
                         "remove it, or use kind SATA_HDD, SATA_SSD or USB_SATA");
    }
    for (int i = 0; i < disk.nvme().log_page_size(); ++i) {
        const description::NvmeLogPage& page = disk.nvme().log_page(i);
        const std::size_t size = ToBytes(page.content()).size();
        const bool fails = page.device_status() != 0;
        if ((size == 0 && !fails) || size % 4 != 0) {
            findings.Warning(place.Inner("nvme"), "log_page", fmt::format("a log page of {} bytes", size),
                             "NVMe log pages are whole double words: pad the content with size", i);
        }
    }
}

bool IsRate(double value) { return std::isfinite(value) && value >= 0; }
bool IsPart(double value) { return value >= 0 && value <= 1; }

void CheckOrder(const Place& place, const char* entries, const char* time, const char* message, Findings& findings)
{
    double last = 0;
    for (const Place& entry : place.Each(entries)) {
        const double at = entry.message.GetReflection()->GetDouble(entry.message, &entry.Field(time));
        if (!std::isfinite(at) || at < last) {
            findings.Error(entry, time, message, "put them in order of time");
        }
        last = at;
    }
}

void CheckActivities(const Place& place, const description::Disk& disk, Findings& findings)
{
    if (disk.has_wakes_at() && disk.wakes_at() <= disk.sleeps_at()) {
        findings.Warning(place, "wakes_at", "the disk wakes up before it falls asleep",
                         "it never sleeps: correct one of the times");
    }
    if (disk.has_arrives_at() && disk.has_leaves_at() && disk.leaves_at() <= disk.arrives_at()) {
        findings.Warning(place, "leaves_at", "the disk leaves before it arrives", "it is never there: correct one of the times");
    }
    CheckOrder(place, "counter_change", "at", "changes must come one after the other, from 0 on", findings);
    CheckOrder(place, "activity", "from", "activities must begin one after the other, from 0 on", findings);
    for (const Place& inner : place.Each("activity")) {
        const auto& activity = dynamic_cast<const description::Activity&>(inner.message);
        if (!IsRate(activity.reads_per_second()) || !IsRate(activity.writes_per_second()) ||
            !IsRate(activity.read_bytes_per_second()) || !IsRate(activity.write_bytes_per_second()) ||
            !IsRate(activity.seconds_per_read()) || !IsRate(activity.seconds_per_write())) {
            findings.Error(inner, "from", "a rate of this activity is negative or no number", "write rates of 0 or more");
        }
        if (activity.has_idle() && !IsPart(activity.idle())) {
            findings.Warning(inner, "idle", fmt::format("{} is no part of the time", activity.idle()), "write a value from 0 to 1");
        }
    }
}

void CheckPartitions(const Place& table, const description::Disk& disk, bool gpt, Findings& findings)
{
    const auto& partitions = gpt ? disk.gpt().partition() : disk.mbr().partition();
    const std::vector<Extent> extents = PartitionExtents(partitions);
    const std::vector<Place> places = table.Each("partition");
    std::set<std::uint32_t> numbers;
    std::set<std::string> ids;
    for (std::size_t i = 0; i < places.size(); ++i) {
        const description::Partition& partition = partitions.Get(static_cast<int>(i));
        const Extent& extent = extents[i];
        if (extent.size > disk.size() || extent.offset > disk.size() - extent.size) {
            findings.Warning(places[i], "size", fmt::format("the partition ends past the disk's {} bytes", disk.size()),
                             "make it smaller, or the disk larger");
        }
        for (std::size_t j = 0; j < i; ++j) {
            if (extent.offset < extents[j].offset + extents[j].size && extents[j].offset < extent.offset + extent.size) {
                findings.Warning(places[i], "offset", fmt::format("overlaps partition {}", j + 1), kIntended);
            }
        }
        const std::uint32_t number = partition.has_number() ? partition.number() : static_cast<std::uint32_t>(i) + 1;
        if (!numbers.insert(number).second) {
            findings.Warning(places[i], "number", fmt::format("partition number {} is used twice", number),
                             "number each partition once");
        }
        if (gpt && partition.id().empty()) {
            findings.Warning(places[i], "id", "a GPT partition without an identifier",
                             "give it a GUID; an all-zero identifier joins nothing");
        } else if (!partition.id().empty() && !ids.insert(ToLower(partition.id())).second) {
            findings.Warning(places[i], "id", "the identifier is used twice on this disk", "give each partition its own GUID");
        }
        const auto& volume = partition.volume();
        if (volume.has_activity_share() && !IsPart(volume.activity_share())) {
            findings.Warning(places[i].Inner("volume"), "activity_share",
                             fmt::format("{} is no part of the activity", volume.activity_share()), "write a value from 0 to 1");
        }
    }
}

}  // namespace

void CheckDisk(const Place& place, Findings& findings)
{
    const auto& disk = dynamic_cast<const description::Disk&>(place.message);
    CheckSizes(place, disk, findings);
    CheckKind(place, disk, findings);
    CheckActivities(place, disk, findings);
    if (disk.has_gpt()) {
        CheckPartitions(place.Inner("gpt"), disk, true, findings);
    } else if (disk.has_mbr()) {
        CheckPartitions(place.Inner("mbr"), disk, false, findings);
    }
}

}  // namespace orbis::simulated
