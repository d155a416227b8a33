#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "linux/kernel/Machine.h"
#include "platform/Setup.h"

namespace orbis::platform::linux_system {

// The device walk over the inventory. A set is a picture of the moment in which it was made.
class Setup final : public platform::Setup {
public:
    explicit Setup(Machine& machine) : m_Machine(machine) {}

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

private:
    using InstanceIds = std::vector<std::string>;

    [[nodiscard]] std::shared_ptr<const InstanceIds> Find(DeviceInfoSetHandle set);

    Machine& m_Machine;
    std::mutex m_Lock;
    DeviceInfoSetHandle m_LastSet = 0;
    std::map<DeviceInfoSetHandle, std::shared_ptr<const InstanceIds>> m_Sets;
};

}  // namespace orbis::platform::linux_system
