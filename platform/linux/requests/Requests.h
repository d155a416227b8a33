#pragma once

#include <optional>

#include "linux/disks/Disk.h"
#include "linux/kernel/Machine.h"
#include "linux/requests/Control.h"
#include "linux/volumes/Volumes.h"

// The control requests, one function for each.
namespace orbis::platform::linux_system {

// The object behind a handle: a disk, or a volume on it.
struct Target {
    Disk disk;
    std::optional<Volume> volume;

    [[nodiscard]] const std::string& BlockName() const noexcept { return volume ? volume->blockName : disk.name; }
    [[nodiscard]] std::uint32_t PartitionNumber() const noexcept { return volume ? volume->partitionNumber : 0; }
};

// Requests that are answered from the kernel's data about a disk; no command is sent to the drive.

[[nodiscard]] Win32Error GetDeviceNumber(const Target& target, ControlBuffers& buffers);
[[nodiscard]] Win32Error GetDriveGeometry(const Target& target, ControlBuffers& buffers);
// IOCTL_STORAGE_QUERY_PROPERTY of the device or adapter property: the descriptor, of which a short buffer gets the beginning.
[[nodiscard]] Win32Error GetDescriptor(const Target& target, bool ofAdapter, ControlBuffers& buffers);
[[nodiscard]] Win32Error GetDiskPerformance(const Machine& machine, const Target& target, ControlBuffers& buffers);
// Both read the table from the disk; `descriptor` is that of the whole disk, or -1 for one that may not be opened, of which only
// what everybody may know is told.
[[nodiscard]] Win32Error GetDriveLayout(const Machine& machine, const Target& target, int descriptor, ControlBuffers& buffers);
[[nodiscard]] Win32Error GetPartitionInfo(const Machine& machine, const Target& target, int descriptor, ControlBuffers& buffers);

// Requests that are sent to the drive. Only commands that read are allowed; see ReadOnly.h.

// IOCTL_ATA_PASS_THROUGH_DIRECT, sent as an ATA PASS-THROUGH(16) (SAT). A command that the drive aborts is an answer with the error
// bit in its status register, no failure. The drive's registers come back in the current task file for commands without data; where
// they are not requested, a good status means that the drive reported no error.
[[nodiscard]] Win32Error RunAtaPassThrough(const KernelDevice& device, BusType busType, ControlBuffers& buffers);
// IOCTL_SCSI_PASS_THROUGH_DIRECT: status and sense data land where Windows puts them; CHECK CONDITION is an answer, no failure.
[[nodiscard]] Win32Error RunScsiPassThrough(const KernelDevice& device, ControlBuffers& buffers);
// IOCTL_STORAGE_QUERY_PROPERTY with protocol-specific data: Identify, Get Log Page, as NVMe admin commands through the kernel's
// pass-through (NVM Express Base Specification 1.4).
[[nodiscard]] Win32Error QueryNvmeProtocolData(const KernelDevice& device, ControlBuffers& buffers);
// IOCTL_STORAGE_PROTOCOL_COMMAND: a whole admin command. The NVMe status goes into the answer's error code.
[[nodiscard]] Win32Error RunNvmeProtocolCommand(const KernelDevice& device, ControlBuffers& buffers);

}  // namespace orbis::platform::linux_system
