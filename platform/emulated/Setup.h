#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "emulated/Handles.h"
#include "emulated/LastError.h"
#include "platform/Setup.h"

namespace orbis::platform::emulated {

// The disks that a device walk finds, at the moment in which it begins.
struct DeviceSet {
    struct Entry {
        std::u16string text;
        Win32Error error = 0;  // of reading it
    };
    std::vector<Entry> interfaces;  // by device interface path
    std::vector<Entry> devices;     // by device instance id
    Win32Error error = 0;           // of making the set
};

// SetupAPI's walk over disk interfaces; sets of other classes are empty.
class Setup final : public platform::Setup {
public:
    explicit Setup(std::function<DeviceSet()> disks) : m_Disks(std::move(disks)) {}

    DeviceInfoSetHandle ClassDevices(const Guid* classGuid, const char16_t* enumerator, void* parentWindow,
                                     std::uint32_t flags) override;
    bool EnumDeviceInterfaces(DeviceInfoSetHandle set, const Guid& interfaceClass, std::uint32_t index,
                              DeviceInterfaceData* data) override;
    bool DeviceInterfaceDetail(DeviceInfoSetHandle set, const DeviceInterfaceData& data, void* detail, std::uint32_t detailSize,
                               std::uint32_t* required) override;
    bool EnumDeviceInfo(DeviceInfoSetHandle set, std::uint32_t index, DeviceInfoData* data) override;
    bool DeviceProperty(DeviceInfoSetHandle set, const DeviceInfoData& data, const DevicePropertyKey& key, std::uint32_t* type,
                        void* buffer, std::uint32_t bufferSize, std::uint32_t* required, std::uint32_t flags) override;
    bool DestroyDeviceInfoList(DeviceInfoSetHandle set) noexcept override;
    std::uint32_t LastError() const noexcept override { return emulated::LastError(); }

private:
    const std::function<DeviceSet()> m_Disks;
    HandleTable<const DeviceSet> m_Sets;
};

}  // namespace orbis::platform::emulated
