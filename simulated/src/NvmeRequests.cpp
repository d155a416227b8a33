// NVMe behind Windows' storage requests: protocol-specific property queries and the protocol command.
#include <algorithm>

#include "DeviceRequests.h"
#include "emulated/PassThrough.h"
#include "platform/protocol/Nvme.h"

namespace orbis::simulated {
namespace {

namespace win32 = platform::win32;
using platform::StorageProtocolCommandHead;
using platform::StorageProtocolDataDescriptor;
using platform::StorageProtocolQuery;
using platform::StorageProtocolSpecificData;

using namespace protocol::nvme;

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

AdminResult Execute(const DiskModel& disk, const StorageProtocolSpecificData& protocol)
{
    return protocol.dataType == platform::kNvmeDataTypeIdentify
               ? Identify(disk, protocol.requestValue)
               : GetLogPage(disk, protocol.requestValue,
                            static_cast<std::uint64_t>(protocol.requestSubValue2) << 32 | protocol.requestSubValue);
}

std::uint32_t DriverError(const DiskModel& disk, const StorageProtocolSpecificData& protocol)
{
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
    if (const auto malformed = platform::emulated::CheckProtocolQuery(query, request.outputSize); malformed != win32::kSuccess) {
        return Reply::Error(malformed);
    }
    const StorageProtocolSpecificData& protocol = query->protocol;
    if (const std::uint32_t error = DriverError(*target.disk, protocol); error != win32::kSuccess) {
        return Reply::Error(error);
    }
    const std::size_t head = offsetof(StorageProtocolDataDescriptor, protocol) + protocol.dataOffset;
    AdminResult result = Execute(*target.disk, protocol);
    if (result.status != 0) {
        return Reply::Error(platform::emulated::Win32FromNvmeStatus(result.status));
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
    const auto malformed = platform::emulated::CheckProtocolCommand(head, request.input.size(), request.outputSize);
    if (malformed != win32::kSuccess) {
        return Reply::Error(malformed);
    }
    if (head->commandSpecific != platform::kProtocolSpecificNvmeAdminCommand || head->dataToDeviceTransferLength != 0) {
        return Reply::Error(win32::kInvalidParameter);
    }
    if (disk.description->nvme().protocol_command_error() != 0) {
        return Reply::Error(disk.description->nvme().protocol_command_error());
    }
    const std::size_t length = head->dataFromDeviceTransferLength;
    const std::size_t offset = head->dataFromDeviceBufferOffset;
    const ByteVector command(request.input.begin() + sizeof(StorageProtocolCommandHead),
                             request.input.begin() + platform::emulated::kProtocolCommandEnd);
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
