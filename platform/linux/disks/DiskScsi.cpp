#include <algorithm>
#include <array>
#include <string_view>

#include <fmt/format.h>

#include "linux/disks/Disk.h"
#include "linux/kernel/Files.h"

namespace orbis::platform::linux_system {
namespace {

struct AtaIdentity {
    std::string model;
    std::string serial;
    std::string firmwareRevision;
    std::uint16_t rotationRate = 0;  // word 217: 0 not reported, 1 non-rotating, else revolutions per minute
};

// Drivers that show the volumes of a RAID controller as SCSI disks.
constexpr std::array<std::string_view, 16> kRaidDrivers{"megaraid", "megaraid_sas", "hpsa",    "smartpqi", "aacraid", "arcmsr",
                                                        "3w-9xxx",  "3w-sas",       "3w-xxxx", "ips",      "hptiop",  "stex",
                                                        "mvumi",    "pmcraid",      "ipr",     "mpi3mr"};

// One vital product data page from sysfs (SPC: page code in byte 1, length in bytes 2 and 3); empty unless it is that page and
// as long as it says.
std::string VpdPage(const std::string& device, std::string_view code, unsigned char number)
{
    std::string page = ReadBytes(device + "/vpd_pg" + std::string(code), 4096).value_or(std::string());
    const auto byte = [&](std::size_t at) { return static_cast<unsigned char>(page[at]); };
    if (page.size() < 4 || byte(1) != number || page.size() - 4 < (std::size_t{byte(2)} << 8 | byte(3))) {
        return {};
    }
    page.resize(4 + (std::size_t{byte(2)} << 8 | byte(3)));
    return page;
}

std::string UnitSerialNumber(const std::string& device)
{
    const std::string page = VpdPage(device, "80", 0x80);
    return page.empty() ? std::string() : std::string(TrimSpace(std::string_view(page).substr(4)));
}

// Block device characteristics (SBC): medium rotation rate in bytes 4 and 5.
std::uint16_t RotationRate(const std::string& device)
{
    const std::string page = VpdPage(device, "b1", 0xB1);
    return page.size() < 6
               ? std::uint16_t{0}
               : static_cast<std::uint16_t>(static_cast<unsigned char>(page[4]) << 8 | static_cast<unsigned char>(page[5]));
}

// ATA texts hold two characters a word, the first in the high byte.
std::string AtaText(std::string_view field)
{
    std::string text(field);
    for (std::size_t at = 0; at + 1 < text.size(); at += 2) {
        std::swap(text[at], text[at + 1]);
    }
    return std::string(TrimSpace(text));
}

// ATA information page (SAT): IDENTIFY DEVICE data from byte 60. INQUIRY cuts an ATA model to 16 and a revision to 4 characters;
// here they are whole.
bool ReadAtaIdentity(const std::string& device, AtaIdentity& identity)
{
    constexpr std::size_t kIdentifyAt = 60;
    constexpr std::size_t kIdentifySize = 512;
    const std::string page = VpdPage(device, "89", 0x89);
    if (page.size() < kIdentifyAt + kIdentifySize) {
        return false;
    }
    const std::string_view identify = std::string_view(page).substr(kIdentifyAt, kIdentifySize);
    identity.serial = AtaText(identify.substr(20, 20));
    identity.firmwareRevision = AtaText(identify.substr(46, 8));
    identity.model = AtaText(identify.substr(54, 40));
    identity.rotationRate =
        static_cast<std::uint16_t>(static_cast<unsigned char>(identify[434]) | static_cast<unsigned char>(identify[435]) << 8);
    return !identity.model.empty();
}

// The path of the first directory from `device` upwards, below `top`, that has such an attribute.
std::string Ancestor(std::string device, const std::string& top, const std::string& attribute)
{
    while (device.size() > top.size()) {
        if (Exists(PathIn(device, attribute))) {
            return device;
        }
        device.resize(device.find_last_of('/'));
    }
    return {};
}

// Is there a component that starts so and goes on with a digit, as "usb1", "ata3", "rport-0:0-1" do?
bool PassesThrough(std::string_view position, std::string_view component)
{
    const std::string wanted = "/" + std::string(component);
    for (std::size_t at = 0; (at = position.find(wanted, at)) != std::string_view::npos; ++at) {
        const std::size_t next = at + wanted.size();
        if (next < position.size() && position[next] >= '0' && position[next] <= '9') {
            return true;
        }
    }
    return false;
}

// A parallel ATA link reports no speed.
bool IsParallelAta(const std::string& device)
{
    const std::string port = device.substr(0, device.find("/host"));
    for (const std::string& name : DirectoryNames(port)) {
        if (name.starts_with("link")) {
            return ReadText(fmt::format("{}/{}/ata_link/{}/sata_spd", port, name, name)) == "<unknown>";
        }
    }
    return false;
}

BusType ReadBusType(const Roots& roots, const std::string& device, const Disk& disk)
{
    constexpr std::array<std::pair<std::string_view, BusType>, 6> kComponents{{{"usb", BusType::Usb},
                                                                               {"ata", BusType::Sata},
                                                                               {"end_device-", BusType::Sas},
                                                                               {"session", BusType::Iscsi},
                                                                               {"rport-", BusType::Fibre},
                                                                               {"fw", BusType::Ieee1394}}};
    const auto found =
        std::ranges::find_if(kComponents, [&](const auto& entry) { return PassesThrough(disk.position, entry.first); });
    if (found != kComponents.end()) {
        return found->second == BusType::Sata && IsParallelAta(device) ? BusType::Ata : found->second;
    }
    const std::string driver = ReadText(roots.sys + "/class/scsi_host/host" + std::to_string(disk.address.port) + "/proc_name");
    if (driver.starts_with("ufshcd")) {
        return BusType::Ufs;
    }
    return std::ranges::find(kRaidDrivers, driver) != kRaidDrivers.end() ? BusType::Raid : BusType::Scsi;
}

// "host:channel:target:lun", the name of the device's directory.
ScsiAddress ReadAddress(const std::string& device)
{
    std::array<std::uint32_t, 4> parts{};
    std::string name = BaseName(device);
    for (std::uint32_t& part : parts) {
        const std::size_t colon = std::min(name.find(':'), name.size());
        part = static_cast<std::uint32_t>(ParseNumber(std::string_view(name).substr(0, colon)).value_or(0));
        name.erase(0, colon + 1);
    }
    return {parts[0], parts[1], parts[2], parts[3]};
}

MediaType ReadMediaType(const Roots& roots, const std::string& device, const Disk& disk, const AtaIdentity& ata)
{
    constexpr std::uint16_t kNonRotating = 1;
    constexpr std::uint16_t kSlowestDisk = 0x0401;  // ACS and SBC: rates from here on are revolutions per minute
    const std::uint16_t rate = ata.rotationRate != 0 ? ata.rotationRate : RotationRate(device);
    if (rate == kNonRotating || ReadText(roots.sys + "/block/" + disk.name + "/queue/rotational") == "0") {
        return MediaType::Ssd;
    }
    return rate >= kSlowestDisk ? MediaType::Hdd : MediaType::Unspecified;
}

}  // namespace

void ReadScsiIdentity(const Roots& roots, const std::string& device, Disk& disk)
{
    disk.address = ReadAddress(device);
    disk.busType = ReadBusType(roots, device, disk);
    disk.vendor = ReadText(device + "/vendor");
    disk.model = ReadText(device + "/model");
    disk.firmwareRevision = ReadText(device + "/rev");
    disk.serial = UnitSerialNumber(device);
    AtaIdentity ata;
    if (ReadAtaIdentity(device, ata)) {
        disk.vendor = disk.busType == BusType::Usb ? disk.vendor : "ATA";
        disk.model = ata.model;
        disk.serial = ata.serial;
        disk.firmwareRevision = ata.firmwareRevision;
    }
    if (disk.busType == BusType::Usb) {
        // Bridges make up the disk's serial number more often than their own.
        const std::string usb = Ancestor(device, roots.sys, "idVendor");
        const std::string serial = usb.empty() ? std::string() : ReadText(usb + "/serial");
        disk.serial = serial.empty() ? disk.serial : serial;
    }
    disk.mediaType = ReadMediaType(roots, device, disk, ata);
}

}  // namespace orbis::platform::linux_system
