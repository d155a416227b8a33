// Partition tables as IOCTL_DISK_GET_DRIVE_LAYOUT_EX and IOCTL_DISK_GET_PARTITION_INFO_EX report them.
#include <algorithm>
#include <array>
#include <utility>

#include "DiskModel.h"
#include "emulated/DeviceIo.h"
#include "platform/Text.h"

namespace orbis::simulated {
namespace {

constexpr std::uint64_t kMiB = 1ULL << 20;
constexpr std::size_t kHeadSize = sizeof(platform::DriveLayoutHead);
constexpr std::size_t kEntrySize = sizeof(platform::PartitionInformationEx);
constexpr std::size_t kEntryDetails = 32;  // where the GPT or MBR part begins
constexpr std::size_t kMbrEntries = 4;

struct NamedType {
    const char* name;
    platform::Guid guid;
};
constexpr std::array<NamedType, 5> kTypes{{
    {"efi", {0xC12A7328, 0xF81F, 0x11D2, {0xBA, 0x4B, 0x00, 0xA0, 0xC9, 0x3E, 0xC9, 0x3B}}},
    {"msr", {0xE3C9E316, 0x0B5C, 0x4DB8, {0x81, 0x7D, 0xF9, 0x2D, 0xF0, 0x02, 0x15, 0xAE}}},
    {"basic", {0xEBD0A0A2, 0xB9E5, 0x4433, {0x87, 0xC0, 0x68, 0xB6, 0xB7, 0x26, 0x99, 0xC7}}},
    {"recovery", {0xDE94BBA4, 0x06D1, 0x4D40, {0xA1, 0x6A, 0xBF, 0xD5, 0x01, 0x79, 0xD6, 0xAC}}},
    {"linux", {0x0FC63DAF, 0x8483, 0x4772, {0x8E, 0x79, 0x3D, 0x69, 0xD8, 0x47, 0x7D, 0xE4}}},
}};

void PutGuid(PageWriter& page, std::size_t offset, const platform::Guid& guid)
{
    page.Put32(offset, guid.data1).Put16(offset + 4, guid.data2).Put16(offset + 6, guid.data3).PutBytes(offset + 8, guid.data4);
}

ByteVector BuildEntry(const description::Partition& partition, std::uint32_t number, const Extent& extent,
                      platform::PartitionStyle style, std::uint32_t sectorSize)
{
    PageWriter page(kEntrySize);
    page.Put32(0, static_cast<std::uint32_t>(style));
    page.Put64(8, extent.offset);
    page.Put64(16, extent.size);
    page.Put32(24, number);
    const platform::Guid id = ParseGuid(partition.id()).value_or(platform::Guid{});
    if (style == platform::PartitionStyle::Gpt) {
        PutGuid(page, kEntryDetails, PartitionType(partition.type()).value_or(platform::Guid{}));
        PutGuid(page, kEntryDetails + 16, id);
        page.Put64(kEntryDetails + 32, partition.attributes());
        const std::u16string name = platform::Utf8ToUtf16(partition.name());
        for (std::size_t i = 0; i < std::min<std::size_t>(name.size(), 36); ++i) {
            page.Put16(kEntryDetails + 40 + 2 * i, name[i]);
        }
    } else {
        const std::uint32_t type = partition.has_mbr_type() ? partition.mbr_type() : 7;
        page.Put8(kEntryDetails, type);
        page.Put8(kEntryDetails + 1, partition.active() ? 1 : 0);
        page.Put8(kEntryDetails + 2, type != 0 ? 1 : 0);
        page.Put32(kEntryDetails + 4, extent.offset / sectorSize);
        PutGuid(page, kEntryDetails + 8, id);
    }
    ApplyPatches(page.Page(), partition.entry());
    page.Page().resize(kEntrySize);
    return page.Take();
}

std::unique_ptr<VolumeModel> BuildVolume(const DiskModel& disk, const description::Partition& partition, std::uint32_t number,
                                         const Extent& extent, ByteVector entry)
{
    const description::Volume& description = partition.volume();
    auto volume = std::make_unique<VolumeModel>();
    volume->description = &description;
    volume->partitionNumber = number;
    volume->letter = description.letter().empty() ? '\0' : ToUpper(description.letter()).front();
    const std::string& guid = description.guid().empty() ? partition.id() : description.guid();
    // Windows gives a volume without an identifier one that is valid until the next boot.
    const platform::Guid made{0x00C0FFEE, static_cast<std::uint16_t>(disk.number), static_cast<std::uint16_t>(number), {}};
    volume->guidPath = platform::emulated::VolumeName(ParseGuid(guid).value_or(made));
    volume->size = extent.size;
    volume->free = description.has_free() ? description.free() : extent.size / 2;
    volume->partitionInformation = std::move(entry);
    volume->exchanges = BuildExchanges(description.exchange());
    return volume;
}

void ShareActivity(DiskModel& disk)
{
    const auto lettered =
        std::count_if(disk.volumes.begin(), disk.volumes.end(), [](const auto& volume) { return volume->letter != 0; });
    for (const auto& volume : disk.volumes) {
        const double equalShare = lettered > 0 && volume->letter != 0 ? 1.0 / static_cast<double>(lettered) : 0.0;
        volume->activityShare = volume->description->has_activity_share() ? volume->description->activity_share() : equalShare;
    }
}

}  // namespace

std::optional<platform::Guid> PartitionType(const std::string& text)
{
    const std::string name = text.empty() ? "basic" : text;
    const auto found = std::find_if(kTypes.begin(), kTypes.end(), [&](const NamedType& type) { return name == type.name; });
    return found != kTypes.end() ? std::optional(found->guid) : ParseGuid(name);
}

const char* PartitionTypeName(const platform::Guid& type)
{
    const auto found = std::find_if(kTypes.begin(), kTypes.end(), [&](const NamedType& named) { return named.guid == type; });
    return found != kTypes.end() ? found->name : "other";
}

std::vector<Extent> PartitionExtents(const google::protobuf::RepeatedPtrField<description::Partition>& partitions)
{
    std::vector<Extent> extents;
    std::uint64_t next = kMiB;
    for (const description::Partition& partition : partitions) {
        const Extent extent{partition.has_offset() ? partition.offset() : next, partition.size()};
        extents.push_back(extent);
        next = (extent.offset + extent.size + kMiB - 1) / kMiB * kMiB;
    }
    return extents;
}

void BuildPartitions(DiskModel& disk)
{
    const description::Disk& description = *disk.description;
    const bool gpt = description.has_gpt();
    const platform::PartitionStyle style = gpt                     ? platform::PartitionStyle::Gpt
                                           : description.has_mbr() ? platform::PartitionStyle::Mbr
                                                                   : platform::PartitionStyle::Raw;
    const auto& partitions = gpt ? description.gpt().partition() : description.mbr().partition();
    const std::vector<Extent> extents = PartitionExtents(partitions);
    const std::size_t used = extents.size();
    const std::size_t entries =
        description.has_mbr() ? std::max(kMbrEntries, (used + kMbrEntries - 1) / kMbrEntries * kMbrEntries) : used;
    disk.partitions = static_cast<std::uint32_t>(used);

    PageWriter page(kHeadSize + entries * kEntrySize);
    page.Put32(0, static_cast<std::uint32_t>(style));
    page.Put32(4, entries);
    if (gpt) {
        PutGuid(page, 8, ParseGuid(description.gpt().disk_id()).value_or(platform::Guid{}));
        const std::uint64_t reserved = 34ULL * disk.sectorSize;  // protective MBR, header and table; the backup has no MBR
        page.Put64(24, reserved);
        page.Put64(32, description.size() > 2 * reserved ? description.size() - 2 * reserved + disk.sectorSize : 0);
        page.Put32(40, 128);
    } else if (description.has_mbr()) {
        page.Put32(8, description.mbr().signature());
    }
    for (std::size_t i = 0; i < used; ++i) {
        const description::Partition& partition = partitions.Get(static_cast<int>(i));
        const std::uint32_t number = partition.has_number() ? partition.number() : static_cast<std::uint32_t>(i) + 1;
        ByteVector entry = BuildEntry(partition, number, extents[i], style, disk.sectorSize);
        page.PutBytes(kHeadSize + i * kEntrySize, entry);
        if (partition.has_volume()) {
            disk.volumes.push_back(BuildVolume(disk, partition, number, extents[i], std::move(entry)));
        }
    }
    disk.layout = page.Take();
    ShareActivity(disk);

    PageWriter whole(kEntrySize);
    whole.Put32(0, static_cast<std::uint32_t>(style)).Put64(16, description.size());
    disk.wholeDisk = whole.Take();
}

}  // namespace orbis::simulated
