#include "linux/disks/Disk.h"
#include "linux/kernel/Files.h"

namespace orbis::platform::linux_system {
namespace {

// With native multipath a namespace hangs below its subsystem, and the subsystem links its controllers.
std::string ControllerDirectory(const std::string& device)
{
    if (Exists(device + "/transport")) {
        return device;
    }
    for (const std::string& name : DirectoryNames(device)) {
        std::string controller = PathIn(device, name);
        if (name.starts_with("nvme") && Exists(controller + "/transport")) {
            return controller;
        }
    }
    return device;
}

std::uint32_t ControllerNumber(const std::string& name)
{
    constexpr std::size_t kPrefix = 4;  // "nvme"
    const std::size_t end = name.find_first_not_of("0123456789", kPrefix);
    return name.size() > kPrefix ? static_cast<std::uint32_t>(ParseNumber(name.substr(kPrefix, end - kPrefix)).value_or(0)) : 0;
}

}  // namespace

void ReadNvmeIdentity(const Roots& roots, const std::string& device, Disk& disk)
{
    const std::string transport = ReadText(ControllerDirectory(device) + "/transport");
    disk.busType = transport.empty() || transport == "pcie" ? BusType::Nvme : BusType::NvmeOf;
    disk.mediaType = MediaType::Ssd;
    disk.vendor = "NVMe";
    disk.model = ReadText(device + "/model");
    disk.serial = ReadText(device + "/serial");
    disk.firmwareRevision = ReadText(device + "/firmware_rev");
    disk.address.port = ControllerNumber(disk.name);
    disk.address.unit = static_cast<std::uint32_t>(ReadNumber(roots.sys + "/block/" + disk.name + "/nsid").value_or(1));
}

}  // namespace orbis::platform::linux_system
