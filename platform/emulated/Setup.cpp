#include "emulated/Setup.h"

#include <cstddef>
#include <cstring>
#include <utility>

#include "emulated/Handles.h"
#include "platform/Errors.h"

namespace orbis::platform::emulated {
namespace {

bool Fail(Win32Error error) noexcept { return FailWith(error, false); }

// The checks that all calls on a set make first.
bool Check(const std::shared_ptr<const DeviceSet>& set, bool isValid, Win32Error error = win32::kInvalidParameter) noexcept
{
    return set == nullptr ? Fail(win32::kInvalidHandle) : isValid || Fail(error);
}

class EmulatedSetup final : public Setup {
public:
    explicit EmulatedSetup(std::function<DeviceSet()> disks) : m_Disks(std::move(disks)) {}

    DeviceInfoSetHandle ClassDevices(const Guid* classGuid, const char16_t* enumerator, void* /*parentWindow*/,
                                     std::uint32_t flags) override
    {
        const bool isDisks = classGuid != nullptr && *classGuid == kDiskInterfaceGuid && (flags & kDigcfDeviceInterface) != 0;
        auto set = std::make_shared<const DeviceSet>(isDisks && enumerator == nullptr ? m_Disks() : DeviceSet{});
        return set->error == win32::kSuccess ? m_Sets.Add(std::move(set)) : FailWith(set->error, kInvalidDeviceInfoSet);
    }

    // The data's opaque members hold the device's place in its set, counted from 1.

    bool EnumDeviceInterfaces(DeviceInfoSetHandle set, const Guid& interfaceClass, std::uint32_t index,
                              DeviceInterfaceData* data) override
    {
        const auto found = m_Sets.Find(set);
        if (!Check(found, data != nullptr && data->size == sizeof(*data))) {
            return false;
        }
        if (!(interfaceClass == kDiskInterfaceGuid) || index >= found->interfaces.size()) {
            return Fail(win32::kNoMoreItems);
        }
        constexpr std::uint32_t kActive = 1;  // SPINT_ACTIVE
        data->interfaceClass = kDiskInterfaceGuid;
        data->flags = kActive;
        data->reserved = std::uintptr_t{index} + 1;
        return true;
    }

    bool DeviceInterfaceDetail(DeviceInfoSetHandle set, const DeviceInterfaceData& data, void* detail, std::uint32_t detailSize,
                               std::uint32_t* required) override
    {
        const auto found = m_Sets.Find(set);
        std::uint32_t headerSize = kDeviceInterfaceDetailHeaderSize;
        if (detail != nullptr && detailSize >= sizeof(headerSize)) {
            std::memcpy(&headerSize, detail, sizeof(headerSize));
        }
        if (!Check(found, data.size == sizeof(data) && data.reserved != 0) ||
            !Check(found, data.reserved <= found->interfaces.size()) ||
            !Check(found, headerSize == kDeviceInterfaceDetailHeaderSize && (detail != nullptr || detailSize == 0),
                   win32::kInvalidUserBuffer)) {
            return false;
        }
        const auto& [path, error] = found->interfaces[data.reserved - 1];
        const std::size_t bytes = (path.size() + 1) * sizeof(char16_t);
        const auto needed = static_cast<std::uint32_t>(kDeviceInterfaceDetailPathOffset + bytes);
        if (required != nullptr) {
            *required = needed;
        }
        if (detailSize < needed || error != win32::kSuccess) {
            return Fail(detailSize < needed ? win32::kInsufficientBuffer : error);
        }
        std::memcpy(static_cast<std::byte*>(detail) + kDeviceInterfaceDetailPathOffset, path.c_str(), bytes);
        return true;
    }

    bool EnumDeviceInfo(DeviceInfoSetHandle set, std::uint32_t index, DeviceInfoData* data) override
    {
        // GUID_DEVCLASS_DISKDRIVE {4D36E967-E325-11CE-BFC1-08002BE10318}
        constexpr Guid kDiskDriveClass{0x4D36E967, 0xE325, 0x11CE, {0xBF, 0xC1, 0x08, 0x00, 0x2B, 0xE1, 0x03, 0x18}};
        const auto found = m_Sets.Find(set);
        if (!Check(found, data != nullptr) || !Check(found, data->size == sizeof(*data), win32::kInvalidUserBuffer)) {
            return false;
        }
        if (index >= found->devices.size()) {
            return Fail(win32::kNoMoreItems);
        }
        data->deviceClass = kDiskDriveClass;
        data->deviceInstance = index + 1;
        return true;
    }

    bool DeviceProperty(DeviceInfoSetHandle set, const DeviceInfoData& data, const DevicePropertyKey& key, std::uint32_t* type,
                        void* buffer, std::uint32_t bufferSize, std::uint32_t* required, std::uint32_t flags) override
    {
        const auto found = m_Sets.Find(set);
        if (!Check(found, data.size == sizeof(data) && data.deviceInstance != 0) ||
            !Check(found, data.deviceInstance <= found->devices.size()) ||
            !Check(found, type != nullptr && (buffer != nullptr || bufferSize == 0), win32::kInvalidUserBuffer) ||
            !Check(found, flags == 0, win32::kInvalidFlags)) {
            return false;
        }
        const auto& [id, error] = found->devices[data.deviceInstance - 1];
        const bool isInstanceId = key.category == kDeviceInstanceIdKey.category && key.id == kDeviceInstanceIdKey.id;
        *type = kDevicePropertyTypeEmpty;
        if (!isInstanceId || error != win32::kSuccess) {
            return Fail(isInstanceId ? error : win32::kNotFound);
        }
        const auto needed = static_cast<std::uint32_t>((id.size() + 1) * sizeof(char16_t));
        *type = kDevicePropertyTypeString;
        if (required != nullptr) {
            *required = needed;
        }
        if (bufferSize < needed) {
            return Fail(win32::kInsufficientBuffer);
        }
        std::memcpy(buffer, id.c_str(), needed);
        return true;
    }

    bool DestroyDeviceInfoList(DeviceInfoSetHandle set) noexcept override
    {
        return m_Sets.Remove(set) != nullptr || Fail(win32::kInvalidHandle);
    }
    std::uint32_t LastError() const noexcept override { return emulated::LastError(); }

private:
    const std::function<DeviceSet()> m_Disks;
    HandleTable<const DeviceSet> m_Sets;
};

}  // namespace

std::unique_ptr<Setup> MakeSetup(std::function<DeviceSet()> disks) { return std::make_unique<EmulatedSetup>(std::move(disks)); }

}  // namespace orbis::platform::emulated
