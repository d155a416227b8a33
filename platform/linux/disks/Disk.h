#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "linux/kernel/Kernel.h"
#include "platform/Requests.h"

namespace orbis::platform::linux_system {

// MediaType of MSFT_PhysicalDisk.
enum class MediaType : std::uint16_t { Unspecified = 0, Hdd = 3, Ssd = 4, Scm = 5 };

// One partition as the kernel sees it.
struct Partition {
    std::string name;  // "sda1", "nvme0n1p1"
    std::uint32_t number = 0;
    std::uint64_t startBytes = 0;
    std::uint64_t bytes = 0;
};

// Where a SCSI unit hangs; for disks that are no SCSI units the parts that there are.
struct ScsiAddress {
    std::uint32_t port = 0;
    std::uint32_t bus = 0;
    std::uint32_t target = 0;
    std::uint32_t unit = 0;  // logical unit, or namespace identifier
};

// One physical disk as sysfs describes it. Texts are as the device gave them, trimmed.
struct Disk {
    std::string name;      // kernel name: "sda", "nvme0n1"
    std::string position;  // path of its device below sysfs; identifies the slot, not the disk
    BusType busType = BusType::Unknown;
    MediaType mediaType = MediaType::Unspecified;
    std::string vendor;  // "ATA" and "NVMe" for disks whose standard has no vendor text
    std::string model;
    std::string serial;
    std::string firmwareRevision;
    ScsiAddress address;
    std::uint64_t bytes = 0;
    std::uint32_t bytesPerSector = 512;
    std::uint32_t bytesPerPhysicalSector = 512;
    bool isRemovable = false;
    std::vector<Partition> partitions;  // by number

    // Given by the inventory. The number is this disk's as long as somebody holds `lease`.
    std::uint32_t number = 0;
    std::string instanceId;
    std::shared_ptr<const void> lease;

    [[nodiscard]] bool HasMedium() const noexcept { return bytes != 0; }
};

// Reads the disk of that kernel name. Nothing when it is no physical disk (loop, RAM, device-mapper, md, optical, floppy, network
// and flash-translation devices, a hidden path of a multipath namespace, a boot area) or is gone.
[[nodiscard]] std::optional<Disk> ReadDisk(const Roots& roots, const std::string& name);

// Disks of the SCSI layer: SCSI, SAS, Fibre Channel, iSCSI, USB, UFS, and ATA through its translation.
void ReadScsiIdentity(const Roots& roots, const std::string& device, Disk& disk);
// NVMe namespaces, local or over fabrics, single or multipath.
void ReadNvmeIdentity(const Roots& roots, const std::string& device, Disk& disk);
// The rest: virtio, MMC and SD, persistent memory, Xen.
void ReadOtherIdentity(const Roots& roots, const std::string& device, const std::string& subsystem, Disk& disk);

}  // namespace orbis::platform::linux_system
