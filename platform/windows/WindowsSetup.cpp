#include "WindowsPorts.h"

#include "WindowsHeaders.h"
// After windows.h, which they need.
#include <devpropdef.h>
#include <setupapi.h>

namespace orbis::platform {

// The port's structures are the SDK's byte for byte (SdkLayouts.cpp), so they are copied as bytes.
namespace {

// SetupAPI's device walk.
class WindowsSetup final : public Setup {
public:
    DeviceInfoSetHandle ClassDevices(const Guid* classGuid, const char16_t* enumerator, void* parentWindow,
                                     std::uint32_t flags) override
    {
        const GUID guid = classGuid != nullptr ? AsGuid(*classGuid) : GUID{};
        return FromHandle(::SetupDiGetClassDevsW(classGuid != nullptr ? &guid : nullptr, AsWide(enumerator),
                                                 static_cast<HWND>(parentWindow), flags));
    }

    bool EnumDeviceInterfaces(DeviceInfoSetHandle set, const Guid& interfaceClass, std::uint32_t index,
                              DeviceInterfaceData* data) override
    {
        const GUID guid = AsGuid(interfaceClass);
        auto native = std::bit_cast<SP_DEVICE_INTERFACE_DATA>(*data);
        const bool found = ::SetupDiEnumDeviceInterfaces(AsHandle(set), nullptr, &guid, index, &native) != FALSE;
        *data = std::bit_cast<DeviceInterfaceData>(native);
        return found;
    }

    bool DeviceInterfaceDetail(DeviceInfoSetHandle set, const DeviceInterfaceData& data, void* detail, std::uint32_t detailSize,
                               std::uint32_t* required) override
    {
        auto native = std::bit_cast<SP_DEVICE_INTERFACE_DATA>(data);
        DWORD needed = 0;
        const bool done =
            ::SetupDiGetDeviceInterfaceDetailW(AsHandle(set), &native, static_cast<SP_DEVICE_INTERFACE_DETAIL_DATA_W*>(detail),
                                               detailSize, &needed, nullptr) != FALSE;
        if (required != nullptr) {
            *required = needed;
        }
        return done;
    }

    bool EnumDeviceInfo(DeviceInfoSetHandle set, std::uint32_t index, DeviceInfoData* data) override
    {
        auto native = std::bit_cast<SP_DEVINFO_DATA>(*data);
        const bool found = ::SetupDiEnumDeviceInfo(AsHandle(set), index, &native) != FALSE;
        *data = std::bit_cast<DeviceInfoData>(native);
        return found;
    }

    bool DeviceProperty(DeviceInfoSetHandle set, const DeviceInfoData& data, const DevicePropertyKey& key, std::uint32_t* type,
                        void* buffer, std::uint32_t bufferSize, std::uint32_t* required, std::uint32_t flags) override
    {
        auto native = std::bit_cast<SP_DEVINFO_DATA>(data);
        const auto nativeKey = std::bit_cast<DEVPROPKEY>(key);
        DEVPROPTYPE nativeType = 0;
        DWORD needed = 0;
        const bool done = ::SetupDiGetDevicePropertyW(AsHandle(set), &native, &nativeKey, type != nullptr ? &nativeType : nullptr,
                                                      static_cast<BYTE*>(buffer), bufferSize, &needed, flags) != FALSE;
        if (type != nullptr) {
            *type = nativeType;
        }
        if (required != nullptr) {
            *required = needed;
        }
        return done;
    }

    bool DestroyDeviceInfoList(DeviceInfoSetHandle set) noexcept override
    {
        return ::SetupDiDestroyDeviceInfoList(AsHandle(set)) != FALSE;
    }

    std::uint32_t LastError() const noexcept override { return ::GetLastError(); }
};

}  // namespace

std::unique_ptr<Setup> MakeWindowsSetup() { return std::make_unique<WindowsSetup>(); }

}  // namespace orbis::platform
