#include "insight/Pages.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <span>

#include "MakerHealthLog.h"
#include "platform/Errors.h"
#include "platform/Requests.h"
#include "platform/protocol/Ata.h"
#include "platform/protocol/Nvme.h"
#include "platform/protocol/Scsi.h"

namespace orbis::insight {
namespace {

using namespace platform;
using Span = std::span<const std::uint8_t>;

template <class T>
std::optional<T> Read(Span bytes, std::size_t offset = 0)
{
    if (bytes.size() < offset || bytes.size() - offset < sizeof(T)) {
        return std::nullopt;
    }
    T value;
    std::memcpy(&value, bytes.data() + offset, sizeof value);
    return value;
}

PageAnswer Refused(std::uint32_t error)
{
    PageAnswer answer;
    answer.state = PageAnswer::State::Refused;
    answer.error = error;
    return answer;
}

PageAnswer Unsupported()
{
    PageAnswer answer;
    answer.state = PageAnswer::State::Unsupported;
    return answer;
}

// A page of zeros does not count as answered.
PageAnswer Answered(Span bytes)
{
    if (std::all_of(bytes.begin(), bytes.end(), [](std::uint8_t byte) { return byte == 0; })) {
        return Unsupported();
    }
    PageAnswer answer;
    answer.state = PageAnswer::State::Answered;
    answer.bytes.assign(bytes.begin(), bytes.end());
    return answer;
}

Request NvmePage(std::uint32_t dataType, std::uint32_t requestValue)
{
    if (dataType == kNvmeDataTypeIdentify) {
        return requestValue == protocol::nvme::kCnsController ? NVME_IDENTIFY : REQUEST_UNSPECIFIED;
    }
    if (dataType != kNvmeDataTypeLogPage) {
        return REQUEST_UNSPECIFIED;
    }
    switch (requestValue) {
        case protocol::nvme::kLogSmartHealth:
            return NVME_HEALTH_LOG;
        case veyra::sondix::maker::kHealthLogIdentifier:
            return MAKER_HEALTH_LOG;
        default:
            return REQUEST_UNSPECIFIED;
    }
}

std::size_t SizeOf(Request page) { return page == NVME_IDENTIFY ? protocol::nvme::kIdentifySize : 512; }

// IOCTL_STORAGE_QUERY_PROPERTY with protocol-specific data.
std::optional<PageRead> ProtocolProperty(const call::Control& control)
{
    const auto query = Read<StorageProtocolQuery>(control.request);
    if (!query || query->protocol.protocolType != kProtocolTypeNvme ||
        (query->query.propertyId != kStorageAdapterProtocolSpecificProperty &&
         query->query.propertyId != kStorageDeviceProtocolSpecificProperty)) {
        return std::nullopt;
    }
    const Request page = NvmePage(query->protocol.dataType, query->protocol.requestValue);
    if (page == REQUEST_UNSPECIFIED) {
        return std::nullopt;
    }
    if (!control.succeeded) {
        return PageRead{page, Refused(control.error)};
    }
    const Span output = Span(control.output).first(std::min<std::size_t>(control.returned, control.output.size()));
    const auto answer = Read<StorageProtocolDataDescriptor>(output);
    const std::size_t size = SizeOf(page);
    const std::uint64_t start =
        answer ? std::uint64_t{offsetof(StorageProtocolDataDescriptor, protocol)} + answer->protocol.dataOffset : 0;
    if (!answer || answer->protocol.dataLength < size || start + size > output.size()) {
        return PageRead{page, Refused(win32::kInvalidData)};
    }
    return PageRead{page, Answered(output.subspan(static_cast<std::size_t>(start), size))};
}

// IOCTL_STORAGE_PROTOCOL_COMMAND with the admin command Get Log Page.
std::optional<PageRead> ProtocolCommand(const call::Control& control)
{
    const auto head = Read<StorageProtocolCommandHead>(control.request);
    const auto opcode = Read<std::uint32_t>(control.request, sizeof(StorageProtocolCommandHead));
    const auto dword10 = Read<std::uint32_t>(control.request, sizeof(StorageProtocolCommandHead) + 40);
    if (!head || !opcode || !dword10 || (*opcode & 0xFFU) != protocol::nvme::kGetLogPage) {
        return std::nullopt;
    }
    const Request page = NvmePage(kNvmeDataTypeLogPage, *dword10 & 0xFFU);
    if (page == REQUEST_UNSPECIFIED) {
        return std::nullopt;
    }
    if (!control.succeeded) {
        return PageRead{page, Refused(control.error)};
    }
    const auto answer = Read<StorageProtocolCommandHead>(control.output);
    if (answer && answer->returnStatus != kProtocolStatusSuccess) {
        return PageRead{page, Unsupported()};
    }
    const std::uint64_t start = head->dataFromDeviceBufferOffset;
    if (!answer || start + SizeOf(page) > std::min<std::uint64_t>(control.returned, control.output.size())) {
        return PageRead{page, Refused(win32::kInvalidData)};
    }
    return PageRead{page, Answered(Span(control.output).subspan(static_cast<std::size_t>(start), SizeOf(page)))};
}

Request AtaPage(std::uint8_t command, std::uint8_t features, std::uint8_t lbaLow)
{
    namespace ata = protocol::ata;
    switch (command) {
        case ata::kIdentifyDevice:
            return ATA_IDENTIFY;
        case ata::kReadLogExt:
            return lbaLow == ata::kPartIdentifierLog ? ATA_LOG_9A : REQUEST_UNSPECIFIED;
        case ata::kSmart:
            return features == ata::kSmartReadData         ? SMART_DATA
                   : features == ata::kSmartReadThresholds ? SMART_THRESHOLDS
                                                           : REQUEST_UNSPECIFIED;
        default:
            return REQUEST_UNSPECIFIED;
    }
}

// IOCTL_ATA_PASS_THROUGH_DIRECT.
std::optional<PageRead> AtaPassThrough(const call::Control& control)
{
    namespace task = protocol::ata::task_file;
    const auto request = Read<AtaPassThroughDirect>(control.request);
    if (!request) {
        return std::nullopt;
    }
    const auto& file = request->currentTaskFile;
    const Request page = AtaPage(file[task::kCommand], file[task::kFeatures], file[task::kLbaLow]);
    if (page == REQUEST_UNSPECIFIED) {
        return std::nullopt;
    }
    if (!control.succeeded) {
        return PageRead{page, Refused(control.error)};
    }
    const auto answer = Read<AtaPassThroughDirect>(control.output);
    const bool hasFailed =
        page == ATA_LOG_9A && answer && (answer->currentTaskFile[task::kStatus] & protocol::ata::kStatusError) != 0;
    return PageRead{page, hasFailed ? Unsupported() : Answered(control.dataAfter)};
}

// IOCTL_SCSI_PASS_THROUGH_DIRECT with ATA PASS-THROUGH(16).
std::optional<PageRead> ScsiPassThrough(const call::Control& control)
{
    namespace registers = protocol::scsi::ata_pass_through;
    const auto request = Read<ScsiPassThroughDirect>(control.request);
    if (!request || request->cdb[0] != protocol::scsi::kAtaPassThrough16) {
        return std::nullopt;
    }
    const Request page =
        AtaPage(request->cdb[registers::kCommand16], request->cdb[registers::kFeatures16], request->cdb[registers::kLbaLow16]);
    if (page == REQUEST_UNSPECIFIED) {
        return std::nullopt;
    }
    if (!control.succeeded) {
        return PageRead{page, Refused(control.error)};
    }
    const auto answer = Read<ScsiPassThroughDirect>(control.output);
    const bool hasFailed = !answer || (page != ATA_IDENTIFY && (answer->scsiStatus & protocol::scsi::kCheckCondition) != 0);
    return PageRead{page, hasFailed ? Unsupported() : Answered(control.dataAfter)};
}

// A request whose complete answer is the page.
PageRead Plain(Request page, const call::Control& control)
{
    if (!control.succeeded) {
        return {page, Refused(control.error)};
    }
    PageAnswer answer;
    answer.state = PageAnswer::State::Answered;
    const std::size_t size = std::min<std::size_t>(control.returned, control.output.size());
    answer.bytes.assign(control.output.begin(), control.output.begin() + static_cast<std::ptrdiff_t>(size));
    return {page, std::move(answer)};
}

}  // namespace

std::optional<PageRead> PageOf(const call::Control& control)
{
    switch (control.code) {
        case kIoctlStorageQueryProperty:
            return ProtocolProperty(control);
        case kIoctlStorageProtocolCommand:
            return ProtocolCommand(control);
        case kIoctlAtaPassThroughDirect:
            return AtaPassThrough(control);
        case kIoctlScsiPassThroughDirect:
            return ScsiPassThrough(control);
        case kIoctlStorageGetDeviceNumber:
            return Plain(DEVICE_NUMBER, control);
        case kIoctlDiskGetDriveGeometry:
            return Plain(DRIVE_GEOMETRY, control);
        case kIoctlDiskGetDriveLayoutEx:
            return Plain(DRIVE_LAYOUT, control);
        case kIoctlDiskGetPartitionInfoEx:
            return Plain(PARTITION_INFO, control);
        case kIoctlDiskPerformance:
            return Plain(DISK_PERFORMANCE, control);
        default:
            return std::nullopt;
    }
}

}  // namespace orbis::insight
