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

// All of a field, or nothing of it.
Span Whole(Span bytes, std::size_t at, std::size_t size)
{
    const Span part = Part(bytes, at, size);
    if (part.size() < size) {
        Clear(part);
        return {};
    }
    return part;
}

}  // namespace

void PageRedaction::TextIn(Span bytes)
{
    const std::string replaced = m_Pseudonyms.Text(std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
    std::ranges::copy(replaced, bytes.begin());
}
void PageRedaction::SwappedTextIn(Span bytes)
{
    SwapPairs(bytes);
    TextIn(bytes);
    SwapPairs(bytes);
}

void PageRedaction::NvmeIdentify(Span page)
{
    TextIn(Part(page, 4, 20));                // serial number
    m_Pseudonyms.Bytes(Part(page, 112, 16));  // FRU GUID
    const Span name = Part(page, 768, 256);   // NVM subsystem name
    constexpr std::string_view kAuthority = "nqn.2014.08.org.nvmexpress:";
    const std::string_view text(reinterpret_cast<const char*>(name.data()), name.size());
    TextIn(From(name, text.starts_with(kAuthority) ? kAuthority.size() : 0));
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
    const bool isMakers = identifier == maker::kHealthLogIdentifier && page.size() >= MakerHealthLog::kSize &&
                          MakerHealthLog(page.first<MakerHealthLog::kSize>()).IsRecognised();
    Clear(From(page, identifier == nvme::kLogSmartHealth ? kHealth : isMakers ? MakerHealthLog::kLength : 0));
}

void PageRedaction::AtaIdentify(Span page)
{
    constexpr std::size_t kChecksum = 511;
    KeepingSum(page, page.size() == 512 && page[510] == 0xA5 ? kChecksum : page.size(), [&] {
        SwappedTextIn(Part(page, 20, 20));     // serial number
        Clear(Part(page, 40, 6));              // retired
        const Span name = Part(page, 216, 8);  // four words, the first the most significant
        SwapPairs(name);
        m_Pseudonyms.Bytes(name);
        SwapPairs(name);
        m_Pseudonyms.Bytes(Part(page, 224, 8));  // its extension
        Clear(Part(page, 258, 62));              // vendor specific
        SwappedTextIn(Part(page, 352, 60));      // serial number of the medium
    });
}
void PageRedaction::SmartPage(Span page)
{
    KeepingSum(page, 511, [&] { Clear(Part(page, 386, 125)); });  // vendor specific
}
// The data of an ATA command, by its registers.
void PageRedaction::AtaData(Span data, std::uint8_t command, std::uint8_t feature, std::uint8_t lbaLow)
{
    constexpr std::uint8_t kPartIdentifierLog = 0x9A;
    if (command == ata::kIdentifyDevice || command == ata::kIdentifyPacketDevice) {
        AtaIdentify(data);
    } else if (command == ata::kSmart && (feature == ata::kSmartReadData || feature == ata::kSmartReadThresholds)) {
        SmartPage(data);
    } else if (command == ata::kReadLogExt && lbaLow == kPartIdentifierLog) {
        SwappedTextIn(Part(data, 0, 20));  // EPPID
        Clear(From(data, 20));
    } else {
        Clear(data);
    }
}

void PageRedaction::Control(std::uint32_t code, const std::string& text, Span output, Span data)
{
    const std::span<const std::uint8_t> request(reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
    switch (code) {
        case platform::kIoctlStorageGetDeviceNumber:
        case platform::kIoctlDiskGetDriveGeometry:
        case platform::kIoctlDiskPerformance:
            return Clear(data);
        case platform::kIoctlStorageQueryProperty:
            return Property(request, output);
        case platform::kIoctlStorageProtocolCommand: {
            constexpr std::size_t kCommand = sizeof(platform::StorageProtocolCommandHead);
            const std::size_t at = Number(request, offsetof(platform::StorageProtocolCommandHead, dataFromDeviceBufferOffset));
            const bool isLog = Number(request, kCommand, 1) == nvme::kGetLogPage;
            const std::uint32_t page = Number(request, kCommand + 40, 1);  // command dword 10
            return NvmeLog(From(output, std::max(at, kCommand + 64)), isLog ? page : 0);
        }
        case platform::kIoctlAtaPassThroughDirect: {
            constexpr std::size_t kTaskFile = offsetof(platform::AtaPassThroughDirect, currentTaskFile);
            const auto byte = [&](std::size_t at) { return static_cast<std::uint8_t>(Number(request, kTaskFile + at, 1)); };
            return AtaData(data, byte(ata::task_file::kCommand), byte(ata::task_file::kFeatures), byte(ata::task_file::kLbaLow));
        }
        case platform::kIoctlScsiPassThroughDirect: {
            constexpr std::size_t kCdb = offsetof(platform::ScsiPassThroughDirect, cdb);
            const auto byte = [&](std::size_t at) { return static_cast<std::uint8_t>(Number(request, kCdb + at, 1)); };
            constexpr std::size_t kInquiryData = 36;  // serial numbers may stand behind it
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
void PageRedaction::Property(std::span<const std::uint8_t> request, Span output)
{
    constexpr std::uint32_t kDeviceProperty = 0;  // StorageDeviceProperty
    const std::uint32_t property = Number(request, 0);
    const std::uint32_t kind = Number(request, 4);
    constexpr std::size_t kHead = sizeof(platform::StorageProtocolDataDescriptor);
    constexpr std::size_t kSpecific = 8;
    if (kind == 0 && property != platform::kStorageAdapterProtocolSpecificProperty &&
        property != platform::kStorageDeviceProtocolSpecificProperty) {
        if (property == kDeviceProperty) {
            Descriptor(output);
        } else {
            Clear(From(output, sizeof(platform::StorageDeviceDescriptorHead)));
        }
        return;
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
            TextIn(Part(output, at, size));
        }
    }
}
void PageRedaction::Partition(Span entry)
{
    constexpr std::size_t kUnion = 32;
    switch (Number(entry, 0)) {
        case 0:  // MBR
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
        Clear(Part(output, 12, 4));              // checksum of the sector
    }
    const std::size_t count = std::min<std::size_t>(Number(output, 4), (From(output, kHead).size() + kEntry - 1) / kEntry);
    for (std::size_t one = 0; one < count; ++one) {
        Partition(Part(output, kHead + one * kEntry, kEntry));
    }
    Clear(From(output, kHead + count * kEntry));
}
// 8 bytes, then structures with their strings.
void PageRedaction::Smbios(Span table)
{
    std::size_t at = 8;
    while (at + 4 <= table.size()) {
        const std::uint8_t type = table[at];
        const std::size_t length = table[at + 1];
        const std::size_t strings = at + length;
        if (length < 4 || strings >= table.size()) {
            break;
        }
        constexpr std::uint8_t kSystem = 1;
        constexpr std::array<std::uint8_t, 12> kKept{0, 1, 2, 3, 4, 7, 9, 11, 16, 17, 19, 127};
        if (type == kSystem && length >= 24) {
            m_Pseudonyms.Guid(table.subspan(at + 8, 16));
        }
        if (std::ranges::find(kKept, type) == kKept.end()) {
            Clear(table.subspan(at + 4, length - 4));
        }
        std::size_t end = strings;
        while (end + 1 < table.size() && (table[end] != 0 || table[end + 1] != 0)) {
            const auto stop = std::find(table.begin() + static_cast<std::ptrdiff_t>(end), table.end(), std::uint8_t{0});
            const auto size = static_cast<std::size_t>(stop - table.begin()) - end;
            if (type != 0) {  // the names of the BIOS, its version and date stay
                SmbiosString(table.subspan(end, size));
            }
            end += std::max<std::size_t>(size, 1);
            end += end < table.size() && table[end] == 0 && end + 1 < table.size() && table[end + 1] != 0 ? 1 : 0;
        }
        at = end + 2;
    }
    Clear(From(table, at));
}
// "1[08B7]" keeps its frame.
void PageRedaction::SmbiosString(Span text)
{
    const auto open = std::ranges::find(text, std::uint8_t{'['});
    TextIn(open != text.end() ? From(text, static_cast<std::size_t>(open - text.begin())) : text);
}

}  // namespace orbis::insight
