#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <vector>

#include <linux/nvme_ioctl.h>
#include <sys/ioctl.h>

#include "emulated/PassThrough.h"
#include "linux/requests/ReadOnly.h"
#include "linux/requests/Requests.h"
#include "platform/Errors.h"
#include "platform/Requests.h"
#include "platform/protocol/Nvme.h"

namespace orbis::platform::linux_system {
namespace {

using namespace protocol::nvme;

constexpr std::uint32_t kLongestFeature = 4096;  // the most that Get Features returns

struct Outcome {
    Win32Error error = win32::kSuccess;  // the command did not get as far as the controller
    std::uint32_t nvmeStatus = 0;
    std::uint32_t result = 0;  // command specific double word
};

// The controller writes as much as the command says, so `data` must hold that: the callers see to it.
Outcome Send(const KernelDevice& device, nvme_admin_cmd command, std::vector<std::byte>& data)
{
    command.addr = reinterpret_cast<std::uintptr_t>(data.data());
    command.data_len = static_cast<std::uint32_t>(data.size());
    const int status = device.Ioctl(NVME_IOCTL_ADMIN_CMD, &command);
    if (status < 0) {
        return {Win32FromErrno(errno)};
    }
    const auto nvmeStatus = static_cast<std::uint32_t>(status) & kStatusMask;
    return {win32::kSuccess, nvmeStatus, command.result};
}

// Log pages are counted in double words from 0, the count's upper half in the next double word.
void SetLogLength(nvme_admin_cmd& command, std::uint32_t bytes)
{
    const std::uint32_t doubleWords = bytes / 4 - 1;
    command.cdw10 |= doubleWords << 16;
    command.cdw11 |= doubleWords >> 16;
}

std::uint64_t LogBytes(const nvme_admin_cmd& command)
{
    const std::uint32_t doubleWords = command.cdw10 >> 16 | command.cdw11 << 16;
    return (std::uint64_t{doubleWords} + 1) * 4;
}

nvme_admin_cmd GetLogPage(const StorageProtocolSpecificData& request)
{
    constexpr std::uint32_t kRetainEvent = 1;
    constexpr std::uint32_t kLogSpecificField = 0x1E;
    nvme_admin_cmd command{};
    command.opcode = kGetLogPage;
    command.nsid = kAllNamespaces;
    command.cdw10 = (request.requestValue & 0xFF) | (request.requestSubValue4 & kLogSpecificField) << 7 |
                    (request.requestSubValue4 & kRetainEvent) << 15;
    command.cdw11 = (request.requestSubValue3 & 0xFFFF) << 16;
    command.cdw12 = request.requestSubValue;
    command.cdw13 = request.requestSubValue2;
    SetLogLength(command, request.dataLength);
    return command;
}

nvme_admin_cmd Identify(const StorageProtocolSpecificData& request)
{
    nvme_admin_cmd command{};
    command.opcode = kIdentify;
    command.cdw10 = request.requestValue & 0xFF;
    command.nsid = command.cdw10 == kCnsNamespace ? request.requestSubValue : 0;
    return command;
}

}  // namespace

Win32Error QueryNvmeProtocolData(const KernelDevice& device, ControlBuffers& buffers)
{
    const auto query = buffers.Request<StorageProtocolQuery>();
    if (const Win32Error error = emulated::CheckProtocolQuery(query, buffers.out.size()); error != win32::kSuccess) {
        return error;
    }
    StorageProtocolSpecificData protocol = query->protocol;
    const std::size_t dataAt = offsetof(StorageProtocolDataDescriptor, protocol) + protocol.dataOffset;

    nvme_admin_cmd command{};
    std::vector<std::byte> data;
    if (protocol.dataType == kNvmeDataTypeIdentify) {
        command = Identify(protocol);
        data.resize(kIdentifySize);
    } else {
        command = GetLogPage(protocol);
        data.resize(protocol.dataLength);
    }
    const Outcome outcome = Send(device, command, data);
    if (outcome.error != win32::kSuccess || outcome.nvmeStatus != 0) {
        return outcome.error != win32::kSuccess ? outcome.error : emulated::Win32FromNvmeStatus(outcome.nvmeStatus);
    }

    data.resize(std::min<std::size_t>(data.size(), protocol.dataLength));
    protocol.dataLength = static_cast<std::uint32_t>(data.size());
    protocol.fixedReturnData = outcome.result;
    StorageProtocolDataDescriptor answer;
    answer.version = sizeof(answer);
    answer.size = sizeof(answer);
    answer.protocol = protocol;
    if (!buffers.Answer(answer) || !buffers.AnswerBytes(data, dataAt)) {
        return win32::kInsufficientBuffer;
    }
    buffers.returned = static_cast<std::uint32_t>(dataAt + data.size());
    return win32::kSuccess;
}

Win32Error RunNvmeProtocolCommand(const KernelDevice& device, ControlBuffers& buffers)
{
    using CommandWords = std::array<std::uint32_t, 16>;  // a submission queue entry
    const auto head = buffers.Request<StorageProtocolCommandHead>();
    const auto words = buffers.Request<CommandWords>(sizeof(StorageProtocolCommandHead));
    const Win32Error malformed = emulated::CheckProtocolCommand(head, buffers.in.size(), buffers.out.size());
    if (malformed != win32::kSuccess || !words) {
        return malformed;
    }
    const CommandWords& entry = *words;
    const auto opcode = static_cast<std::uint8_t>(entry[0]);
    if (head->commandSpecific != kProtocolSpecificNvmeAdminCommand || !IsReadOnlyNvmeAdmin(opcode) || entry[0] >> 8 != 0 ||
        head->dataToDeviceTransferLength != 0) {
        return win32::kAccessDenied;
    }
    const std::uint32_t length = head->dataFromDeviceTransferLength;

    nvme_admin_cmd command{};
    command.opcode = opcode;
    command.nsid = entry[1];
    command.cdw2 = entry[2];
    command.cdw3 = entry[3];
    command.cdw10 = entry[10];
    command.cdw11 = entry[11];
    command.cdw12 = entry[12];
    command.cdw13 = entry[13];
    command.cdw14 = entry[14];
    command.cdw15 = entry[15];
    command.timeout_ms = KernelTimeout(head->timeOutValue);
    if (opcode == kGetLogPage && LogBytes(command) != length) {
        return win32::kInvalidParameter;
    }
    std::vector<std::byte> data(opcode == kGetLogPage ? length : std::max(length, kLongestFeature));
    const Outcome outcome = Send(device, command, data);

    if (outcome.error != win32::kSuccess) {
        return outcome.error;
    }
    const bool isDone = outcome.nvmeStatus == 0;
    StorageProtocolCommandHead answer = *head;
    answer.returnStatus = isDone ? kProtocolStatusSuccess : kProtocolStatusError;
    answer.errorCode = outcome.nvmeStatus;
    answer.fixedProtocolReturnData = outcome.result;
    data.resize(isDone ? length : 0);
    if (!buffers.Answer(answer) || (!data.empty() && !buffers.AnswerBytes(data, head->dataFromDeviceBufferOffset))) {
        return win32::kInsufficientBuffer;
    }
    buffers.returned = data.empty() ? sizeof(answer) : head->dataFromDeviceBufferOffset + length;
    return win32::kSuccess;
}

}  // namespace orbis::platform::linux_system
