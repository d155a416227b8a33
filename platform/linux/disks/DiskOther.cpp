#include "linux/disks/Disk.h"
#include "linux/kernel/Files.h"

namespace orbis::platform {
namespace {

void ReadVirtio(const std::string& block, const std::string& device, LinuxDisk& disk)
{
    constexpr const char* kRedHat = "0x1af4";
    const std::string vendor = ReadText(device + "/vendor");
    disk.busType = BusType::Scsi;  // what Windows' driver for these disks reports
    disk.vendor = vendor == kRedHat ? "Red Hat" : vendor;
    disk.model = "VirtIO";
    disk.serial = ReadText(block + "/serial");
}

void ReadMmc(const std::string& device, LinuxDisk& disk)
{
    disk.busType = ReadText(device + "/type") == "SD" ? BusType::Sd : BusType::Mmc;
    disk.mediaType = LinuxMediaType::Ssd;
    disk.vendor = ReadText(device + "/manfid");
    disk.model = ReadText(device + "/name");
    disk.serial = ReadText(device + "/serial");
    disk.firmwareRevision = ReadText(device + "/fwrev");
}

}  // namespace

void ReadOtherIdentity(const Roots& roots, const std::string& device, const std::string& subsystem, LinuxDisk& disk)
{
    const std::string block = roots.sys + "/block/" + disk.name;
    if (subsystem == "virtio") {
        ReadVirtio(block, device, disk);
    } else if (subsystem == "mmc") {
        ReadMmc(device, disk);
    } else if (subsystem == "nd") {
        disk.busType = BusType::Scm;
        disk.mediaType = LinuxMediaType::Scm;
        disk.model = "Persistent Memory";
        disk.serial = ReadText(device + "/uuid");
    } else {
        disk.busType = BusType::Virtual;
        disk.vendor = subsystem;
        disk.model = ReadText(device + "/model");
        disk.serial = ReadText(block + "/serial");
    }
}

}  // namespace orbis::platform
