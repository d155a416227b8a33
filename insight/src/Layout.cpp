#include "insight/Layout.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <optional>

#include "explain/Observations.h"
#include "platform/Requests.h"

namespace orbis::insight {
namespace {

using namespace platform;
using Observations = Explainer::Observations;
using Page = Observations::Page;

template <class T>
bool Read(const Page* page, std::size_t offset, T& value)
{
    if (page == nullptr || !page->answer.IsAnswered() || page->answer.bytes.size() < offset + sizeof value) {
        return false;
    }
    std::memcpy(&value, page->answer.bytes.data() + offset, sizeof value);
    return true;
}

// Partition types of GPT (UEFI specification, and Microsoft's PARTITION_INFORMATION_GPT).
ReportPartition::Kind KindOfGpt(const Guid& type)
{
    struct Known {
        Guid type;
        ReportPartition::Kind kind;
    };
    static constexpr std::array<Known, 5> kKnown{{
        {{0xC12A7328, 0xF81F, 0x11D2, {0xBA, 0x4B, 0x00, 0xA0, 0xC9, 0x3E, 0xC9, 0x3B}}, ReportPartition::EFI},
        {{0xE3C9E316, 0x0B5C, 0x4DB8, {0x81, 0x7D, 0xF9, 0x2D, 0xF0, 0x02, 0x15, 0xAE}}, ReportPartition::RESERVED},
        {{0xDE94BBA4, 0x06D1, 0x4D40, {0xA1, 0x6A, 0xBF, 0xD5, 0x01, 0x79, 0xD6, 0xAC}}, ReportPartition::RECOVERY},
        {{0xEBD0A0A2, 0xB9E5, 0x4433, {0x87, 0xC0, 0x68, 0xB6, 0xB7, 0x26, 0x99, 0xC7}}, ReportPartition::DATA},
        {{0x0FC63DAF, 0x8483, 0x4772, {0x8E, 0x79, 0x3D, 0x69, 0xD8, 0x47, 0x7D, 0xE4}}, ReportPartition::DATA},  // Linux
    }};
    const auto found = std::find_if(kKnown.begin(), kKnown.end(), [&](const Known& one) { return one.type == type; });
    return found == kKnown.end() ? ReportPartition::OTHER : found->kind;
}

ReportPartition::Kind KindOfMbr(std::uint8_t type)
{
    switch (type) {
        case 0xEF:
            return ReportPartition::EFI;
        case 0x27:
            return ReportPartition::RECOVERY;
        case 0x01:  // FAT12
        case 0x04:
        case 0x06:
        case 0x0E:  // FAT16
        case 0x0B:
        case 0x0C:  // FAT32
        case 0x07:  // NTFS, exFAT
        case 0x83:  // Linux
            return ReportPartition::DATA;
        default:
            return ReportPartition::OTHER;
    }
}

// An extended partition contains others, which have entries of their own.
bool IsContainer(const PartitionInformationEx& entry)
{
    return entry.partitionStyle == PartitionStyle::Mbr && (entry.mbr.partitionType == 0x05 || entry.mbr.partitionType == 0x0F);
}

std::uint64_t Capacity(const Page* page)
{
    DiskGeometry geometry;
    if (!Read(page, 0, geometry) || geometry.cylinders <= 0) {
        return 0;
    }
    std::uint64_t bytes = static_cast<std::uint64_t>(geometry.cylinders);
    for (const std::uint32_t factor : {geometry.tracksPerCylinder, geometry.sectorsPerTrack, geometry.bytesPerSector}) {
        if (factor == 0 || bytes > std::numeric_limits<std::uint64_t>::max() / factor) {
            return 0;
        }
        bytes *= factor;
    }
    return bytes;
}

std::string LetterAt(const Observations& observations, std::uint32_t disk, const PartitionInformationEx& entry)
{
    for (const char letter : observations.Letters(disk)) {
        PartitionInformationEx volume;
        if (Read(observations.FindPage(disk, letter, PARTITION_INFO), 0, volume) && volume.startingOffset == entry.startingOffset &&
            volume.partitionLength == entry.partitionLength) {
            return {letter, ':'};
        }
    }
    return {};
}

// Empty when the disk did not report it.
std::optional<std::vector<ReportPartition>> Partitions(const Observations& observations, std::uint32_t disk)
{
    const Page* page = observations.FindPage(disk, 0, DRIVE_LAYOUT);
    DriveLayoutHead head;
    if (!Read(page, 0, head)) {
        return std::nullopt;
    }
    std::vector<ReportPartition> partitions;
    for (std::uint32_t at = 0; at < head.partitionCount; ++at) {
        PartitionInformationEx entry;
        if (!Read(page, sizeof head + std::size_t{at} * sizeof entry, entry)) {
            break;
        }
        const bool isInRange = entry.startingOffset >= 0 && entry.partitionLength > 0 &&
                               entry.startingOffset <= std::numeric_limits<std::int64_t>::max() - entry.partitionLength;
        if (!isInRange || IsContainer(entry)) {
            continue;
        }
        ReportPartition& partition = partitions.emplace_back();
        partition.set_kind(entry.partitionStyle == PartitionStyle::Gpt ? KindOfGpt(entry.gpt.partitionType)
                                                                       : KindOfMbr(entry.mbr.partitionType));
        partition.set_offset(static_cast<std::uint64_t>(entry.startingOffset));
        partition.set_length(static_cast<std::uint64_t>(entry.partitionLength));
        partition.set_index(entry.partitionNumber);
        partition.set_letter(LetterAt(observations, disk, entry));
    }
    std::stable_sort(partitions.begin(), partitions.end(),
                     [](const ReportPartition& left, const ReportPartition& right) { return left.offset() < right.offset(); });
    return partitions;
}

// Smaller gaps are alignment and the partition table itself.
constexpr std::uint64_t kSmallestGap = std::uint64_t{2} << 20;

void AddWithGaps(const std::vector<ReportPartition>& partitions, ReportDisk& disk)
{
    std::uint64_t end = 0;
    const auto addGap = [&](std::uint64_t to) {
        if (to > end && to - end >= kSmallestGap) {
            ReportPartition& gap = *disk.add_partition();
            gap.set_kind(ReportPartition::FREE);
            gap.set_offset(end);
            gap.set_length(to - end);
        }
    };
    for (const ReportPartition& partition : partitions) {
        addGap(partition.offset());
        *disk.add_partition() = partition;
        end = std::max(end, partition.offset() + partition.length());
    }
    addGap(disk.bytes());
}

// A disk without a partition table, with one volume on all of it.
void AddWhole(char letter, ReportDisk& disk)
{
    ReportPartition& whole = *disk.add_partition();
    whole.set_kind(ReportPartition::DATA);
    whole.set_length(disk.bytes());
    whole.set_letter({letter, ':'});
}

}  // namespace

std::vector<ReportDisk> LayoutsOf(std::span<const Record> records)
{
    const Observations observations(records);
    std::vector<ReportDisk> disks;
    for (const auto& [place, pages] : observations.Pages()) {
        const auto [number, letter] = place;
        if (letter != 0) {
            continue;
        }
        ReportDisk& disk = disks.emplace_back();
        disk.set_number(number);
        disk.set_bytes(Capacity(observations.FindPage(number, 0, DRIVE_GEOMETRY)));
        if (const auto partitions = Partitions(observations, number)) {
            const std::vector<char> letters = observations.Letters(number);
            if (partitions->empty() && !letters.empty()) {
                AddWhole(letters.front(), disk);
            } else {
                AddWithGaps(*partitions, disk);
            }
        }
    }
    return disks;
}

}  // namespace orbis::insight
