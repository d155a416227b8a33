#pragma once

#include <optional>

#include "linux/disks/Disk.h"
#include "linux/kernel/Machine.h"
#include "linux/requests/Control.h"
#include "linux/volumes/Volumes.h"

// Control requests that the kernel's own knowledge of a disk answers: no command goes to the drive.
namespace orbis::platform::linux_system {

// The object behind a handle: a disk, or a volume on it.
struct Target {
    Disk disk;
    std::optional<Volume> volume;

    [[nodiscard]] const std::string& BlockName() const noexcept { return volume ? volume->blockName : disk.name; }
    [[nodiscard]] std::uint32_t PartitionNumber() const noexcept { return volume ? volume->partitionNumber : 0; }
};

[[nodiscard]] Win32Error GetDeviceNumber(const Target& target, ControlBuffers& buffers);
[[nodiscard]] Win32Error GetDriveGeometry(const Target& target, ControlBuffers& buffers);
// IOCTL_STORAGE_QUERY_PROPERTY of the device or adapter property: the descriptor, of which a short buffer gets the beginning.
[[nodiscard]] Win32Error GetDescriptor(const Target& target, bool ofAdapter, ControlBuffers& buffers);
[[nodiscard]] Win32Error GetDiskPerformance(const Machine& machine, const Target& target, ControlBuffers& buffers);
// Both read the table from the disk; `descriptor` is that of the whole disk, or -1 for one that may not be opened, of which only
// what everybody may know is told.
[[nodiscard]] Win32Error GetDriveLayout(const Machine& machine, const Target& target, int descriptor, ControlBuffers& buffers);
[[nodiscard]] Win32Error GetPartitionInfo(const Machine& machine, const Target& target, int descriptor, ControlBuffers& buffers);

}  // namespace orbis::platform::linux_system
