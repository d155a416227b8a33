#include "LinuxBlkid.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <memory>
#include <string_view>
#include <type_traits>

#include <blkid/blkid.h>
#include <fmt/format.h>
#include <unistd.h>

#include "LinuxFiles.h"
#include "platform/Text.h"

namespace orbis::platform {
namespace {

constexpr std::uint64_t kTableSector = 512;  // libblkid counts in 512 bytes, whatever the device's sectors are

struct ProbeDeleter {
    void operator()(blkid_probe probe) const noexcept { blkid_free_probe(probe); }
};
using Probe = std::unique_ptr<std::remove_pointer_t<blkid_probe>, ProbeDeleter>;

Probe MakeProbe(int descriptor)
{
    Probe probe(blkid_new_probe());
    if (probe && blkid_probe_set_device(probe.get(), descriptor, 0, 0) != 0) {
        probe.reset();
    }
    return probe;
}

std::string_view View(const char* text) { return text != nullptr ? text : std::string_view(); }

// UEFI: the GPT header stands in the second logical block.
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

void FillGptHead(int descriptor, const LinuxDisk& disk, blkid_parttable table, DriveLayoutHead& head)
{
    head.gpt = {};
    head.gpt.diskId = ParseGuid(View(blkid_parttable_get_id(table))).value_or(Guid{});
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
}

PartitionInformationGpt GptPartition(blkid_partition partition)
{
    PartitionInformationGpt gpt{};
    gpt.partitionType = ParseGuid(View(blkid_partition_get_type_string(partition))).value_or(Guid{});
    gpt.partitionId = ParseGuid(View(blkid_partition_get_uuid(partition))).value_or(Guid{});
    gpt.attributes = blkid_partition_get_flags(partition);
    const std::u16string name = Utf8ToUtf16(View(blkid_partition_get_name(partition)));
    std::copy_n(name.begin(), std::min(name.size(), gpt.name.size()), gpt.name.begin());
    return gpt;
}

// An MBR holds no identifiers for partitions. Windows makes one of the disk's signature and the partition's offset, little-endian.
PartitionInformationMbr MbrPartition(blkid_partition partition, std::uint32_t signature, std::uint64_t startBytes,
                                     std::uint32_t bytesPerSector)
{
    constexpr unsigned long long kActive = 0x80;
    PartitionInformationMbr mbr{};
    const int type = blkid_partition_get_type(partition);
    mbr.partitionType = static_cast<std::uint8_t>(type);
    mbr.bootIndicator = blkid_partition_get_flags(partition) == kActive ? 1 : 0;
    mbr.recognizedPartition = blkid_partition_is_extended(partition) != 0 ? 0 : 1;
    mbr.hiddenSectors = static_cast<std::uint32_t>(startBytes / bytesPerSector);
    mbr.partitionId.data1 = signature;
    for (std::size_t i = 0; i < mbr.partitionId.data4.size(); ++i) {
        mbr.partitionId.data4[i] = static_cast<std::uint8_t>(startBytes >> (8 * i));
    }
    return mbr;
}

std::uint32_t MbrSignature(blkid_parttable table)
{
    const std::string text(View(blkid_parttable_get_id(table)));
    return static_cast<std::uint32_t>(std::strtoul(text.c_str(), nullptr, 16));
}

std::string SerialFromIdentifier(std::string_view type, std::string_view identifier)
{
    constexpr std::size_t kDigits = 8;
    std::string digits;
    for (const char c : identifier) {
        if (c != '-') {
            digits += c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
        }
    }
    const bool isNtfs = type == "ntfs" || (type.empty() && identifier.size() == 16);
    return isNtfs && digits.size() > kDigits ? digits.substr(digits.size() - kDigits) : digits.substr(0, kDigits);
}

std::string_view Value(const Probe& probe, const char* name)
{
    const char* value = nullptr;
    return blkid_probe_lookup_value(probe.get(), name, &value, nullptr) == 0 ? View(value) : std::string_view();
}

}  // namespace

std::optional<LinuxPartitionTable> ReadPartitionTable(int descriptor, const LinuxDisk& disk)
{
    LinuxPartitionTable result;
    result.head.partitionStyle = PartitionStyle::Raw;
    const Probe probe = MakeProbe(descriptor);
    if (!probe) {
        errno = errno != 0 ? errno : EIO;
        return std::nullopt;
    }
    blkid_probe_enable_superblocks(probe.get(), 0);
    blkid_probe_enable_partitions(probe.get(), 1);
    blkid_partlist list = blkid_probe_get_partitions(probe.get());
    blkid_parttable table = list != nullptr ? blkid_partlist_get_table(list) : nullptr;
    const std::string_view type = table != nullptr ? View(blkid_parttable_get_type(table)) : std::string_view();
    if (type != "gpt" && type != "dos") {
        return result;
    }

    const bool isGpt = type == "gpt";
    const std::uint32_t signature = isGpt ? 0 : MbrSignature(table);
    if (isGpt) {
        result.head.partitionStyle = PartitionStyle::Gpt;
        FillGptHead(descriptor, disk, table, result.head);
    } else {
        result.head.partitionStyle = PartitionStyle::Mbr;
        result.head.mbr = {signature, 0};
    }
    for (int i = 0; i < blkid_partlist_numof_partitions(list); ++i) {
        blkid_partition partition = blkid_partlist_get_partition(list, i);
        const int number = partition != nullptr ? blkid_partition_get_partno(partition) : 0;
        const auto start = static_cast<std::uint64_t>(partition != nullptr ? blkid_partition_get_start(partition) : 0);
        if (number <= 0 || (!isGpt && blkid_partition_get_type(partition) == 0)) {
            continue;
        }
        PartitionInformationEx entry{};
        entry.partitionStyle = result.head.partitionStyle;
        entry.partitionNumber = static_cast<std::uint32_t>(number);
        entry.startingOffset = static_cast<std::int64_t>(start * kTableSector);
        entry.partitionLength =
            static_cast<std::int64_t>(static_cast<std::uint64_t>(blkid_partition_get_size(partition)) * kTableSector);
        if (isGpt) {
            entry.gpt = GptPartition(partition);
        } else {
            entry.mbr = MbrPartition(partition, signature, start * kTableSector, disk.bytesPerSector);
        }
        // Of an extended partition the kernel shows the first kilobyte alone.
        const auto known = std::ranges::find(disk.partitions, entry.partitionNumber, &LinuxPartition::number);
        if (known != disk.partitions.end() && blkid_partition_is_extended(partition) == 0) {
            entry.startingOffset = static_cast<std::int64_t>(known->startBytes);
            entry.partitionLength = static_cast<std::int64_t>(known->bytes);
        }
        result.entries.push_back(entry);
    }
    result.head.partitionCount = static_cast<std::uint32_t>(result.entries.size());
    return result;
}

std::string ReadVolumeSerial(const Roots& roots, const std::string& blockName)
{
    const UniqueFd device = OpenForReading(roots.dev + "/" + blockName);
    if (const Probe probe = device.IsValid() ? MakeProbe(device.Get()) : Probe()) {
        blkid_probe_enable_superblocks(probe.get(), 1);
        blkid_probe_set_superblocks_flags(probe.get(), BLKID_SUBLKS_TYPE | BLKID_SUBLKS_UUID);
        if (blkid_do_safeprobe(probe.get()) == 0) {
            return SerialFromIdentifier(Value(probe, "TYPE"), Value(probe, "UUID"));
        }
    }
    const std::string directory = roots.dev + "/disk/by-uuid";
    for (const std::string& identifier : DirectoryNames(directory)) {
        if (BaseName(RealPath(directory + "/" + identifier)) == blockName) {
            return SerialFromIdentifier({}, identifier);
        }
    }
    return {};
}

std::optional<Guid> ParseGuid(std::string_view text) noexcept
{
    constexpr std::size_t kLength = 36;
    std::array<std::uint8_t, 16> bytes{};
    if (text.size() != kLength) {
        return std::nullopt;
    }
    std::size_t digits = 0;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const bool isDash = at == 8 || at == 13 || at == 18 || at == 23;
        const char c = text[at];
        const int value = c >= '0' && c <= '9'   ? c - '0'
                          : c >= 'a' && c <= 'f' ? c - 'a' + 10
                          : c >= 'A' && c <= 'F' ? c - 'A' + 10
                                                 : -1;
        if (isDash ? c != '-' : value < 0) {
            return std::nullopt;
        }
        if (!isDash) {
            bytes[digits / 2] = static_cast<std::uint8_t>(bytes[digits / 2] << 4 | value);
            ++digits;
        }
    }
    Guid guid;
    guid.data1 = std::uint32_t{bytes[0]} << 24 | std::uint32_t{bytes[1]} << 16 | std::uint32_t{bytes[2]} << 8 | bytes[3];
    guid.data2 = static_cast<std::uint16_t>(bytes[4] << 8 | bytes[5]);
    guid.data3 = static_cast<std::uint16_t>(bytes[6] << 8 | bytes[7]);
    std::copy_n(bytes.begin() + 8, guid.data4.size(), guid.data4.begin());
    return guid;
}

std::string GuidText(const Guid& guid)
{
    const auto& tail = guid.data4;
    return fmt::format("{:08x}-{:04x}-{:04x}-{:02x}{:02x}-{:02x}{:02x}{:02x}{:02x}{:02x}{:02x}", guid.data1, guid.data2, guid.data3,
                       tail[0], tail[1], tail[2], tail[3], tail[4], tail[5], tail[6], tail[7]);
}

}  // namespace orbis::platform
