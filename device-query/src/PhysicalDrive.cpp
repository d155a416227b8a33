#include "PhysicalDrive.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <cstring>
#include <span>
#include <string_view>

#include "platform/DeviceIo.h"
#include "platform/Errors.h"
#include "platform/Requests.h"
#include "platform/protocol/Nvme.h"

namespace veyra::sondix {
namespace {

using namespace orbis::platform;
namespace protocol = orbis::protocol::nvme;

// A property is requested on a handle without any access, which ordinary users may open. The admin command needs read and write
// access.
constexpr std::uint32_t kNoAccess = 0;
constexpr std::uint32_t kReadWrite = kGenericRead | kGenericWrite;

DeviceHandle Open(std::int32_t drive, std::uint32_t access)
{
    constexpr std::u16string_view kPrefix = u"\\\\.\\PhysicalDrive";
    std::array<char, 12> digits{};
    const char* end = std::to_chars(digits.data(), digits.data() + digits.size(), drive).ptr;
    std::array<char16_t, kPrefix.size() + digits.size() + 1> path{};
    std::copy(digits.cbegin(), digits.cbegin() + (end - digits.data()), std::copy(kPrefix.begin(), kPrefix.end(), path.begin()));

    auto& port = DeviceIo::Current();
    return {port, port.Open(path.data(), access, kFileShareRead | kFileShareWrite, nullptr, kOpenExisting, 0, 0)};
}

// Sends one request, whose buffer contains the query and then the answer. Returns the Win32 error, and in `returned` the number of
// bytes answered.
template <std::size_t Size>
std::uint32_t Ask(const DeviceHandle& device, std::uint32_t code, std::array<std::uint8_t, Size>& buffer, std::size_t question,
                  std::uint32_t& returned)
{
    returned = 0;
    if (!device.Port()->Control(device.Get(), code, buffer.data(), static_cast<std::uint32_t>(question), buffer.data(),
                                static_cast<std::uint32_t>(Size), &returned, nullptr)) {
        return device.Port()->LastError();
    }
    // A driver that reports more bytes than the buffer holds is not trusted.
    return returned <= Size ? win32::kSuccess : win32::kInvalidData;
}

template <class T>
T Read(std::span<const std::uint8_t> bytes)
{
    T value;
    std::memcpy(&value, bytes.data(), sizeof value);
    return value;
}

template <class T>
void Write(std::span<std::uint8_t> bytes, const T& value)
{
    std::memcpy(bytes.data(), &value, sizeof value);
}

// Reads a protocol-specific property of the adapter, which asks the controller; the device's property would ask one namespace
// (Win32: "Working with NVMe drives"). The buffer has a header and the data, as query and as answer; both headers take 48 bytes,
// and data offsets count from byte 8. Returns the Win32 error.
template <std::size_t Size>
std::uint32_t QueryControllerProperty(const DeviceHandle& device, std::uint32_t dataType, std::uint32_t requestValue,
                                      std::span<std::uint8_t, Size> page)
{
    constexpr std::size_t kHead = sizeof(StorageProtocolQuery);
    static_assert(kHead == sizeof(StorageProtocolDataDescriptor));

    StorageProtocolQuery query;
    query.query.propertyId = kStorageAdapterProtocolSpecificProperty;
    query.query.queryType = kPropertyStandardQuery;
    query.protocol.protocolType = kProtocolTypeNvme;
    query.protocol.dataType = dataType;
    query.protocol.requestValue = requestValue;
    query.protocol.dataOffset = sizeof(StorageProtocolSpecificData);
    query.protocol.dataLength = Size;

    alignas(8) std::array<std::uint8_t, kHead + Size> buffer{};
    Write(buffer, query);
    std::uint32_t returned = 0;
    const auto error = Ask(device, kIoctlStorageQueryProperty, buffer, buffer.size(), returned);
    if (error != win32::kSuccess) {
        return error;
    }
    if (returned < kHead) {
        return win32::kInvalidData;
    }
    const auto answer = Read<StorageProtocolDataDescriptor>(buffer);
    const auto start = std::uint64_t{offsetof(StorageProtocolDataDescriptor, protocol)} + answer.protocol.dataOffset;
    const bool isSound = answer.version == kHead && answer.size == kHead && start >= kHead && answer.protocol.dataLength >= Size &&
                         start + answer.protocol.dataLength <= returned;
    if (!isSound) {
        return win32::kInvalidData;
    }
    std::copy_n(buffer.begin() + static_cast<std::ptrdiff_t>(start), Size, page.begin());
    return win32::kSuccess;
}

// Sends the NVMe admin command Get Log Page (NVMe 1.4, 5.14) for the whole controller as a protocol command. Returns the Win32
// error.
template <std::size_t Size>
std::uint32_t GetLogPage(const DeviceHandle& device, std::uint8_t identifier, std::span<std::uint8_t, Size> page)
{
    static_assert(Size % 4 == 0);
    constexpr std::uint32_t kErrorInfoSize = 64;  // sizeof NVME_ERROR_INFO_LOG
    constexpr std::size_t kCommand = sizeof(StorageProtocolCommandHead);
    constexpr std::size_t kErrorInfo = kCommand + kProtocolCommandLengthNvme;
    constexpr std::size_t kData = kErrorInfo + kErrorInfoSize;

    StorageProtocolCommandHead head;
    head.protocolType = kProtocolTypeNvme;
    head.flags = kProtocolCommandFlagAdapterRequest;
    head.commandLength = kProtocolCommandLengthNvme;
    head.errorInfoLength = kErrorInfoSize;
    head.dataFromDeviceTransferLength = Size;
    head.timeOutValue = 10;
    head.errorInfoOffset = kErrorInfo;
    head.dataFromDeviceBufferOffset = kData;
    head.commandSpecific = kProtocolSpecificNvmeAdminCommand;

    std::array<std::uint32_t, kProtocolCommandLengthNvme / 4> command{};  // dwords 0 to 15
    command[0] = protocol::kGetLogPage;
    command[1] = protocol::kAllNamespaces;
    command[10] = (Size / 4 - 1) << 16U | identifier;  // number of dwords, zero-based

    alignas(8) std::array<std::uint8_t, kData + Size> buffer{};
    const std::span<std::uint8_t> bytes(buffer);
    Write(bytes, head);
    Write(bytes.subspan(kCommand), command);
    std::uint32_t returned = 0;
    const auto error = Ask(device, kIoctlStorageProtocolCommand, buffer, buffer.size(), returned);
    if (error != win32::kSuccess) {
        return error;
    }
    if (returned < buffer.size()) {
        return win32::kInvalidData;
    }
    const auto answer = Read<StorageProtocolCommandHead>(buffer);
    const bool isSound = answer.returnStatus == kProtocolStatusSuccess && answer.dataFromDeviceBufferOffset == kData &&
                         answer.dataFromDeviceTransferLength == Size;
    if (!isSound) {
        return win32::kInvalidData;
    }
    std::copy_n(buffer.begin() + kData, Size, page.begin());
    return win32::kSuccess;
}

}  // namespace

bool DriveExists(std::int32_t drive)
{
    const auto device = Open(drive, kNoAccess);
    if (device.IsValid()) {
        return true;
    }
    switch (device.Port()->LastError()) {
        case win32::kFileNotFound:
        case win32::kPathNotFound:
        case win32::kInvalidName:
        case win32::kBadUnit:
        case win32::kDevNotExist:
        case win32::kNoSuchDevice:
        case win32::kDeviceNotConnected:
        // The process lacks a resource; the drive may exist.
        case win32::kTooManyOpenFiles:
        case win32::kNotEnoughMemory:
            return false;
        default:
            return true;
    }
}

StorageBusType QueryBusType(std::int32_t drive)
{
    // The SDK's STORAGE_PROPERTY_QUERY has 12 bytes with its padded variable part, and storage drivers require all of them.
    constexpr std::size_t kQuestion = 12;
    constexpr std::size_t kHead = sizeof(StorageDeviceDescriptorHead);

    StoragePropertyQueryHead query;
    query.propertyId = kStorageDeviceProperty;
    query.queryType = kPropertyStandardQuery;
    alignas(8) std::array<std::uint8_t, 1024> buffer{};  // with room for the identification texts after the header
    Write(buffer, query);
    const auto device = Open(drive, kNoAccess);
    std::uint32_t returned = 0;
    if (!device.IsValid() || Ask(device, kIoctlStorageQueryProperty, buffer, kQuestion, returned) != win32::kSuccess ||
        returned < kHead) {
        return StorageBusType::BusTypeUnknown;
    }
    const auto answer = Read<StorageDeviceDescriptorHead>(buffer);
    if (answer.version < kHead || answer.size < kHead) {
        return StorageBusType::BusTypeUnknown;
    }
    return static_cast<StorageBusType>(answer.busType);
}

bool ReadIdentifyController(std::int32_t drive, std::span<std::uint8_t, 4096> page)
{
    const auto device = Open(drive, kNoAccess);
    return device.IsValid() &&
           QueryControllerProperty(device, kNvmeDataTypeIdentify, protocol::kCnsController, page) == win32::kSuccess;
}

bool ReadLogPage(std::int32_t drive, std::uint8_t identifier, std::span<std::uint8_t, 512> page)
{
    const auto device = Open(drive, kNoAccess);
    return device.IsValid() && QueryControllerProperty(device, kNvmeDataTypeLogPage, identifier, page) == win32::kSuccess;
}

bool ReadMakerLogPage(std::int32_t drive, std::uint8_t identifier, std::span<std::uint8_t, 512> page)
{
    auto device = Open(drive, kNoAccess);
    if (!device.IsValid()) {
        return false;
    }
    auto error = QueryControllerProperty(device, kNvmeDataTypeLogPage, identifier, page);
    if (error == win32::kInvalidFunction || error == win32::kNotSupported) {
        device = Open(drive, kReadWrite);
        error = device.IsValid() ? GetLogPage(device, identifier, page) : device.Port()->LastError();
    }
    return error == win32::kSuccess;
}

}  // namespace veyra::sondix
