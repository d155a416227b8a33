#include "FakeDrives.h"

#include <algorithm>
#include <cstring>
#include <numeric>
#include <string_view>

#include "platform/Errors.h"
#include "sondix/sondix.h"

namespace orbis::tests {
namespace {

using namespace orbis::platform;

constexpr NativeHandle kWritable = 1000;  // added to the handle of a drive that was opened for writing

thread_local std::uint32_t g_LastError = 0;

bool Fail(std::uint32_t error)
{
    g_LastError = error;
    return false;
}

template <class T>
T At(const void* bytes, std::size_t offset = 0)
{
    T value;
    std::memcpy(&value, static_cast<const std::uint8_t*>(bytes) + offset, sizeof value);
    return value;
}

// Gives the Win32 error of a property query, and its answer in `answer`.
std::uint32_t AnswerProperty(FakeDrives& machine, const FakeDrive& drive, Answer& answer, std::uint32_t inSize,
                             std::uint32_t outSize)
{
    const auto property = At<StoragePropertyQueryHead>(answer.bytes).propertyId;
    if (property == kStorageDeviceProperty) {
        if (inSize < 12 || outSize < sizeof(StorageDeviceDescriptorHead)) {
            return win32::kBadLength;
        }
        StorageDeviceDescriptorHead head;
        head.version = kStorageDeviceDescriptorSize;
        head.size = kStorageDeviceDescriptorSize;
        head.busType = drive.busType;
        std::memcpy(answer.bytes, &head, sizeof head);
        answer.returned = kStorageDeviceDescriptorSize;
        return drive.descriptorError;
    }

    if (inSize < sizeof(StorageProtocolQuery) || !drive.identify) {
        return win32::kInvalidFunction;
    }
    auto protocol = At<StorageProtocolQuery>(answer.bytes).protocol;
    const Bytes* page = nullptr;
    const bool asksController = property == kStorageAdapterProtocolSpecificProperty;
    if (asksController && protocol.dataType == kNvmeDataTypeIdentify && protocol.requestValue == 1) {
        page = &*drive.identify;
    } else if (asksController && protocol.dataType == kNvmeDataTypeLogPage) {
        if (protocol.requestValue >= 0xC0) {
            ++machine.logRequests;
            if (drive.logPropertyError != 0) {
                return drive.logPropertyError;
            }
        }
        const auto found = drive.logs.find(protocol.requestValue);
        if (found == drive.logs.end()) {
            return win32::kIoDevice;
        }
        page = &found->second;
    }
    const bool isSound = page != nullptr && protocol.protocolType == kProtocolTypeNvme && protocol.dataLength == page->size() &&
                         protocol.dataOffset == sizeof protocol && outSize == sizeof(StorageProtocolQuery) + page->size();
    if (!isSound) {
        return win32::kInvalidParameter;
    }
    const StorageProtocolDataDescriptor head{sizeof head, sizeof head, protocol};
    std::memcpy(answer.bytes, &head, sizeof head);
    std::copy(page->begin(), page->end(), answer.bytes + sizeof head);
    answer.returned = outSize;
    return 0;
}

// The same of an admin command.
std::uint32_t AnswerCommand(FakeDrives& machine, const FakeDrive& drive, bool isWritable, Answer& answer, std::uint32_t outSize)
{
    ++machine.commandRequests;
    auto head = At<StorageProtocolCommandHead>(answer.bytes);
    const auto command = At<std::array<std::uint32_t, 16>>(answer.bytes, sizeof head);
    const auto found = drive.logs.find(command[10] & 0xFF);
    const bool isSound = isWritable && head.version == 1 && head.length == 84 && head.protocolType == kProtocolTypeNvme &&
                         head.flags == kProtocolCommandFlagAdapterRequest && head.commandLength == 64 &&
                         head.commandSpecific == kProtocolSpecificNvmeAdminCommand && head.errorInfoOffset == 144 &&
                         head.dataFromDeviceBufferOffset == head.errorInfoOffset + head.errorInfoLength &&
                         head.dataFromDeviceBufferOffset + head.dataFromDeviceTransferLength == outSize && command[0] == 0x02 &&
                         command[1] == 0xFFFFFFFF && ((command[10] >> 16) + 1) * 4 == head.dataFromDeviceTransferLength;
    if (!isSound) {
        return win32::kInvalidParameter;
    }
    if (found == drive.logs.end()) {
        return win32::kIoDevice;
    }
    head.returnStatus = kProtocolStatusSuccess;
    std::memcpy(answer.bytes, &head, sizeof head);
    std::copy(found->second.begin(), found->second.end(), answer.bytes + head.dataFromDeviceBufferOffset);
    answer.returned = outSize;
    return 0;
}

void Put(Bytes& page, std::size_t offset, std::string_view text)
{
    std::copy(text.begin(), text.end(), page.begin() + static_cast<std::ptrdiff_t>(offset));
}

// Corrects the checksum of a maker's layout.
void PutChecksum(Bytes& page, std::size_t start, std::size_t length)
{
    page[start + 11] = 0;
    const auto first = page.begin() + static_cast<std::ptrdiff_t>(start);
    page[start + 11] = static_cast<std::uint8_t>(0U - std::accumulate(first, first + static_cast<std::ptrdiff_t>(length), 0U));
}

}  // namespace

FakeDrives::FakeDrives() : ForwardingPlatform(System()) { Replace(this); }
FakeDrives::~FakeDrives() { Replace(nullptr); }

NativeHandle FakeDrives::Open(const char16_t* path, std::uint32_t access, std::uint32_t share, void*, std::uint32_t disposition,
                              std::uint32_t, NativeHandle)
{
    constexpr std::u16string_view kPrefix = u"\\\\.\\PhysicalDrive";
    const std::u16string_view name(path);
    const bool isDrive = name.starts_with(kPrefix) && share == (kFileShareRead | kFileShareWrite) && disposition == kOpenExisting;
    const auto number = isDrive ? std::atoi(std::string(name.begin() + kPrefix.size(), name.end()).c_str()) : -1;
    const auto found = drives.find(number);
    if (found == drives.end()) {
        g_LastError = win32::kFileNotFound;
        return kInvalidHandle;
    }
    const auto error = access != 0 && found->second.writeOpenError != 0 ? found->second.writeOpenError : found->second.openError;
    if (error != 0) {
        g_LastError = error;
        return kInvalidHandle;
    }
    ++openHandles;
    return number + 1 + (access == (kGenericRead | kGenericWrite) ? kWritable : 0);
}

bool FakeDrives::Control(NativeHandle device, std::uint32_t code, void* in, std::uint32_t inSize, void* out, std::uint32_t outSize,
                         std::uint32_t* returned, void*)
{
    const bool isWritable = device > kWritable;
    const auto& drive = drives.at(static_cast<std::int32_t>(device - 1 - (isWritable ? kWritable : 0)));
    if (in != out) {
        return Fail(win32::kInvalidParameter);
    }
    Answer answer{code, static_cast<std::uint8_t*>(out)};
    answer.error = code == kIoctlStorageQueryProperty     ? AnswerProperty(*this, drive, answer, inSize, outSize)
                   : code == kIoctlStorageProtocolCommand ? AnswerCommand(*this, drive, isWritable, answer, outSize)
                                                          : win32::kInvalidFunction;
    if (drive.lie) {
        drive.lie(answer);
    }
    *returned = answer.returned;
    return answer.error == 0 || Fail(answer.error);
}

bool FakeDrives::Close(NativeHandle) noexcept
{
    --openHandles;
    return true;
}

std::uint32_t FakeDrives::LastError() const noexcept { return g_LastError; }

Bytes MakersIdentify()
{
    Bytes page(4096);
    Put(page, 3072, {"VEYRA-ID\x01\x00\x60", 11});
    Put(page, 3072 + 12, {"\x07\x00\x00\x00", 4});
    Put(page, 3072 + 16, "PART-0123456789-ABCDEFGHIJ      ");
    Put(page, 3072 + 48, "GUID of 16 bytes");
    Put(page, 3072 + 64, "COMP-7  ");
    Put(page, 3072 + 72, {"\x01\x10\x02\x20\x03\x30\x0B\xB0\x02", 9});
    PutChecksum(page, 3072, 96);
    return page;
}

Bytes MakersHealthLog()
{
    Bytes page(512);
    Put(page, 0, {"VEYRA-HL\x01\x00\x40", 11});
    Put(page, 12, {"\x11\x12\x13\x14\x21\x22\x23\x24", 8});
    Put(page, 20, {"\xFB\xFF\xFF\xFF\x48\x00\x00\x00\x31\x32\x33\x34", 12});
    Put(page, 32, "total of written");
    Put(page, 48, {"\x41\x42\x43\x44", 4});
    PutChecksum(page, 0, 64);
    return page;
}

void* CustomizedViewOf(void* vendorSpecificInfo)
{
    using namespace veyra::sondix::nvme;
    return dynamic_cast<ICustomizedControllerData*>(static_cast<IIdentifyControllerData::IVendorSpecificInfo*>(vendorSpecificInfo));
}

}  // namespace orbis::tests
