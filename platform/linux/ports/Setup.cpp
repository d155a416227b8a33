#include "linux/ports/Setup.h"

#include <cstddef>
#include <cstring>

#include "linux/disks/InstanceId.h"
#include "linux/kernel/LastError.h"
#include "platform/Errors.h"
#include "platform/Text.h"

namespace orbis::platform::linux_system {
namespace {

constexpr std::uint32_t kInvalidUserBuffer = 1784;  // ERROR_INVALID_USER_BUFFER

bool Fail(std::uint32_t error) noexcept
{
    SetLastError(error);
    return false;
}

}  // namespace

std::shared_ptr<const Setup::InstanceIds> Setup::Find(DeviceInfoSetHandle set)
{
    const std::scoped_lock lock(m_Lock);
    const auto found = m_Sets.find(set);
    return found != m_Sets.end() ? found->second : nullptr;
}

DeviceInfoSetHandle Setup::ClassDevices(const Guid* classGuid, const char16_t* enumerator, void* /*parentWindow*/,
                                        std::uint32_t flags)
{
    auto ids = std::make_shared<InstanceIds>();
    const bool isDisks = classGuid != nullptr && *classGuid == kDiskInterfaceGuid && (flags & kDigcfDeviceInterface) != 0;
    if (isDisks && enumerator == nullptr) {
        for (Disk& disk : m_Machine.inventory.Disks()) {
            ids->push_back(std::move(disk.instanceId));
        }
    }
    const std::scoped_lock lock(m_Lock);
    m_Sets.emplace(++m_LastSet, std::move(ids));
    return m_LastSet;
}

// A device's place in its set, counted from 1, stands in the data's opaque members.

bool Setup::EnumDeviceInterfaces(DeviceInfoSetHandle set, const Guid& interfaceClass, std::uint32_t index,
                                 DeviceInterfaceData* data)
{
    const auto ids = Find(set);
    if (ids == nullptr) {
        return Fail(win32::kInvalidHandle);
    }
    if (data == nullptr || data->size != sizeof(*data)) {
        return Fail(win32::kInvalidParameter);
    }
    if (!(interfaceClass == kDiskInterfaceGuid) || index >= ids->size()) {
        return Fail(win32::kNoMoreItems);
    }
    constexpr std::uint32_t kActive = 1;  // SPINT_ACTIVE
    data->interfaceClass = kDiskInterfaceGuid;
    data->flags = kActive;
    data->reserved = std::uintptr_t{index} + 1;
    return true;
}

bool Setup::DeviceInterfaceDetail(DeviceInfoSetHandle set, const DeviceInterfaceData& data, void* detail, std::uint32_t detailSize,
                                  std::uint32_t* required)
{
    const auto ids = Find(set);
    if (ids == nullptr) {
        return Fail(win32::kInvalidHandle);
    }
    if (data.reserved == 0 || data.reserved > ids->size()) {
        return Fail(win32::kInvalidParameter);
    }
    const std::u16string path = Utf8ToUtf16(InterfacePathOf((*ids)[data.reserved - 1]));
    const std::size_t bytes = (path.size() + 1) * sizeof(char16_t);
    const auto needed = static_cast<std::uint32_t>(kDeviceInterfaceDetailPathOffset + bytes);
    if (required != nullptr) {
        *required = needed;
    }
    if (detail == nullptr || detailSize < needed) {
        return Fail(win32::kInsufficientBuffer);
    }
    std::uint32_t headerSize = 0;
    std::memcpy(&headerSize, detail, sizeof(headerSize));
    if (headerSize != kDeviceInterfaceDetailHeaderSize) {
        return Fail(kInvalidUserBuffer);
    }
    std::memcpy(static_cast<std::byte*>(detail) + kDeviceInterfaceDetailPathOffset, path.c_str(), bytes);
    return true;
}

bool Setup::EnumDeviceInfo(DeviceInfoSetHandle set, std::uint32_t index, DeviceInfoData* data)
{
    // GUID_DEVCLASS_DISKDRIVE {4D36E967-E325-11CE-BFC1-08002BE10318}
    constexpr Guid kDiskDriveClass{0x4D36E967, 0xE325, 0x11CE, {0xBF, 0xC1, 0x08, 0x00, 0x2B, 0xE1, 0x03, 0x18}};
    const auto ids = Find(set);
    if (ids == nullptr) {
        return Fail(win32::kInvalidHandle);
    }
    if (data == nullptr || data->size != sizeof(*data)) {
        return Fail(win32::kInvalidParameter);
    }
    if (index >= ids->size()) {
        return Fail(win32::kNoMoreItems);
    }
    data->deviceClass = kDiskDriveClass;
    data->deviceInstance = index + 1;
    return true;
}

bool Setup::DeviceProperty(DeviceInfoSetHandle set, const DeviceInfoData& data, const DevicePropertyKey& key, std::uint32_t* type,
                           void* buffer, std::uint32_t bufferSize, std::uint32_t* required, std::uint32_t /*flags*/)
{
    const auto ids = Find(set);
    if (ids == nullptr) {
        return Fail(win32::kInvalidHandle);
    }
    if (data.deviceInstance == 0 || data.deviceInstance > ids->size()) {
        return Fail(win32::kInvalidParameter);
    }
    if (!(key.category == kDeviceInstanceIdKey.category) || key.id != kDeviceInstanceIdKey.id) {
        return Fail(win32::kNotFound);
    }
    const std::u16string id = Utf8ToUtf16((*ids)[data.deviceInstance - 1]);
    const auto needed = static_cast<std::uint32_t>((id.size() + 1) * sizeof(char16_t));
    if (type != nullptr) {
        *type = kDevicePropertyTypeString;
    }
    if (required != nullptr) {
        *required = needed;
    }
    if (buffer == nullptr || bufferSize < needed) {
        return Fail(win32::kInsufficientBuffer);
    }
    std::memcpy(buffer, id.c_str(), needed);
    return true;
}

bool Setup::DestroyDeviceInfoList(DeviceInfoSetHandle set) noexcept
{
    const std::scoped_lock lock(m_Lock);
    return m_Sets.erase(set) != 0 || Fail(win32::kInvalidHandle);
}

std::uint32_t Setup::LastError() const noexcept { return linux_system::LastError(); }

}  // namespace orbis::platform::linux_system
