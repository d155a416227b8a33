#include "platform/Setup.h"

#include <fmt/format.h>

#include <cstring>

#include "HandleTable.h"
#include "MachineState.h"
#include "platform/Errors.h"
#include "platform/Text.h"

namespace orbis::simulated {
namespace {

namespace win32 = platform::win32;
using platform::DeviceInfoData;
using platform::DeviceInfoSetHandle;
using platform::DeviceInterfaceData;

constexpr std::uint32_t kInvalidUserBuffer = 1784;  // ERROR_INVALID_USER_BUFFER
// GUID_DEVCLASS_DISKDRIVE {4D36E967-E325-11CE-BFC1-08002BE10318}
constexpr platform::Guid kDiskDriveClass{0x4D36E967, 0xE325, 0x11CE, {0xBF, 0xC1, 0x08, 0x00, 0x2B, 0xE1, 0x03, 0x18}};

// The devices as they were when the set was made. Their texts live as long as the machine.
struct DeviceSet {
    struct Interface {
        const std::u16string* path;
        std::uint32_t detailError = 0;
    };
    struct Node {
        const std::u16string* instanceId;
        std::uint32_t propertyError = 0;
    };
    std::vector<Interface> interfaces;
    std::vector<Node> nodes;
};

bool operator==(const platform::DevicePropertyKey& left, const platform::DevicePropertyKey& right)
{
    return left.category == right.category && left.id == right.id;
}

class SimulatedSetup final : public platform::Setup {
public:
    explicit SimulatedSetup(MachineState& machine) : m_Machine(machine)
    {
        const description::DeviceWalk& walk = machine.description.device_walk();
        for (const auto& recorded : walk.device_interface()) {
            m_RecordedPaths.push_back(platform::Utf8ToUtf16(recorded.path()));
        }
        for (const auto& recorded : walk.device()) {
            m_RecordedIds.push_back(platform::Utf8ToUtf16(recorded.instance_id()));
        }
    }

    DeviceInfoSetHandle ClassDevices(const platform::Guid* classGuid, const char16_t* /*enumerator*/, void* /*parentWindow*/,
                                     std::uint32_t flags) override
    {
        const description::Machine& description = m_Machine.description;
        const std::uint32_t error = description.has_device_walk() ? description.device_walk().error() : win32::kSuccess;
        m_Machine.Record([&] {
            JournalEntry entry;
            entry.operation = "Setup::ClassDevices";
            entry.subject = classGuid != nullptr ? GuidText(*classGuid) : std::string{};
            entry.error = error;
            return entry;
        });
        if (error != win32::kSuccess) {
            return FailWith(error, platform::kInvalidDeviceInfoSet);
        }
        const bool disks =
            classGuid != nullptr && *classGuid == platform::kDiskInterfaceGuid && (flags & platform::kDigcfDeviceInterface) != 0;
        const DeviceInfoSetHandle handle = m_Sets.Add(disks ? MakeDiskSet() : std::make_shared<DeviceSet>());
        ++m_Machine.open.deviceSets;
        return handle;
    }

    bool EnumDeviceInterfaces(DeviceInfoSetHandle set, const platform::Guid& interfaceClass, std::uint32_t index,
                              DeviceInterfaceData* data) override
    {
        const std::shared_ptr<DeviceSet> found = Find(set, "EnumDeviceInterfaces");
        if (found == nullptr) {
            return false;
        }
        if (data == nullptr || data->size != sizeof(DeviceInterfaceData)) {
            return FailWith(win32::kInvalidParameter, false);
        }
        if (interfaceClass != platform::kDiskInterfaceGuid || index >= found->interfaces.size()) {
            return FailWith(win32::kNoMoreItems, false);
        }
        data->interfaceClass = interfaceClass;
        data->flags = 1;  // SPINT_ACTIVE
        data->reserved = index + 1;
        return true;
    }

    bool DeviceInterfaceDetail(DeviceInfoSetHandle set, const DeviceInterfaceData& data, void* detail, std::uint32_t detailSize,
                               std::uint32_t* required) override
    {
        const std::shared_ptr<DeviceSet> found = Find(set, "DeviceInterfaceDetail");
        if (found == nullptr) {
            return false;
        }
        if (data.size != sizeof(DeviceInterfaceData) || data.reserved == 0 || data.reserved > found->interfaces.size() ||
            (detail == nullptr && detailSize != 0)) {
            return FailWith(win32::kInvalidParameter, false);
        }
        const DeviceSet::Interface& device = found->interfaces[data.reserved - 1];
        const std::size_t pathBytes = (device.path->size() + 1) * sizeof(char16_t);
        const auto needed = static_cast<std::uint32_t>(platform::kDeviceInterfaceDetailPathOffset + pathBytes);
        if (required != nullptr) {
            *required = needed;
        }
        if (detailSize < needed) {
            return FailWith(win32::kInsufficientBuffer, false);
        }
        std::uint32_t headerSize = 0;
        std::memcpy(&headerSize, detail, sizeof(headerSize));
        if (headerSize != platform::kDeviceInterfaceDetailHeaderSize) {
            return FailWith(kInvalidUserBuffer, false);
        }
        if (device.detailError != win32::kSuccess) {
            return FailWith(device.detailError, false);
        }
        std::memcpy(static_cast<std::uint8_t*>(detail) + platform::kDeviceInterfaceDetailPathOffset, device.path->c_str(),
                    pathBytes);
        return true;
    }

    bool EnumDeviceInfo(DeviceInfoSetHandle set, std::uint32_t index, DeviceInfoData* data) override
    {
        const std::shared_ptr<DeviceSet> found = Find(set, "EnumDeviceInfo");
        if (found == nullptr) {
            return false;
        }
        if (data == nullptr || data->size != sizeof(DeviceInfoData)) {
            return FailWith(win32::kInvalidParameter, false);
        }
        if (index >= found->nodes.size()) {
            return FailWith(win32::kNoMoreItems, false);
        }
        data->deviceClass = kDiskDriveClass;
        data->deviceInstance = index + 1;
        return true;
    }

    bool DeviceProperty(DeviceInfoSetHandle set, const DeviceInfoData& data, const platform::DevicePropertyKey& key,
                        std::uint32_t* type, void* buffer, std::uint32_t bufferSize, std::uint32_t* required,
                        std::uint32_t /*flags*/) override
    {
        const std::shared_ptr<DeviceSet> found = Find(set, "DeviceProperty");
        if (found == nullptr) {
            return false;
        }
        if (data.size != sizeof(DeviceInfoData) || data.deviceInstance == 0 || data.deviceInstance > found->nodes.size() ||
            type == nullptr) {
            return FailWith(win32::kInvalidParameter, false);
        }
        const DeviceSet::Node& node = found->nodes[data.deviceInstance - 1];
        if (!(key == platform::kDeviceInstanceIdKey)) {
            return FailWith(win32::kNotFound, false);
        }
        if (node.propertyError != win32::kSuccess) {
            return FailWith(node.propertyError, false);
        }
        const auto needed = static_cast<std::uint32_t>((node.instanceId->size() + 1) * sizeof(char16_t));
        *type = platform::kDevicePropertyTypeString;
        if (required != nullptr) {
            *required = needed;
        }
        if (buffer == nullptr || bufferSize < needed) {
            return FailWith(win32::kInsufficientBuffer, false);
        }
        std::memcpy(buffer, node.instanceId->c_str(), needed);
        return true;
    }

    bool DestroyDeviceInfoList(DeviceInfoSetHandle set) noexcept override
    {
        if (!m_Sets.Remove(set)) {
            m_Machine.ReportMisuse("Setup::DestroyDeviceInfoList of a set that is not open");
            return FailWith(win32::kInvalidHandle, false);
        }
        --m_Machine.open.deviceSets;
        return true;
    }

    std::uint32_t LastError() const noexcept override { return simulated::LastError(); }

private:
    std::shared_ptr<DeviceSet> Find(DeviceInfoSetHandle set, const char* operation) const
    {
        std::shared_ptr<DeviceSet> found = m_Sets.Find(set);
        if (found == nullptr) {
            m_Machine.ReportMisuse(fmt::format("Setup::{} on a set that is not open", operation));
            SetLastError(win32::kInvalidHandle);
        }
        return found;
    }

    std::shared_ptr<DeviceSet> MakeDiskSet() const
    {
        auto set = std::make_shared<DeviceSet>();
        if (m_Machine.description.has_device_walk()) {
            const description::DeviceWalk& walk = m_Machine.description.device_walk();
            for (int i = 0; i < walk.device_interface_size(); ++i) {
                set->interfaces.push_back({&m_RecordedPaths[static_cast<std::size_t>(i)], walk.device_interface(i).detail_error()});
            }
            for (int i = 0; i < walk.device_size(); ++i) {
                set->nodes.push_back({&m_RecordedIds[static_cast<std::size_t>(i)], walk.device(i).property_error()});
            }
            return set;
        }
        for (const DiskModel* disk : m_Machine.PresentDisks()) {
            set->interfaces.push_back({&disk->wideInterfacePath, win32::kSuccess});
            set->nodes.push_back({&disk->wideInstanceId, win32::kSuccess});
        }
        return set;
    }

    MachineState& m_Machine;
    std::vector<std::u16string> m_RecordedPaths;
    std::vector<std::u16string> m_RecordedIds;
    HandleTable<DeviceSet> m_Sets;
};

}  // namespace

std::unique_ptr<platform::Setup> MakeSetupPort(MachineState& machine) { return std::make_unique<SimulatedSetup>(machine); }

}  // namespace orbis::simulated
