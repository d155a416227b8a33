#pragma once

#include <cstdint>

#include "platform/Export.h"
#include "platform/Guid.h"
#include "platform/Owned.h"

namespace orbis::platform {

// A device information set (HDEVINFO); -1 is INVALID_HANDLE_VALUE.
using DeviceInfoSetHandle = std::intptr_t;
inline constexpr DeviceInfoSetHandle kInvalidDeviceInfoSet = -1;

inline constexpr std::uint32_t kDigcfPresent = 0x02;
inline constexpr std::uint32_t kDigcfDeviceInterface = 0x10;

// SP_DEVICE_INTERFACE_DATA of a 64-bit process. `size` must be sizeof before the call.
struct DeviceInterfaceData {
    std::uint32_t size = sizeof(DeviceInterfaceData);
    Guid interfaceClass{};
    std::uint32_t flags = 0;
    std::uintptr_t reserved = 0;
};
static_assert(sizeof(DeviceInterfaceData) == 32);

// SP_DEVINFO_DATA of a 64-bit process. `size` must be sizeof before the call.
struct DeviceInfoData {
    std::uint32_t size = sizeof(DeviceInfoData);
    Guid deviceClass{};
    std::uint32_t deviceInstance = 0;
    std::uintptr_t reserved = 0;
};
static_assert(sizeof(DeviceInfoData) == 32);

// SP_DEVICE_INTERFACE_DETAIL_DATA_W: a 4-byte size field that must hold 8 on 64-bit Windows, then the zero-terminated path at
// offset 4. Callers handle it as bytes.
inline constexpr std::uint32_t kDeviceInterfaceDetailHeaderSize = 8;
inline constexpr std::size_t kDeviceInterfaceDetailPathOffset = 4;

// DEVPROPKEY
struct DevicePropertyKey {
    Guid category{};
    std::uint32_t id = 0;
};
// DEVPKEY_Device_InstanceId {78C34FC8-104A-4ACA-9EA4-524D52996E57}, 256
inline constexpr DevicePropertyKey kDeviceInstanceIdKey{
    {0x78C34FC8, 0x104A, 0x4ACA, {0x9E, 0xA4, 0x52, 0x4D, 0x52, 0x99, 0x6E, 0x57}}, 256};
inline constexpr std::uint32_t kDevicePropertyTypeEmpty = 0;      // DEVPROP_TYPE_EMPTY
inline constexpr std::uint32_t kDevicePropertyTypeString = 0x12;  // DEVPROP_TYPE_STRING

// SetupAPI's device walk. Every operation that fails leaves its Win32 error in LastError() of the calling thread.
class Setup {
public:
    virtual ~Setup() = default;

    // SetupDiGetClassDevsW. The caller owns the set and destroys it with DestroyDeviceInfoList; kInvalidDeviceInfoSet on failure.
    [[nodiscard]] virtual DeviceInfoSetHandle ClassDevices(const Guid* classGuid, const char16_t* enumerator, void* parentWindow,
                                                           std::uint32_t flags) = 0;

    // SetupDiEnumDeviceInterfaces over the set, no particular device. Past the last one: kNoMoreItems.
    [[nodiscard]] virtual bool EnumDeviceInterfaces(DeviceInfoSetHandle set, const Guid& interfaceClass, std::uint32_t index,
                                                    DeviceInterfaceData* data) = 0;

    // SetupDiGetDeviceInterfaceDetailW. With no buffer (null, 0) it fails with kInsufficientBuffer and sets `required` (bytes).
    [[nodiscard]] virtual bool DeviceInterfaceDetail(DeviceInfoSetHandle set, const DeviceInterfaceData& data, void* detail,
                                                     std::uint32_t detailSize, std::uint32_t* required) = 0;

    // SetupDiEnumDeviceInfo. Past the last one: kNoMoreItems.
    [[nodiscard]] virtual bool EnumDeviceInfo(DeviceInfoSetHandle set, std::uint32_t index, DeviceInfoData* data) = 0;

    // SetupDiGetDevicePropertyW; sizes in bytes, a string property counts its terminating zero. Absent: kNotFound, and the type is
    // kDevicePropertyTypeEmpty. `type` is not optional.
    [[nodiscard]] virtual bool DeviceProperty(DeviceInfoSetHandle set, const DeviceInfoData& data, const DevicePropertyKey& key,
                                              std::uint32_t* type, void* buffer, std::uint32_t bufferSize, std::uint32_t* required,
                                              std::uint32_t flags) = 0;

    // SetupDiDestroyDeviceInfoList.
    virtual bool DestroyDeviceInfoList(DeviceInfoSetHandle set) noexcept = 0;

    [[nodiscard]] virtual std::uint32_t LastError() const noexcept = 0;

    // The port that is in force now (see Platform::Current).
    [[nodiscard]] ORBIS_PLATFORM_EXPORT static Setup& Current() noexcept;
};

// A device information set.
using DeviceInfoSet = Owned<Setup, DeviceInfoSetHandle, &Setup::DestroyDeviceInfoList, kInvalidDeviceInfoSet>;

}  // namespace orbis::platform
