#include "linux/ports/WmiRows.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <string_view>

#include <fmt/format.h>

#include "linux/disks/Guid.h"
#include "linux/kernel/Files.h"
#include "linux/volumes/VolumeSerial.h"
#include "platform/Text.h"

namespace orbis::platform::linux_system {
namespace {

RowValue Text16(std::string_view text) { return Utf8ToUtf16(text); }

std::string DrivePath(const Disk& disk) { return fmt::format(R"(\\.\PHYSICALDRIVE{})", disk.number); }
std::string Drive(const Volume& volume) { return std::string(1, volume.letter) + ":"; }

// Vendor and model as one name; the standards whose disks have no vendor text are none.
std::string ModelName(const Disk& disk)
{
    const bool hasVendor = !disk.vendor.empty() && disk.vendor != "ATA" && disk.vendor != "NVMe";
    return hasVendor && !disk.model.empty() ? disk.vendor + " " + disk.model : disk.model + (hasVendor ? disk.vendor : "");
}

std::string_view InterfaceType(BusType busType)
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

// A property that a disk does not have is an empty text, not an absent one: a reader that needs it must not lose the row.
std::vector<Row> DiskDrives(Machine& machine)
{
    std::vector<Row> rows;
    for (const Disk& disk : machine.inventory.Disks()) {
        const std::string path = DrivePath(disk);
        rows.push_back({{u"Index", RowUint32(disk.number)},
                        {u"DeviceID", Text16(path)},
                        {u"Name", Text16(path)},
                        {u"Caption", Text16(ModelName(disk))},
                        {u"Model", Text16(ModelName(disk))},
                        {u"Manufacturer", Text16(disk.vendor)},
                        {u"PNPDeviceID", Text16(disk.instanceId)},
                        {u"SerialNumber", Text16(disk.serial)},
                        {u"FirmwareRevision", Text16(disk.firmwareRevision)},
                        {u"InterfaceType", Text16(InterfaceType(disk.busType))},
                        {u"MediaType", Text16(disk.isRemovable ? "Removable Media" : "Fixed hard disk media")},
                        {u"SCSIPort", RowUint32(disk.address.port)},
                        {u"SCSIBus", RowUint32(disk.address.bus)},
                        {u"SCSITargetId", RowUint32(disk.address.target)},
                        {u"SCSILogicalUnit", RowUint32(disk.address.unit)},
                        {u"Size", RowUint64(disk.bytes)},
                        {u"BytesPerSector", RowUint32(disk.bytesPerSector)},
                        {u"Partitions", RowUint32(static_cast<std::uint32_t>(disk.partitions.size()))}});
    }
    return rows;
}

std::vector<Row> PhysicalDisks(Machine& machine)
{
    std::vector<Row> rows;
    for (const Disk& disk : machine.inventory.Disks()) {
        rows.push_back({{u"DeviceId", Text16(std::to_string(disk.number))},
                        {u"FriendlyName", Text16(ModelName(disk))},
                        {u"Model", Text16(disk.model)},
                        {u"SerialNumber", Text16(disk.serial)},
                        {u"FirmwareVersion", Text16(disk.firmwareRevision)},
                        {u"MediaType", RowUint32(static_cast<std::uint32_t>(disk.mediaType))},
                        {u"BusType", RowUint32(static_cast<std::uint32_t>(disk.busType))},
                        {u"Size", RowUint64(disk.bytes)},
                        {u"LogicalSectorSize", RowUint64(disk.bytesPerSector)},
                        {u"PhysicalSectorSize", RowUint64(disk.bytesPerPhysicalSector)}});
    }
    return rows;
}

std::vector<Row> LogicalDisks(Machine& machine)
{
    std::vector<Row> rows;
    for (const Volume& volume : machine.volumes.Current().volumes) {
        rows.push_back({{u"Caption", Text16(Drive(volume))},
                        {u"DeviceID", Text16(Drive(volume))},
                        {u"Name", Text16(Drive(volume))},
                        {u"VolumeSerialNumber", Text16(ReadVolumeSerial(machine.roots, volume.blockName))}});
    }
    return rows;
}

// Letters of the volumes that swap files are on.
std::string PageFileLetters(const Roots& roots, const VolumeSet& set)
{
    std::string letters;
    const std::string swaps = ReadBytes(roots.proc + "/swaps").value_or(std::string());
    for (const std::string_view line : SplitLines(swaps)) {
        const std::vector<std::string_view> fields = SplitWords(line);
        if (fields.size() >= 2 && fields[1] == "file") {
            const Volume* volume = set.VolumeOf(UnescapeProcName(fields[0]));
            letters += volume != nullptr ? std::string(1, volume->letter) : std::string();
        }
    }
    return letters;
}

// A volume's name must last: it is made of what the volume stands on.
std::string VolumeGuidPath(const Volume& volume)
{
    std::uint64_t hash = 14695981039346656037U;  // FNV-1a
    const auto add = [&](std::string_view text) {
        for (const char c : text) {
            hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211U;
        }
    };
    add(volume.diskInstanceId);
    add(fmt::format("/{}/{}", volume.partitionNumber, volume.blockName));
    Guid guid{static_cast<std::uint32_t>(hash >> 32), static_cast<std::uint16_t>(hash >> 16), static_cast<std::uint16_t>(hash)};
    std::ranges::copy(std::string_view("volume"), guid.data4.begin());
    return R"(\\?\Volume{)" + GuidText(guid) + "}\\";
}

std::vector<Row> Volumes(Machine& machine)
{
    const VolumeSet set = machine.volumes.Current();
    const std::string pageFiles = PageFileLetters(machine.roots, set);
    std::vector<Row> rows;
    for (const Volume& volume : set.volumes) {
        rows.push_back({{u"DeviceID", Text16(VolumeGuidPath(volume))},
                        {u"DriveLetter", Text16(Drive(volume))},
                        {u"Name", Text16(Drive(volume) + "\\")},
                        {u"BootVolume", RowBool(volume.mountPoint == "/")},
                        {u"PageFilePresent", RowBool(pageFiles.find(volume.letter) != std::string::npos)}});
    }
    return rows;
}

std::vector<Row> RecoveryConfiguration(Machine& machine)
{
    constexpr const char* kCrashDirectory = "/var/crash";  // where kdump and the distributions' crash reporters write
    return {{{u"ExpandedMiniDumpDirectory", Text16(machine.volumes.Current().WindowsPath(kCrashDirectory))}}};
}

std::vector<Row> PerformanceInstances(Machine& machine)
{
    const VolumeSet volumes = machine.volumes.Current();
    std::vector<Row> rows;
    for (const Disk& disk : machine.inventory.Disks()) {
        rows.push_back({{u"Name", Text16(PerformanceInstance(disk, volumes))}});
    }
    rows.push_back({{u"Name", Text16("_Total")}});
    return rows;
}

// The kernel keeps no SMART data of its own; the class is there, as on a Windows machine whose drivers provide none.
std::vector<Row> NoRows(Machine& /*machine*/) { return {}; }

struct ClassEntry {
    std::u16string_view path;
    std::u16string_view name;
    std::vector<Row> (*build)(Machine& machine);
};

constexpr std::array kClasses{
    ClassEntry{u"root\\cimv2", u"Win32_DiskDrive", DiskDrives},
    ClassEntry{u"root\\cimv2", u"Win32_LogicalDisk", LogicalDisks},
    ClassEntry{u"root\\cimv2", u"Win32_Volume", Volumes},
    ClassEntry{u"root\\cimv2", u"Win32_OSRecoveryConfiguration", RecoveryConfiguration},
    ClassEntry{u"root\\cimv2", u"Win32_PerfFormattedData_PerfDisk_PhysicalDisk", PerformanceInstances},
    ClassEntry{u"root\\microsoft\\windows\\storage", u"MSFT_PhysicalDisk", PhysicalDisks},
    ClassEntry{u"root\\wmi", u"MSStorageDriver_ATAPISmartData", NoRows},
};

}  // namespace

bool WmiRows::HasNamespace(std::u16string_view path)
{
    return std::ranges::find(kClasses, path, &ClassEntry::path) != kClasses.end();
}

Hresult WmiRows::Rows(std::u16string_view path, std::u16string_view className, std::vector<Row>& rows)
{
    for (const ClassEntry& entry : kClasses) {
        if (entry.path == path && EqualIgnoreCase(entry.name, className)) {
            rows = entry.build(m_Machine);
            return hresult::kOk;
        }
    }
    return hresult::kWbemInvalidClass;
}

std::string PerformanceInstance(const Disk& disk, const VolumeSet& volumes)
{
    std::string name = std::to_string(disk.number);
    for (const char letter : volumes.LettersOf(disk.number)) {
        name += fmt::format(" {}:", letter);
    }
    return name;
}

}  // namespace orbis::platform::linux_system
