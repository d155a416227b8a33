#include "linux/volumes/PartitionTable.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstddef>
#include <string>
#include <string_view>

#include <unistd.h>

#include "emulated/Guid.h"
#include "linux/kernel/Files.h"
#include "linux/volumes/Probe.h"
#include "platform/Text.h"

namespace orbis::platform::linux_system {
namespace {

using emulated::ParseGuid;

constexpr std::uint64_t kTableSector = 512;  // libblkid counts in units of 512 bytes for every sector size

// UEFI: the GPT header is in the second logical block.
struct GptHeader {
    std::array<char, 8> signature;
    std::array<std::uint8_t, 32> unused;
    std::uint64_t firstUsableBlock;
    std::uint64_t lastUsableBlock;
    std::array<std::uint8_t, 24> unused2;
    std::uint32_t entryCount;
    std::uint32_t entrySize;
};
static_assert(sizeof(GptHeader) == 88 && offsetof(GptHeader, firstUsableBlock) == 40 && offsetof(GptHeader, entryCount) == 80);

DriveLayoutHead GptHead(int descriptor, const Disk& disk, blkid_parttable table)
{
    DriveLayoutHead head{};
    head.partitionStyle = PartitionStyle::Gpt;
    head.gpt.diskId = ParseGuid(ProbeText(blkid_parttable_get_id(table))).value_or(Guid{});
    GptHeader header{};
    const ssize_t got = ::pread(descriptor, &header, sizeof(header), static_cast<off_t>(disk.bytesPerSector));
    const std::uint64_t blocks = disk.bytes / disk.bytesPerSector;
    if (got == static_cast<ssize_t>(sizeof(header)) && std::string_view(header.signature.data(), 8) == "EFI PART" &&
        header.firstUsableBlock <= header.lastUsableBlock && header.lastUsableBlock < blocks) {
        const std::uint64_t usable = header.lastUsableBlock - header.firstUsableBlock + 1;
        head.gpt.startingUsableOffset = static_cast<std::int64_t>(header.firstUsableBlock * disk.bytesPerSector);
        head.gpt.usableLength = static_cast<std::int64_t>(usable * disk.bytesPerSector);
        head.gpt.maxPartitionCount = header.entryCount;
    }
    return head;
}

DriveLayoutHead MbrHead(std::uint32_t signature)
{
    DriveLayoutHead head{};
    head.gpt = {};  // the longer member, so that nothing behind the signature is left over
    head.partitionStyle = PartitionStyle::Mbr;
    head.mbr = {signature, 0};
    return head;
}

void SetName(PartitionInformationGpt& gpt, std::string_view name)
{
    const std::u16string wide = Utf8ToUtf16(name);
    std::copy_n(wide.begin(), std::min(wide.size(), gpt.name.size()), gpt.name.begin());
}

PartitionInformationGpt GptPartition(blkid_partition partition)
{
    PartitionInformationGpt gpt;
    gpt.partitionType = ParseGuid(ProbeText(blkid_partition_get_type_string(partition))).value_or(Guid{});
    gpt.partitionId = ParseGuid(ProbeText(blkid_partition_get_uuid(partition))).value_or(Guid{});
    gpt.attributes = blkid_partition_get_flags(partition);
    SetName(gpt, ProbeText(blkid_partition_get_name(partition)));
    return gpt;
}

// An MBR holds no identifiers for partitions. Windows makes one of the disk's signature and the partition's offset, little-endian.
Guid MbrPartitionId(std::uint32_t signature, std::uint64_t startBytes)
{
    Guid id;
    id.data1 = signature;
    for (std::size_t i = 0; i < id.data4.size(); ++i) {
        id.data4[i] = static_cast<std::uint8_t>(startBytes >> (8 * i));
    }
    return id;
}

PartitionInformationMbr MbrPartition(blkid_partition partition)
{
    constexpr unsigned long long kActive = 0x80;
    PartitionInformationMbr mbr;
    mbr.partitionType = static_cast<std::uint8_t>(blkid_partition_get_type(partition));
    mbr.bootIndicator = blkid_partition_get_flags(partition) == kActive ? 1 : 0;
    mbr.recognizedPartition = blkid_partition_is_extended(partition) != 0 ? 0 : 1;
    return mbr;
}

PartitionInformationEx Entry(PartitionStyle style, std::uint32_t number, std::uint64_t startBytes, std::uint64_t bytes)
{
    PartitionInformationEx entry;
    entry.partitionStyle = style;
    entry.partitionNumber = number;
    entry.startingOffset = static_cast<std::int64_t>(startBytes);
    entry.partitionLength = static_cast<std::int64_t>(bytes);
    return entry;
}

void SetMbr(PartitionInformationEx& entry, PartitionInformationMbr mbr, std::uint32_t signature, const Disk& disk)
{
    const auto startBytes = static_cast<std::uint64_t>(entry.startingOffset);
    mbr.hiddenSectors = static_cast<std::uint32_t>(startBytes / disk.bytesPerSector);
    mbr.partitionId = MbrPartitionId(signature, startBytes);
    entry.mbr = mbr;
}

// Counts the entries; Windows counts those of an MBR, and of each extended one, by fours.
void Complete(PartitionTable& table)
{
    constexpr std::size_t kMbrEntries = 4;
    while (table.head.partitionStyle == PartitionStyle::Mbr && (table.entries.empty() || table.entries.size() % kMbrEntries != 0)) {
        table.entries.push_back(Entry(PartitionStyle::Mbr, 0, 0, 0));
    }
    table.head.partitionCount = static_cast<std::uint32_t>(table.entries.size());
}

std::uint32_t ParseHex(std::string_view text)
{
    std::uint32_t value = 0;
    text.remove_prefix(text.starts_with("0x") ? 2 : 0);
    std::from_chars(text.data(), text.data() + text.size(), value, 16);
    return value;
}

// Identifier and name of a partition, without opening anything: newer kernels have them in the partition's uevent, and udev links
// the identifier.
struct KnownPartition {
    std::string identifier;
    std::string name;
};

KnownPartition ReadKnownPartition(const Roots& roots, const std::string& partition)
{
    KnownPartition known;
    const std::string uevent = ReadText(roots.sys + "/class/block/" + partition + "/uevent");
    for (const std::string_view line : SplitLines(uevent)) {
        constexpr std::string_view kIdentifier = "PARTUUID=";
        constexpr std::string_view kName = "PARTNAME=";
        if (line.starts_with(kIdentifier)) {
            known.identifier = line.substr(kIdentifier.size());
        } else if (line.starts_with(kName)) {
            known.name = line.substr(kName.size());
        }
    }
    const std::string links = roots.dev + "/disk/by-partuuid";
    for (const std::string& link : known.identifier.empty() ? DirectoryNames(links) : std::vector<std::string>()) {
        if (BaseName(RealPath(PathIn(links, link))) == partition) {
            known.identifier = link;
        }
    }
    return known;
}

}  // namespace

std::optional<PartitionTable> ReadPartitionTable(int descriptor, const Disk& disk)
{
    PartitionTable result;
    result.head.partitionStyle = PartitionStyle::Raw;
    errno = 0;
    const Probe probe = MakeProbe(descriptor);
    if (!probe) {
        errno = errno != 0 ? errno : EIO;
        return std::nullopt;
    }
    blkid_probe_enable_superblocks(probe.get(), 0);
    blkid_probe_enable_partitions(probe.get(), 1);
    blkid_partlist list = blkid_probe_get_partitions(probe.get());
    blkid_parttable table = list != nullptr ? blkid_partlist_get_table(list) : nullptr;
    const std::string_view type = table != nullptr ? ProbeText(blkid_parttable_get_type(table)) : std::string_view();
    if (type != "gpt" && type != "dos") {
        return result;
    }

    const bool isGpt = type == "gpt";
    const std::uint32_t signature = isGpt ? 0 : ParseHex(ProbeText(blkid_parttable_get_id(table)));
    result.head = isGpt ? GptHead(descriptor, disk, table) : MbrHead(signature);
    for (int i = 0; i < blkid_partlist_numof_partitions(list); ++i) {
        blkid_partition partition = blkid_partlist_get_partition(list, i);
        if (partition == nullptr || blkid_partition_get_partno(partition) <= 0) {
            continue;
        }
        const auto number = static_cast<std::uint32_t>(blkid_partition_get_partno(partition));
        const auto sectors = [](blkid_loff_t count) { return static_cast<std::uint64_t>(count) * kTableSector; };
        PartitionInformationEx entry = Entry(result.head.partitionStyle, number, sectors(blkid_partition_get_start(partition)),
                                             sectors(blkid_partition_get_size(partition)));
        // Of an extended partition the kernel shows the first kilobyte alone.
        const auto known = std::ranges::find(disk.partitions, number, &Partition::number);
        if (known != disk.partitions.end() && blkid_partition_is_extended(partition) == 0) {
            entry = Entry(result.head.partitionStyle, number, known->startBytes, known->bytes);
        }
        if (isGpt) {
            entry.gpt = GptPartition(partition);
        } else {
            SetMbr(entry, MbrPartition(partition), signature, disk);
        }
        result.entries.push_back(entry);
    }
    Complete(result);
    return result;
}

std::optional<PartitionTable> KnownPartitionTable(const Roots& roots, const Disk& disk)
{
    PartitionTable result;
    result.head.partitionStyle = PartitionStyle::Raw;
    for (const Partition& partition : disk.partitions) {
        constexpr std::size_t kSignatureDigits = 8;  // "1a2b3c4d-01" is signature and number
        const KnownPartition known = ReadKnownPartition(roots, partition.name);
        const std::optional<Guid> id = ParseGuid(known.identifier);
        if (known.identifier.size() <= kSignatureDigits) {
            return std::nullopt;
        }
        const PartitionStyle style = id ? PartitionStyle::Gpt : PartitionStyle::Mbr;
        PartitionInformationEx entry = Entry(style, partition.number, partition.startBytes, partition.bytes);
        if (id) {
            result.head.partitionStyle = PartitionStyle::Gpt;
            entry.gpt.partitionId = *id;
            SetName(entry.gpt, known.name);
        } else {
            const std::uint32_t signature = ParseHex(std::string_view(known.identifier).substr(0, kSignatureDigits));
            result.head = MbrHead(signature);
            SetMbr(entry, {}, signature, disk);
        }
        result.entries.push_back(entry);
    }
    Complete(result);
    return result;
}

}  // namespace orbis::platform::linux_system
