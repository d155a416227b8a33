#include "FaultCounter.h"
#include "platform/Errors.h"
#include "platform/Forwarding.h"

namespace orbis::simulated {
namespace {

using enum FaultKind;
namespace win32 = platform::win32;

const FaultableOperation kClassDevices{"Setup::ClassDevices", {Error, Null, BadAlloc}, win32::kAccessDenied};
const FaultableOperation kEnumInterfaces{"Setup::EnumDeviceInterfaces", {Error, BadAlloc}, win32::kAccessDenied};
const FaultableOperation kInterfaceDetail{"Setup::DeviceInterfaceDetail", {Error, ShortData, Null, BadAlloc}, win32::kAccessDenied};
const FaultableOperation kEnumDeviceInfo{"Setup::EnumDeviceInfo", {Error, BadAlloc}, win32::kAccessDenied};
const FaultableOperation kDeviceProperty{"Setup::DeviceProperty", {Error, BadAlloc}, win32::kNotFound};

class FaultingSetup final : public platform::ForwardingSetup {
public:
    FaultingSetup(platform::Setup& inner, FaultCounter& counter) : ForwardingSetup(inner), m_Counter(counter) {}

    platform::DeviceInfoSetHandle ClassDevices(const platform::Guid* classGuid, const char16_t* enumerator, void* parentWindow,
                                               std::uint32_t flags) override
    {
        if (const auto fault = m_Counter.Count(kClassDevices, {})) {
            platform::SaveLastError(fault->error);
            return fault->Is(Null) ? 0 : platform::kInvalidDeviceInfoSet;
        }
        return ForwardingSetup::ClassDevices(classGuid, enumerator, parentWindow, flags);
    }

    bool EnumDeviceInterfaces(platform::DeviceInfoSetHandle set, const platform::Guid& interfaceClass, std::uint32_t index,
                              platform::DeviceInterfaceData* data) override
    {
        return !Fails(kEnumInterfaces, std::to_string(index)) &&
               ForwardingSetup::EnumDeviceInterfaces(set, interfaceClass, index, data);
    }

    bool DeviceInterfaceDetail(platform::DeviceInfoSetHandle set, const platform::DeviceInterfaceData& data, void* detail,
                               std::uint32_t detailSize, std::uint32_t* required) override
    {
        const auto fault = m_Counter.Count(kInterfaceDetail, detail == nullptr ? "size" : "path");
        if (!fault) {
            return ForwardingSetup::DeviceInterfaceDetail(set, data, detail, detailSize, required);
        }
        platform::SaveLastError(fault->Is(ShortData) ? win32::kInsufficientBuffer : fault->error);
        if (required != nullptr) {
            *required = 0;
        }
        return fault->Is(Null);
    }

    bool EnumDeviceInfo(platform::DeviceInfoSetHandle set, std::uint32_t index, platform::DeviceInfoData* data) override
    {
        return !Fails(kEnumDeviceInfo, std::to_string(index)) && ForwardingSetup::EnumDeviceInfo(set, index, data);
    }

    bool DeviceProperty(platform::DeviceInfoSetHandle set, const platform::DeviceInfoData& data,
                        const platform::DevicePropertyKey& key, std::uint32_t* type, void* buffer, std::uint32_t bufferSize,
                        std::uint32_t* required, std::uint32_t flags) override
    {
        return !Fails(kDeviceProperty, {}) &&
               ForwardingSetup::DeviceProperty(set, data, key, type, buffer, bufferSize, required, flags);
    }

private:
    bool Fails(const FaultableOperation& operation, std::string subject)
    {
        const auto fault = m_Counter.Count(operation, std::move(subject));
        if (fault) {
            platform::SaveLastError(fault->error);
        }
        return fault.has_value();
    }

    FaultCounter& m_Counter;
};

}  // namespace

std::unique_ptr<platform::Setup> MakeFaultingSetup(platform::Setup& inner, FaultCounter& counter)
{
    return std::make_unique<FaultingSetup>(inner, counter);
}

}  // namespace orbis::simulated
