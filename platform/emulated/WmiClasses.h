#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "emulated/CaseFolding.h"
#include "emulated/WmiFacts.h"
#include "platform/Requests.h"

// The classes of Windows that describe disks, and the texts that their providers make.
namespace orbis::platform::emulated {

struct WmiClass {
    std::string_view wmiNamespace;
    std::string_view name;

    [[nodiscard]] bool IsAskedFor(const WmiQuery& query) const
    {
        return query.wmiNamespace == wmiNamespace && EqualIgnoreCase(query.className, name);
    }
};
inline constexpr WmiClass kDiskDrive{R"(root\cimv2)", "Win32_DiskDrive"};
inline constexpr WmiClass kLogicalDisk{R"(root\cimv2)", "Win32_LogicalDisk"};
inline constexpr WmiClass kVolume{R"(root\cimv2)", "Win32_Volume"};
inline constexpr WmiClass kRecoveryConfiguration{R"(root\cimv2)", "Win32_OSRecoveryConfiguration"};
inline constexpr WmiClass kPerformanceDisk{R"(root\cimv2)", "Win32_PerfFormattedData_PerfDisk_PhysicalDisk"};
inline constexpr WmiClass kPhysicalDisk{R"(root\microsoft\windows\storage)", "MSFT_PhysicalDisk"};
inline constexpr WmiClass kAtapiSmartData{R"(root\wmi)", "MSStorageDriver_ATAPISmartData"};

// DeviceID, InterfaceType and MediaType of Win32_DiskDrive.
[[nodiscard]] inline std::string DiskDeviceId(std::uint32_t number) { return R"(\\.\PHYSICALDRIVE)" + std::to_string(number); }
[[nodiscard]] constexpr std::string_view InterfaceType(BusType busType) noexcept
{
    switch (busType) {
        case BusType::Usb:
            return "USB";
        case BusType::Ata:
        case BusType::Sata:
            return "IDE";
        case BusType::Ieee1394:
            return "1394";
        default:
            return "SCSI";
    }
}
[[nodiscard]] constexpr std::string_view MediaTypeText(bool removable) noexcept
{
    return removable ? "Removable Media" : "Fixed hard disk media";
}

}  // namespace orbis::platform::emulated
