// NVMe behind Windows' storage requests: protocol-specific property queries and the protocol command.
#include <algorithm>

#include "DeviceRequests.h"
#include "platform/protocol/Nvme.h"

namespace orbis::simulated {
namespace {

namespace win32 = platform::win32;
using platform::StorageProtocolCommandHead;
using platform::StorageProtocolDataDescriptor;
using platform::StorageProtocolQuery;
using platform::StorageProtocolSpecificData;

using namespace protocol::nvme;

constexpr std::uint64_t kLongestPage = 1U << 20;

// The controller's answer to one admin command.
struct AdminResult {
    std::uint32_t status = 0;
    ByteVector data;
};

AdminResult Identify(const DiskModel& disk, std::uint32_t structure)
{
    return structure == kCnsController ? AdminResult{0, disk.identifyController} : AdminResult{kInvalidField, {}};
}

AdminResult GetLogPage(const DiskModel& disk, std::uint32_t identifier, std::uint64_t offset)
{
    const auto page = disk.nvmeLogPages.find(identifier);
    if (page == disk.nvmeLogPages.end()) {
        return {kInvalidLogPage, {}};
    }
    const LogPageModel& log = page->second;
    if (log.deviceStatus != 0) {
        return {log.deviceStatus, {}};
    }
    if (offset > log.content.size()) {
        return {kInvalidField, {}};
    }
    return {0, {log.content.begin() + static_cast<std::ptrdiff_t>(offset), log.content.end()}};
}

// The Win32 error that a failed command of a property query ends as.
std::uint32_t ErrorOfStatus(std::uint32_t status)
{
    return status == kInvalidLogPage || status == kInvalidOpcode ? win32::kInvalidFunction : win32::kIoDevice;
}

AdminResult Execute(const DiskModel& disk, const StorageProtocolSpecificData& protocol)
{
    switch (protocol.dataType) {
        case platform::kNvmeDataTypeIdentify:
            return Identify(disk, protocol.requestValue);
        case platform::kNvmeDataTypeLogPage:
            return GetLogPage(disk, protocol.requestValue,
                              static_cast<std::uint64_t>(protocol.requestSubValue2) << 32 | protocol.requestSubValue);
        default:
            return {kInvalidField, {}};
    }
}

std::uint32_t DriverError(const DiskModel& disk, const StorageProtocolSpecificData& protocol)
{
    if (!disk.traits->isNvme || protocol.protocolType != platform::kProtocolTypeNvme) {
        return win32::kInvalidFunction;
    }
    const auto page = disk.nvmeLogPages.find(protocol.requestValue);
    if (protocol.dataType == platform::kNvmeDataTypeLogPage && page != disk.nvmeLogPages.end() && page->second.queryError != 0) {
        return page->second.queryError;
    }
    return disk.description->nvme().protocol_query_error();
}

std::uint32_t CommandWord(const ByteVector& command, std::size_t index)
{
    std::uint32_t word = 0;
    std::memcpy(&word, command.data() + 4 * index, sizeof(word));
    return word;
}

// One 64-byte submission queue entry (NVM Express Base Specification, figure 105).
AdminResult Execute(const DiskModel& disk, const ByteVector& command)
{
    const std::uint32_t word10 = CommandWord(command, 10);
    switch (command[0]) {
        case kIdentify:
            return Identify(disk, word10 & 0xFF);
        case kGetLogPage:
            return GetLogPage(disk, word10 & 0xFF,
                              static_cast<std::uint64_t>(CommandWord(command, 13)) << 32 | CommandWord(command, 12));
        default:
            return {kInvalidOpcode, {}};
    }
}

}  // namespace

Reply QueryProtocolProperty(const Target& target, const Request& request)
{
    const auto query = request.As<StorageProtocolQuery>();
    if (!query) {
        return Reply::Error(win32::kInvalidParameter);
    }
    const StorageProtocolSpecificData& protocol = query->protocol;
    if (const std::uint32_t error = DriverError(*target.disk, protocol); error != win32::kSuccess) {
        return Reply::Error(error);
    }
    if (protocol.dataOffset < sizeof(protocol) || protocol.dataOffset > kLongestPage || protocol.dataLength == 0 ||
        protocol.dataLength > kLongestPage) {
        return Reply::Error(win32::kInvalidParameter);
    }
    const std::size_t head = offsetof(StorageProtocolDataDescriptor, protocol) + protocol.dataOffset;
    if (request.outputSize < head + protocol.dataLength) {
        return Reply::Error(win32::kInsufficientBuffer);
    }
    AdminResult result = Execute(*target.disk, protocol);
    if (result.status != 0) {
        return Reply::Error(ErrorOfStatus(result.status));
    }
    StorageProtocolDataDescriptor descriptor;
    descriptor.version = sizeof(descriptor);
    descriptor.size = sizeof(descriptor);
    descriptor.protocol = protocol;
    Reply reply = Reply::Of(descriptor);
    reply.output.resize(head + protocol.dataLength);
    const std::size_t length = std::min<std::size_t>(protocol.dataLength, result.data.size());
    std::copy_n(result.data.begin(), length, reply.output.begin() + static_cast<std::ptrdiff_t>(head));
    return reply;
}

Reply ProtocolCommand(const Target& target, const Request& request)
{
    const DiskModel& disk = *target.disk;
    if (!disk.traits->isNvme) {
        return Reply::Error(win32::kInvalidFunction);
    }
    const auto head = request.As<StorageProtocolCommandHead>();
    const std::size_t end = sizeof(StorageProtocolCommandHead) + platform::kProtocolCommandLengthNvme;
    if (!head || request.input.size() < end || head->version != 1 || head->length != 84 ||
        head->protocolType != platform::kProtocolTypeNvme || head->commandLength != platform::kProtocolCommandLengthNvme ||
        head->commandSpecific != platform::kProtocolSpecificNvmeAdminCommand ||
        (head->flags & platform::kProtocolCommandFlagAdapterRequest) == 0 || head->timeOutValue == 0) {
        return Reply::Error(win32::kInvalidParameter);
    }
    if (disk.description->nvme().protocol_command_error() != 0) {
        return Reply::Error(disk.description->nvme().protocol_command_error());
    }
    const std::uint64_t length = head->dataFromDeviceTransferLength;
    const std::uint64_t offset = head->dataFromDeviceBufferOffset;
    if (request.outputSize < end || head->dataToDeviceTransferLength != 0 || length > kLongestPage ||
        (length > 0 && offset < end) || offset + length > request.outputSize) {
        return Reply::Error(win32::kInvalidParameter);
    }

    const ByteVector command(request.input.begin() + sizeof(StorageProtocolCommandHead),
                             request.input.begin() + static_cast<std::ptrdiff_t>(end));
    const AdminResult result = Execute(disk, command);
    StorageProtocolCommandHead answer = *head;
    answer.returnStatus = result.status == 0 ? platform::kProtocolStatusSuccess : platform::kProtocolStatusError;
    answer.errorCode = result.status;
    Reply reply = Reply::Of(answer);
    reply.output.insert(reply.output.end(), command.begin(), command.end());
    if (result.status == 0 && length > 0) {
        reply.output.resize(offset + length);
        const std::size_t carried = std::min<std::size_t>(length, result.data.size());
        std::copy_n(result.data.begin(), carried, reply.output.begin() + static_cast<std::ptrdiff_t>(offset));
    }
    return reply;
}

}  // namespace orbis::simulated
