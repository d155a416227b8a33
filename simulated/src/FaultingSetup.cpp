#include "FaultCounter.h"
#include "platform/Errors.h"

namespace orbis::simulated {
namespace {

using enum FaultKind;
namespace win32 = platform::win32;

const FaultableOperation kClassDevices{"Setup::ClassDevices", {Error, Null, BadAlloc}, win32::kAccessDenied};
const FaultableOperation kEnumInterfaces{"Setup::EnumDeviceInterfaces", {Error, BadAlloc}, win32::kAccessDenied};
const FaultableOperation kInterfaceDetail{"Setup::DeviceInterfaceDetail", {Error, ShortData, Null, BadAlloc}, win32::kAccessDenied};
const FaultableOperation kEnumDeviceInfo{"Setup::EnumDeviceInfo", {Error, BadAlloc}, win32::kAccessDenied};
const FaultableOperation kDeviceProperty{"Setup::DeviceProperty", {Error, BadAlloc}, win32::kNotFound};

class FaultingSetup final : public platform::Setup {
public:
    FaultingSetup(platform::Setup& inner, FaultCounter& counter) : m_Inner(inner), m_Counter(counter) {}

    platform::DeviceInfoSetHandle ClassDevices(const platform::Guid* classGuid, const char16_t* enumerator, void* parentWindow,
                                               std::uint32_t flags) override
    {
        if (const auto fault = m_Counter.Count(kClassDevices, {})) {
            FaultLastError::Set(fault->error);
            return fault->Is(Null) ? 0 : platform::kInvalidDeviceInfoSet;
        }
        return m_Inner.ClassDevices(classGuid, enumerator, parentWindow, flags);
    }

    bool EnumDeviceInterfaces(platform::DeviceInfoSetHandle set, const platform::Guid& interfaceClass, std::uint32_t index,
                              platform::DeviceInterfaceData* data) override
    {
        return !Fails(kEnumInterfaces, std::to_string(index)) && m_Inner.EnumDeviceInterfaces(set, interfaceClass, index, data);
    }

    bool DeviceInterfaceDetail(platform::DeviceInfoSetHandle set, const platform::DeviceInterfaceData& data, void* detail,
                               std::uint32_t detailSize, std::uint32_t* required) override
    {
        const auto fault = m_Counter.Count(kInterfaceDetail, detail == nullptr ? "size" : "path");
        if (!fault) {
            return m_Inner.DeviceInterfaceDetail(set, data, detail, detailSize, required);
        }
        FaultLastError::Set(fault->Is(ShortData) ? win32::kInsufficientBuffer : fault->error);
        if (required != nullptr) {
            *required = 0;
        }
        return fault->Is(Null);
    }

    bool EnumDeviceInfo(platform::DeviceInfoSetHandle set, std::uint32_t index, platform::DeviceInfoData* data) override
    {
        return !Fails(kEnumDeviceInfo, std::to_string(index)) && m_Inner.EnumDeviceInfo(set, index, data);
    }

    bool DeviceProperty(platform::DeviceInfoSetHandle set, const platform::DeviceInfoData& data,
                        const platform::DevicePropertyKey& key, std::uint32_t* type, void* buffer, std::uint32_t bufferSize,
                        std::uint32_t* required, std::uint32_t flags) override
    {
        return !Fails(kDeviceProperty, {}) && m_Inner.DeviceProperty(set, data, key, type, buffer, bufferSize, required, flags);
    }

    bool DestroyDeviceInfoList(platform::DeviceInfoSetHandle set) noexcept override
    {
        FaultLastError::Clear();
        return m_Inner.DestroyDeviceInfoList(set);
    }

    std::uint32_t LastError() const noexcept override { return FaultLastError::Or(m_Inner.LastError()); }

private:
    bool Fails(const FaultableOperation& operation, std::string subject)
    {
        const auto fault = m_Counter.Count(operation, std::move(subject));
        if (fault) {
            FaultLastError::Set(fault->error);
        }
        return fault.has_value();
    }

    platform::Setup& m_Inner;
    FaultCounter& m_Counter;
};

}  // namespace

std::unique_ptr<platform::Setup> MakeFaultingSetup(platform::Setup& inner, FaultCounter& counter)
{
    return std::make_unique<FaultingSetup>(inner, counter);
}

}  // namespace orbis::simulated
