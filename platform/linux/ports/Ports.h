#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "emulated/Firmware.h"
#include "emulated/Pdh.h"
#include "emulated/WmiFacts.h"
#include "linux/kernel/Machine.h"
#include "platform/DeviceIo.h"

namespace orbis::platform::linux_system {

// Disks ("\\.\PhysicalDrive0", a device interface path) and volumes ("\\.\C:") over block devices. A device is opened for reading
// only, whatever access was asked. What the kernel tells everybody (number, size, descriptor, activity, partitions) is told to
// everybody here: a device that may not be opened gets a handle all the same, and each request that needs the device itself is
// refused with kAccessDenied. So a user without rights still sees the disks.
[[nodiscard]] std::unique_ptr<DeviceIo> MakeDeviceIo(Machine& machine);
// The kernel's knowledge as rows of WMI classes.
[[nodiscard]] std::unique_ptr<emulated::WmiFacts> MakeWmiFacts(Machine& machine);
// The activity in /proc/diskstats, from which the counters of PhysicalDisk are computed.
[[nodiscard]] std::unique_ptr<emulated::PdhFacts> MakeDiskCounters(Machine& machine);
// The SMBIOS tables in /sys/firmware/dmi/tables, behind the header of RawSMBIOSData.
[[nodiscard]] emulated::FirmwareTable ReadFirmwareTable(const Roots& roots, std::uint32_t provider);

// The name of a disk's instance in the PhysicalDisk performance object: its number and the letters on it ("0 C: D:").
[[nodiscard]] std::string PerformanceInstance(const Disk& disk, const VolumeSet& volumes);

}  // namespace orbis::platform::linux_system
