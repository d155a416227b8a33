#include <algorithm>
#include <array>
#include <string>
#include <string_view>

#include <fmt/format.h>

#include "emulated/DeviceIo.h"
#include "emulated/Pdh.h"
#include "emulated/WmiClasses.h"
#include "linux/kernel/Files.h"
#include "linux/ports/Ports.h"

namespace orbis::platform::linux_system {
namespace {

using namespace emulated;

std::string Drive(const Volume& volume) { return std::string(1, volume.letter) + ":"; }

// Vendor and model as one name; the standards whose disks have no vendor text are none.
std::string ModelName(const Disk& disk)
{
    const bool hasVendor = !disk.vendor.empty() && disk.vendor != "ATA" && disk.vendor != "NVMe";
    return hasVendor && !disk.model.empty() ? disk.vendor + " " + disk.model : disk.model + (hasVendor ? disk.vendor : "");
}

// Every disk or volume as one row, which `fill` fills.
template <typename Items, typename Fill>
WmiRows RowsOf(const Items& items, Fill fill)
{
    WmiRows rows;
    for (const auto& item : items) {
        auto row = std::make_shared<WmiRow>();
        fill(*row, item);
        rows.push_back(std::move(row));
    }
    return rows;
}

// A property that a disk does not have is an empty text, not an absent one: a reader that needs it must not lose the row.
WmiRows DiskDrives(Machine& machine)
{
    return RowsOf(machine.inventory.Disks(), [](WmiRow& row, const Disk& disk) {
        const std::string path = DiskDeviceId(disk.number);
        row.Number("Index", disk.number).Text("DeviceID", path).Text("Name", path);
        row.Text("Caption", ModelName(disk)).Text("Model", ModelName(disk)).Text("Manufacturer", disk.vendor);
        row.Text("PNPDeviceID", disk.instanceId).Text("SerialNumber", disk.serial).Text("FirmwareRevision", disk.firmwareRevision);
        row.Text("InterfaceType", InterfaceType(disk.busType)).Text("MediaType", MediaTypeText(disk.isRemovable));
        row.Number("SCSIPort", disk.address.port).Number("SCSIBus", disk.address.bus);
        row.Number("SCSITargetId", disk.address.target).Number("SCSILogicalUnit", disk.address.unit);
        row.Big("Size", disk.bytes).Number("BytesPerSector", disk.bytesPerSector);
        row.Number("Partitions", static_cast<std::uint32_t>(disk.partitions.size()));
    });
}

WmiRows PhysicalDisks(Machine& machine)
{
    return RowsOf(machine.inventory.Disks(), [](WmiRow& row, const Disk& disk) {
        row.Text("DeviceId", std::to_string(disk.number)).Text("FriendlyName", ModelName(disk)).Text("Model", disk.model);
        row.Text("SerialNumber", disk.serial).Text("FirmwareVersion", disk.firmwareRevision);
        row.Number("MediaType", static_cast<std::uint32_t>(disk.mediaType));
        row.Number("BusType", static_cast<std::uint32_t>(disk.busType)).Big("Size", disk.bytes);
        row.Big("LogicalSectorSize", disk.bytesPerSector).Big("PhysicalSectorSize", disk.bytesPerPhysicalSector);
    });
}

WmiRows LogicalDisks(Machine& machine)
{
    return RowsOf(machine.volumes.Current().volumes, [&](WmiRow& row, const Volume& volume) {
        row.Text("Caption", Drive(volume)).Text("DeviceID", Drive(volume)).Text("Name", Drive(volume));
        row.Text("VolumeSerialNumber", ReadVolumeSerial(machine.roots, volume.blockName, !machine.sleepers.Has(volume.diskNumber)));
    });
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

// A volume's name must be stable, so it is derived from the volume's disk and partition.
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
    return VolumeName(guid);
}

WmiRows Volumes(Machine& machine)
{
    const VolumeSet set = machine.volumes.Current();
    return RowsOf(set.volumes, [&, pageFiles = PageFileLetters(machine.roots, set)](WmiRow& row, const Volume& volume) {
        row.Text("DeviceID", VolumeGuidPath(volume)).Text("DriveLetter", Drive(volume)).Text("Name", Drive(volume) + "\\");
        row.Flag("BootVolume", volume.mountPoint == "/");
        row.Flag("PageFilePresent", pageFiles.find(volume.letter) != std::string::npos);
    });
}

WmiRows RecoveryConfiguration(Machine& machine)
{
    constexpr const char* kCrashDirectory = "/var/crash";  // where kdump and the distributions' crash reporters write
    auto row = std::make_shared<WmiRow>();
    row->Text("ExpandedMiniDumpDirectory", machine.volumes.Current().WindowsPath(kCrashDirectory));
    return {std::move(row)};
}

WmiRows PerformanceInstances(Machine& machine)
{
    std::vector<std::string> names;
    for (const VolumeSet volumes = machine.volumes.Current(); const Disk& disk : machine.inventory.Disks()) {
        names.push_back(PerformanceInstance(disk, volumes));
    }
    names.emplace_back("_Total");
    return RowsOf(names, [](WmiRow& row, const std::string& name) { row.Text("Name", name); });
}

// The kernel keeps no SMART data. The class exists without rows, as on a Windows machine whose drivers provide none.
WmiRows NoRows(Machine& /*machine*/) { return {}; }

constexpr std::array<std::pair<WmiClass, WmiRows (*)(Machine&)>, 7> kClasses{{{kDiskDrive, DiskDrives},
                                                                              {kLogicalDisk, LogicalDisks},
                                                                              {kVolume, Volumes},
                                                                              {kRecoveryConfiguration, RecoveryConfiguration},
                                                                              {kPerformanceDisk, PerformanceInstances},
                                                                              {kPhysicalDisk, PhysicalDisks},
                                                                              {kAtapiSmartData, NoRows}}};

class KernelFacts final : public WmiFacts {
public:
    explicit KernelFacts(Machine& machine) : m_Machine(machine) {}

    WmiAnswer Query(const WmiQuery& query) override
    {
        const auto found = std::ranges::find_if(kClasses, [&](const auto& entry) { return entry.first.IsAskedFor(query); });
        return found != kClasses.end() ? WmiAnswer{hresult::kOk, found->second(m_Machine)}
                                       : WmiClassFails(hresult::kWbemInvalidClass);
    }

private:
    Machine& m_Machine;
};

}  // namespace

std::unique_ptr<WmiFacts> MakeWmiFacts(Machine& machine) { return std::make_unique<KernelFacts>(machine); }

std::string PerformanceInstance(const Disk& disk, const VolumeSet& volumes)
{
    return DiskInstanceName(disk.number, volumes.LettersOf(disk.number));
}

}  // namespace orbis::platform::linux_system
