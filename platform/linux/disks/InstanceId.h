#pragma once

#include <string>

#include "linux/disks/Disk.h"

// Names of disks as Windows forms them. A device instance id is ENUMERATOR\DEVICE\INSTANCE, in upper case, with "_" for blanks and
// for what may not stand in one:
//
//   SCSI\DISK&VEN_NVME&PROD_<model>\<serial>&<namespace>          NVMe
//   SCSI\DISK&VEN_<vendor>&PROD_<product>\<serial>&<unit>         SATA, SAS, SCSI, Fibre Channel, virtio, ...
//   USBSTOR\DISK&VEN_<vendor>&PROD_<product>&REV_<rev>\<serial>&<unit>
//   SD\DISK&VEN_<maker>&PROD_<name>\<serial>&0                    SD and MMC
//   SCM\DISK&PROD_<model>\<serial>&0                              persistent memory
//
// Vendor, product and revision are cut to the 8, 16 and 4 characters of INQUIRY, as Windows cuts them; an ATA model is split into
// vendor and product at its first blank, or after eight characters. A disk without a serial number gets "4&" and a number of its
// slot in its place: an "&" as the second character marks an id that the bus made up, as on Windows.
namespace orbis::platform::linux_system {

[[nodiscard]] std::string InstanceIdOf(const Disk& disk);
// Eight hexadecimal digits that identify the disk's slot.
[[nodiscard]] std::string SlotDigits(const Disk& disk);

}  // namespace orbis::platform::linux_system
