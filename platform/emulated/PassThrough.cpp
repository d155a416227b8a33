#include "emulated/PassThrough.h"

#include "platform/Errors.h"
#include "platform/protocol/Nvme.h"

namespace orbis::platform::emulated {
namespace {

// The port drivers take 1 second to 30 hours.
bool IsTimeOutValid(std::uint32_t seconds) noexcept { return seconds > 0 && seconds <= 30 * 60 * 60; }

// Shared by both kinds of pass-through.
template <typename Request>
bool IsWellFormed(const std::optional<Request>& request, std::size_t outputSize) noexcept
{
    return request && request->length == sizeof(Request) && outputSize >= sizeof(Request) &&
           IsTimeOutValid(request->timeOutValue) && (request->dataTransferLength == 0 || request->dataBuffer != nullptr);
}

Win32Error FitsInto(std::uint64_t end, std::size_t outputSize) noexcept
{
    return end <= outputSize ? win32::kSuccess : win32::kInsufficientBuffer;
}

}  // namespace

Win32Error CheckPassThrough(const std::optional<AtaPassThroughDirect>& request, std::size_t outputSize) noexcept
{
    return IsWellFormed(request, outputSize) ? win32::kSuccess : win32::kInvalidParameter;
}

Win32Error CheckPassThrough(const std::optional<ScsiPassThroughDirect>& request, std::size_t outputSize) noexcept
{
    if (!IsWellFormed(request, outputSize) || request->cdbLength == 0 || request->cdbLength > request->cdb.size()) {
        return win32::kInvalidParameter;
    }
    const std::uint64_t senseEnd = std::uint64_t{request->senseInfoOffset} + request->senseInfoLength;
    const bool isSenseValid =
        request->senseInfoLength == 0 || (request->senseInfoOffset >= sizeof(*request) && senseEnd <= outputSize);
    return isSenseValid ? win32::kSuccess : win32::kInvalidParameter;
}

Win32Error CheckProtocolQuery(const std::optional<StorageProtocolQuery>& query, std::size_t outputSize) noexcept
{
    if (!query) {
        return win32::kInvalidParameter;
    }
    const StorageProtocolSpecificData& protocol = query->protocol;
    const bool isPage =
        protocol.dataType == kNvmeDataTypeIdentify || (protocol.dataType == kNvmeDataTypeLogPage && protocol.dataLength % 4 == 0);
    if (protocol.protocolType != kProtocolTypeNvme || !isPage || protocol.dataOffset < sizeof(protocol) ||
        protocol.dataLength == 0 || protocol.dataLength > kLargestTransfer) {
        return win32::kInvalidParameter;
    }
    constexpr std::uint64_t kProtocolAt = offsetof(StorageProtocolDataDescriptor, protocol);
    return FitsInto(kProtocolAt + protocol.dataOffset + protocol.dataLength, outputSize);
}

Win32Error CheckProtocolCommand(const std::optional<StorageProtocolCommandHead>& head, std::size_t inputSize,
                                std::size_t outputSize) noexcept
{
    constexpr StorageProtocolCommandHead kUsual;
    if (!head || inputSize < kProtocolCommandEnd || head->version != kUsual.version || head->length != kUsual.length ||
        head->protocolType != kProtocolTypeNvme || head->commandLength != kProtocolCommandLengthNvme ||
        (head->flags & kProtocolCommandFlagAdapterRequest) == 0 || head->timeOutValue == 0) {
        return win32::kInvalidParameter;
    }
    const std::uint32_t length = head->dataFromDeviceTransferLength;
    if (length > kLargestTransfer || (length != 0 && head->dataFromDeviceBufferOffset < kProtocolCommandEnd)) {
        return win32::kInvalidParameter;
    }
    const std::uint64_t dataEnd = length != 0 ? std::uint64_t{head->dataFromDeviceBufferOffset} + length : 0;
    return outputSize < head->length ? win32::kInsufficientBuffer : FitsInto(dataEnd, outputSize);
}

Win32Error Win32FromNvmeStatus(std::uint32_t status) noexcept
{
    using namespace protocol::nvme;
    switch (status) {
        case 0:
            return win32::kSuccess;
        case kInvalidOpcode:
        case kInvalidField:
        case kInvalidLogPage:
            return win32::kInvalidFunction;
        case kInvalidNamespace:
            return win32::kInvalidParameter;
        case kCommandSequenceError:
            return win32::kNotReady;
        case kOperationDenied:
            return win32::kAccessDenied;
        default:
            return win32::kIoDevice;
    }
}

}  // namespace orbis::platform::emulated
