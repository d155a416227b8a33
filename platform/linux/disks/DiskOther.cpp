#include "linux/disks/Disk.h"
#include "linux/kernel/Files.h"

namespace orbis::platform::linux_system {
namespace {

void ReadVirtio(const std::string& block, const std::string& device, Disk& disk)
{
    constexpr const char* kRedHat = "0x1af4";
    const std::string vendor = ReadText(device + "/vendor");
    disk.busType = BusType::Scsi;  // what Windows' driver for these disks reports
    disk.vendor = vendor == kRedHat ? "Red Hat" : vendor;
    disk.model = "VirtIO";
    disk.serial = ReadText(block + "/serial");
}

void ReadMmc(const std::string& device, Disk& disk)
{
    disk.busType = ReadText(device + "/type") == "SD" ? BusType::Sd : BusType::Mmc;
    disk.mediaType = MediaType::Ssd;
    disk.vendor = ReadText(device + "/manfid");
    disk.model = ReadText(device + "/name");
    disk.serial = ReadText(device + "/serial");
    disk.firmwareRevision = ReadText(device + "/fwrev");
}

}  // namespace

void ReadOtherIdentity(const Roots& roots, const std::string& device, const std::string& subsystem, Disk& disk)
{
    const std::string block = roots.sys + "/block/" + disk.name;
    if (subsystem == "virtio") {
        ReadVirtio(block, device, disk);
    } else if (subsystem == "mmc") {
        ReadMmc(device, disk);
    } else if (subsystem == "nd") {
        disk.busType = BusType::Scm;
        disk.mediaType = MediaType::Scm;
        disk.model = "Persistent Memory";
        disk.serial = ReadText(device + "/uuid");
    } else {
        disk.busType = BusType::Virtual;
        disk.vendor = subsystem;
        disk.model = ReadText(device + "/model");
        disk.serial = ReadText(block + "/serial");
    }
}

}  // namespace orbis::platform::linux_system
