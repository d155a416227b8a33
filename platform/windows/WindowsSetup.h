#pragma once

#include "platform/Setup.h"

namespace orbis::platform {

// SetupAPI's device walk.
class WindowsSetup final : public Setup {
public:
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
    std::uint32_t LastError() const noexcept override;
};

}  // namespace orbis::platform
