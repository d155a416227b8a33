#include "record/RedactedPages.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <vector>

#include "MakerArea.h"
#include "MakerHealthLog.h"
#include "platform/Requests.h"
#include "platform/protocol/Ata.h"
#include "platform/protocol/Nvme.h"
#include "platform/protocol/Scsi.h"

namespace orbis::insight {
namespace {

namespace ata = protocol::ata;
namespace nvme = protocol::nvme;
namespace scsi = protocol::scsi;
namespace registers = protocol::scsi::ata_pass_through;
namespace maker = veyra::sondix::maker;
using maker::MakerArea;
using maker::MakerHealthLog;
using Span = WritableBytes;

std::uint32_t Number(std::span<const std::uint8_t> bytes, std::size_t at, std::size_t size = 4)
{
    std::uint32_t number = 0;
    for (std::size_t byte = 0; byte < size && at + byte < bytes.size(); ++byte) {
        number |= std::uint32_t{bytes[at + byte]} << (8 * byte);
    }
    return number;
}

std::uint8_t Sum(std::span<const std::uint8_t> bytes)
{
    std::uint8_t sum = 0;
    for (const std::uint8_t byte : bytes) {
        sum = static_cast<std::uint8_t>(sum + byte);
    }
    return sum;
}

// Changes bytes and adjusts the checksum byte so that their sum does not change: a valid checksum stays valid, an invalid one
// invalid.
template <class Change>
void KeepingSum(Span bytes, std::size_t checksum, const Change& change)
{
    const std::uint8_t before = Sum(bytes);
    change();
    if (checksum < bytes.size()) {
        bytes[checksum] = static_cast<std::uint8_t>(bytes[checksum] - Sum(bytes) + before);
    }
}

void SwapPairs(Span bytes)
{
    for (std::size_t at = 0; at + 1 < bytes.size(); at += 2) {
        std::swap(bytes[at], bytes[at + 1]);
    }
}

// The complete field, or nothing.
Span Whole(Span bytes, std::size_t at, std::size_t size)
{
    const Span part = Part(bytes, at, size);
    if (part.size() < size) {
        Clear(part);
        return {};
    }
    return part;
}

struct Range {
    std::size_t first;
    std::size_t length;
};
void ClearRanges(Span bytes, std::span<const Range> ranges)
{
    for (const Range& range : ranges) {
        Clear(Part(bytes, range.first, range.length));
    }
}

std::string_view TextOf(std::span<const std::uint8_t> bytes) { return {reinterpret_cast<const char*>(bytes.data()), bytes.size()}; }

}  // namespace

void PageRedaction::TextIn(Span bytes) { std::ranges::copy(m_Pseudonyms.Text(TextOf(bytes)), bytes.begin()); }
void PageRedaction::SerialIn(Span bytes) { std::ranges::copy(m_Pseudonyms.Serial(TextOf(bytes)), bytes.begin()); }
void PageRedaction::SwappedSerialIn(Span bytes)
{
    SwapPairs(bytes);
    SerialIn(bytes);
    SwapPairs(bytes);
}

void PageRedaction::NvmeIdentify(Span page)
{
    // Reserved in NVMe 2.0.
    constexpr std::array<Range, 7> kReserved{{{104, 7}, {134, 119}, {358, 10}, {385, 127}, {564, 204}, {1024, 768}, {1806, 242}}};
    ClearRanges(page, kReserved);
    for (std::size_t state = 2048; state < MakerArea::kFirst; state += 32) {
        Clear(Part(page, state + 23, 9));  // reserved in a power state descriptor
    }
    SerialIn(Part(page, 4, 20));
    m_Pseudonyms.Bytes(Part(page, 112, 16));  // FRU GUID
    const Span name = Part(page, 768, 256);   // NVM subsystem name
    constexpr std::string_view kAuthority = "nqn.2014.08.org.nvmexpress:";
    TextIn(From(name, TextOf(name).starts_with(kAuthority) ? kAuthority.size() : 0));
    const Span area = Part(page, MakerArea::kFirst, MakerArea::kWhole);
    if (page.size() != nvme::kIdentifySize ||
        !MakerArea(veyra::sondix::Page<nvme::kIdentifySize>(page.first<nvme::kIdentifySize>())).IsRecognised()) {
        Clear(area);
        return;
    }
    Clear(From(area, MakerArea::kLength));
    KeepingSum(area.first(MakerArea::kLength), MakerArea::kChecksum, [&] {
        for (const auto& identifier : MakerArea::kIdentifiers) {
            const Span field = Part(area, identifier.first, identifier.length);
            if (identifier.isText) {
                TextIn(field);
            } else {
                m_Pseudonyms.Bytes(field);
            }
        }
    });
}

void PageRedaction::NvmeLog(Span page, std::uint32_t identifier)
{
    constexpr std::size_t kHealth = 232;  // what NVMe 1.4 defines of log 02h
    if (identifier == nvme::kLogSmartHealth) {
        Clear(Part(page, 7, 25));  // reserved
    }
    const bool isMakers = identifier == maker::kHealthLogIdentifier && page.size() >= MakerHealthLog::kSize &&
                          MakerHealthLog(page.first<MakerHealthLog::kSize>()).IsRecognised();
    Clear(From(page, identifier == nvme::kLogSmartHealth ? kHealth : isMakers ? MakerHealthLog::kLength : 0));
}

void PageRedaction::AtaIdentify(Span page)
{
    constexpr std::size_t kChecksum = 511;
    KeepingSum(page, page.size() == 512 && page[510] == 0xA5 ? kChecksum : page.size(), [&] {
        // Retired, reserved and vendor specific words of ACS-4.
        constexpr std::array<Range, 11> kUnknown{
            {{8, 4}, {14, 6}, {40, 6}, {102, 4}, {140, 10}, {232, 2}, {242, 14}, {258, 62}, {324, 12}, {348, 4}, {448, 12}}};
        ClearRanges(page, kUnknown);
        Clear(Part(page, 472, 38));
        SwappedSerialIn(Part(page, 20, 20));
        const Span name = Part(page, 216, 8);  // four words, the first the most significant
        SwapPairs(name);
        m_Pseudonyms.Bytes(name);
        SwapPairs(name);
        m_Pseudonyms.Bytes(Part(page, 224, 8));  // its extension
        SwappedSerialIn(Part(page, 352, 60));    // of the medium
    });
}
// SMART data and thresholds: entries of 12 bytes, an unused one has the id 0.
void PageRedaction::SmartPage(Span page, bool isThresholds)
{
    constexpr std::size_t kFirst = 2;
    constexpr std::size_t kEntry = 12;
    constexpr std::size_t kEnd = kFirst + 30 * kEntry;
    KeepingSum(page, 511, [&] {
        for (std::size_t at = kFirst; at < kEnd; at += kEntry) {
            const Span entry = Part(page, at, kEntry);
            Clear(From(entry, entry.empty() || entry[0] == 0 ? 0 : isThresholds ? 2 : kEntry));
        }
        const std::size_t vendor = isThresholds ? kEnd : 386;
        Clear(Part(page, vendor, 511 - vendor));
    });
}
// The data of an ATA command, by its registers.
void PageRedaction::AtaData(Span data, std::uint8_t command, std::uint8_t feature, std::uint8_t lbaLow)
{
    if (command == ata::kIdentifyDevice || command == ata::kIdentifyPacketDevice) {
        AtaIdentify(data);
    } else if (command == ata::kSmart && (feature == ata::kSmartReadData || feature == ata::kSmartReadThresholds)) {
        SmartPage(data, feature == ata::kSmartReadThresholds);
    } else if (command == ata::kReadLogExt && lbaLow == ata::kPartIdentifierLog) {
        SwappedSerialIn(Part(data, 0, 20));  // EPPID
        Clear(From(data, 20));
    } else {
        Clear(data);
    }
}

void PageRedaction::Control(std::uint32_t code, const std::string& text, Span output, Span data)
{
    const std::span<const std::uint8_t> request(reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
    if (code != platform::kIoctlAtaPassThroughDirect && code != platform::kIoctlScsiPassThroughDirect) {
        Clear(data);
    }
    switch (code) {
        case platform::kIoctlStorageGetDeviceNumber:
            return Clear(From(output, sizeof(platform::StorageDeviceNumber)));
        case platform::kIoctlDiskGetDriveGeometry:
            return Clear(From(output, sizeof(platform::DiskGeometry)));
        case platform::kIoctlDiskPerformance:
            return Clear(From(output, offsetof(platform::DiskPerformance, storageManagerName)));
        case platform::kIoctlStorageQueryProperty:
            return Property(request, output);
        case platform::kIoctlStorageProtocolCommand: {
            using Head = platform::StorageProtocolCommandHead;
            constexpr std::size_t kCommand = sizeof(Head);
            constexpr std::size_t kEnd = kCommand + platform::kProtocolCommandLengthNvme;
            const std::size_t at = std::max<std::size_t>(Number(request, offsetof(Head, dataFromDeviceBufferOffset)), kEnd);
            Clear(Part(output, offsetof(Head, reserved1), sizeof(Head::reserved1)));
            Clear(Part(output, kEnd, at - kEnd));  // error information
            const bool isLog = Number(request, kCommand, 1) == nvme::kGetLogPage;
            const std::uint32_t page = Number(request, kCommand + 40, 1);  // command dword 10
            return NvmeLog(From(output, at), isLog ? page : 0);
        }
        case platform::kIoctlAtaPassThroughDirect: {
            constexpr std::size_t kTaskFile = offsetof(platform::AtaPassThroughDirect, currentTaskFile);
            Clear(From(output, sizeof(platform::AtaPassThroughDirect)));
            const auto byte = [&](std::size_t at) { return static_cast<std::uint8_t>(Number(request, kTaskFile + at, 1)); };
            return AtaData(data, byte(ata::task_file::kCommand), byte(ata::task_file::kFeatures), byte(ata::task_file::kLbaLow));
        }
        case platform::kIoctlScsiPassThroughDirect: {
            constexpr std::size_t kCdb = offsetof(platform::ScsiPassThroughDirect, cdb);
            const auto byte = [&](std::size_t at) { return static_cast<std::uint8_t>(Number(request, kCdb + at, 1)); };
            constexpr std::size_t kInquiryData = 36;  // serial numbers may follow it
            const std::size_t sense = Number(request, offsetof(platform::ScsiPassThroughDirect, senseInfoOffset));
            Sense(From(output, std::max(sense, sizeof(platform::ScsiPassThroughDirect))));
            if (byte(0) == scsi::kAtaPassThrough16) {
                AtaData(data, byte(registers::kCommand16), byte(registers::kFeatures16), byte(registers::kLbaLow16));
            } else {
                Clear(From(data, byte(0) == scsi::kInquiry && byte(1) == 0 ? kInquiryData : 0));
            }
            return;
        }
        case platform::kIoctlDiskGetPartitionInfoEx:
            return Partition(output);
        case platform::kIoctlDiskGetDriveLayoutEx:
            return Layout(output);
        default:
            Clear(output);
            Clear(data);
    }
}
// Sense data (SPC-4): what is defined of both formats, of descriptors the ATA status return.
void PageRedaction::Sense(Span sense)
{
    const auto byte = [&](std::size_t at) { return Number(sense, at, 1); };
    const bool isFixed = (byte(0) & 0x7EU) == scsi::kSenseFixed;
    const bool isDescriptor = (byte(0) & 0x7EU) == scsi::kSenseDescriptor;
    constexpr std::size_t kFixed = 18;
    constexpr std::size_t kHead = 8;
    const std::size_t descriptor = byte(kHead) == scsi::kAtaStatusReturn ? scsi::kAtaStatusReturnSize : 0;
    Clear(From(sense, isFixed ? kFixed : isDescriptor ? kHead + descriptor : 0));
}
void PageRedaction::Property(std::span<const std::uint8_t> request, Span output)
{
    const std::uint32_t property = Number(request, 0);
    const std::uint32_t kind = Number(request, 4);
    constexpr std::size_t kHead = sizeof(platform::StorageProtocolDataDescriptor);
    constexpr std::size_t kSpecific = 8;
    if (kind == 0 && property != platform::kStorageAdapterProtocolSpecificProperty &&
        property != platform::kStorageDeviceProtocolSpecificProperty) {
        constexpr std::size_t kVersionAndSize = 8;
        return property == platform::kStorageDeviceProperty ? Descriptor(output) : Clear(From(output, kVersionAndSize));
    }
    const std::size_t at = kSpecific + Number(output, kSpecific + 16);
    const Span data = at >= kHead ? From(output, at) : Span{};
    Clear(From(output, kHead).first(From(output, kHead).size() - data.size()));
    const std::uint32_t dataType = Number(request, kSpecific + 4);
    const std::uint32_t value = Number(request, kSpecific + 8);
    if (dataType == platform::kNvmeDataTypeIdentify && value == nvme::kCnsController) {
        NvmeIdentify(data.first(std::min<std::size_t>(data.size(), nvme::kIdentifySize)));
        Clear(From(data, nvme::kIdentifySize));
    } else {
        NvmeLog(data, dataType == platform::kNvmeDataTypeLogPage ? value : 0);
    }
}
// STORAGE_DEVICE_DESCRIPTOR: its head and texts stay, the serial number is replaced.
void PageRedaction::Descriptor(Span output)
{
    constexpr std::size_t kHead = sizeof(platform::StorageDeviceDescriptorHead);
    std::vector<std::uint8_t> kept(output.begin(), output.end());
    Clear(From(output, kHead));
    for (const std::size_t field : {12U, 16U, 20U, 24U}) {  // vendor, product, revision, serial number
        const std::size_t at = Number(output, field);
        if (at < kHead || at >= kept.size()) {
            continue;
        }
        const auto end = std::find(kept.begin() + static_cast<std::ptrdiff_t>(at), kept.end(), std::uint8_t{0});
        const auto size = static_cast<std::size_t>(end - kept.begin()) - at;
        std::copy_n(kept.begin() + static_cast<std::ptrdiff_t>(at), size, output.begin() + static_cast<std::ptrdiff_t>(at));
        if (field == 24U) {
            SerialIn(Part(output, at, size));
        }
    }
}
void PageRedaction::Partition(Span entry)
{
    constexpr std::size_t kUnion = 32;
    switch (Number(entry, 0)) {
        case 0:  // MBR
            Clear(From(entry, kUnion + sizeof(platform::PartitionInformationMbr)));
            return m_Pseudonyms.Guid(Whole(entry, kUnion + 8, 16));
        case 1:  // GPT
            m_Pseudonyms.Guid(Whole(entry, kUnion + 16, 16));
            return ReplaceUtf16(Part(entry, kUnion + 40, 72), [this](const std::u16string& name) {
                constexpr std::array<std::u16string_view, 5> kUsual{u"EFI system partition", u"EFI System Partition",
                                                                    u"Microsoft reserved partition", u"Basic data partition",
                                                                    u"Linux root (x86-64)"};
                return std::ranges::find(kUsual, name) != kUsual.end() ? name : m_Pseudonyms.Text(name);
            });
        default:
            Clear(From(entry, kUnion));
    }
}
void PageRedaction::Layout(Span output)
{
    constexpr std::size_t kHead = sizeof(platform::DriveLayoutHead);
    constexpr std::size_t kEntry = sizeof(platform::PartitionInformationEx);
    if (Number(output, 0) == 1) {
        m_Pseudonyms.Guid(Whole(output, 8, 16));
    } else {
        m_Pseudonyms.Bytes(Part(output, 8, 4));  // signature
        Clear(Part(output, 12, kHead - 12));     // checksum of the sector, and nothing
    }
    const std::size_t count = std::min<std::size_t>(Number(output, 4), (From(output, kHead).size() + kEntry - 1) / kEntry);
    for (std::size_t one = 0; one < count; ++one) {
        Partition(Part(output, kHead + one * kEntry, kEntry));
    }
    Clear(From(output, kHead + count * kEntry));
}
// RawSMBIOSData: 8 bytes, then structures, each with its strings.
void PageRedaction::Smbios(Span table)
{
    struct Kept {
        std::uint8_t type;
        std::size_t length;  // of the formatted area in SMBIOS 3.6, as far as it is no vendor's
    };
    constexpr std::uint8_t kBios = 0;
    constexpr std::uint8_t kSystem = 1;
    constexpr std::uint8_t kEnd = 127;
    constexpr std::size_t kHead = 4;
    constexpr std::array<Kept, 10> kKept{
        {{kBios, 26}, {kSystem, 27}, {2, 15}, {4, 50}, {7, 27}, {9, 17}, {11, 5}, {16, 23}, {17, 84}, {19, 31}}};
    std::size_t at = 8;
    const std::size_t size = std::min<std::size_t>(at + Number(table, 4), table.size());
    while (at + kHead <= size && table[at + 1] >= kHead) {
        const std::uint8_t type = table[at];
        const Span formatted = Part(table.first(size), at, table[at + 1]);
        const auto kept = std::ranges::find(kKept, type, &Kept::type);
        Clear(From(formatted, kept != kKept.end() ? kept->length : kHead));
        if (type == kSystem) {
            m_Pseudonyms.Guid(Whole(formatted, 8, 16));
        }
        at += formatted.size();
        bool isInStrings = true;
        while (isInStrings && at < size) {
            const auto stop = std::find(table.begin() + static_cast<std::ptrdiff_t>(at),
                                        table.begin() + static_cast<std::ptrdiff_t>(size), std::uint8_t{0});
            const auto end = static_cast<std::size_t>(stop - table.begin());
            if (type != kBios) {  // the names of the BIOS, its version and date stay
                SmbiosString(table.subspan(at, end - at));
            }
            at = end + 1;
            isInStrings = at >= size || table[at] != 0;
            at += isInStrings ? 0 : 1;
        }
        if (type == kEnd) {
            return Clear(From(table, at));
        }
    }
    // A structure that ends the table early does so in the replay too.
    const bool isBroken = at + kHead <= size && table[at + 1] < kHead;
    Clear(From(table, std::min(at, table.size()) + (isBroken ? kHead : 0)));
}
// "1[08B7]" keeps its form.
void PageRedaction::SmbiosString(Span text)
{
    constexpr std::size_t kNumber = 2;
    const auto open = static_cast<std::size_t>(std::ranges::find(text, std::uint8_t{'['}) - text.begin());
    TextIn(From(text, open < text.size() && open <= kNumber ? open : 0));
}

}  // namespace orbis::insight
