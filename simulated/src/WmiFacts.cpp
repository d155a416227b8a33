// WMI classes: rows of the file, and rows made from the disks by one builder for each class.
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <bit>

#include "Activity.h"
#include "MachineState.h"
#include "emulated/DeviceIo.h"
#include "emulated/WmiClasses.h"
#include "emulated/Wql.h"
#include "platform/Text.h"

namespace orbis::simulated {
namespace {

namespace hresult = platform::hresult;
using namespace platform::emulated;
using platform::Variant;
using platform::VariantType;
using Properties = google::protobuf::RepeatedPtrField<description::WmiProperty>;

constexpr std::uint32_t kDefaultWmiSmartSize = 362;
constexpr std::uint32_t kDriveTypeRemovable = 2;
constexpr std::uint32_t kDriveTypeFixed = 3;
constexpr std::uint32_t kDriveTypeNetwork = 4;
constexpr std::uint32_t kDriveTypeOptical = 5;

WmiValue ArrayOf(const description::WmiByteArray& array)
{
    auto value = std::make_shared<WmiArray>();
    value->bytes = ToBytes(array.content());
    value->lowerBound = array.lower_bound();
    value->upperBound = array.has_upper_bound() ? std::optional(array.upper_bound()) : std::nullopt;
    value->boundError = hresult::Make(array.bound_error());
    value->elementError = hresult::Make(array.element_error());
    value->failingIndex = array.failing_index();
    return value;
}

WmiValue ArrayOf(const description::WmiStringArray& array)
{
    auto value = std::make_shared<WmiArray>();
    value->type = VariantType::StringArray;
    for (const auto& element : array.element()) {
        value->texts.push_back(element.null() ? std::nullopt : std::optional(platform::Utf8ToUtf16(element.text())));
    }
    value->lowerBound = array.lower_bound();
    value->elementError = hresult::Make(array.element_error());
    value->failingIndex = array.failing_index();
    return value;
}

WmiValue ValueOf(const description::WmiProperty& property)
{
    using Case = description::WmiProperty::ValueCase;
    switch (property.value_case()) {
        case Case::kText:
            return platform::Utf8ToUtf16(property.text());
        case Case::kUtf16:
            return ParseUtf16Hex(property.utf16()).value_or(std::u16string{});
        case Case::kNullText:
            return Variant{VariantType::String, 0};
        case Case::kBoolean:
            return Variant{VariantType::Bool, property.boolean() ? 0xFFFFU : 0U};
        case Case::kI2:
            return Variant{VariantType::Int16, static_cast<std::uint16_t>(property.i2())};
        case Case::kI4:
            return Variant{VariantType::Int32, static_cast<std::uint32_t>(property.i4())};
        case Case::kUi1:
            return Variant{VariantType::UInt8, property.ui1() & 0xFF};
        case Case::kUi4:
            return Variant{VariantType::UInt32, property.ui4()};
        case Case::kR4:
            return Variant{VariantType::Float32, std::bit_cast<std::uint32_t>(property.r4())};
        case Case::kR8:
            return Variant{VariantType::Float64, std::bit_cast<std::uint64_t>(property.r8())};
        case Case::kU64:
            return platform::Utf8ToUtf16(std::to_string(property.u64()));
        case Case::kByteArray:
            return ArrayOf(property.byte_array());
        case Case::kStringArray:
            return ArrayOf(property.string_array());
        case Case::kVariant:
            return Variant{static_cast<VariantType>(property.variant().type()), property.variant().payload()};
        case Case::kGetError:
            return hresult::Make(property.get_error());
        default:
            return Variant{VariantType::Null, 0};
    }
}

void SetProperties(WmiRow& row, const Properties& properties)
{
    for (const description::WmiProperty& property : properties) {
        if (property.value_case() == description::WmiProperty::kMissing) {
            row.Remove(property.name());
        } else {
            row.Set(property.name(), ValueOf(property));
        }
    }
}

// The answer to one query in the making. A row that fails ends it.
class Table {
public:
    explicit Table(std::string_view className) : m_ClassName(className) {}

    void Add(WmiRow row, std::uint32_t nextError = 0)
    {
        if (m_Answer.end == hresult::kWbemSFalse && nextError == 0) {
            m_Answer.rows.push_back(std::make_shared<const WmiRow>(std::move(row)));
        } else if (nextError != 0 && !platform::Failed(m_Answer.end)) {
            m_Answer.end = hresult::Make(nextError);
        }
    }
    // Adds a row of a disk with the changes that the file makes to it.
    void Add(const DiskModel& disk, WmiRow row)
    {
        std::uint32_t nextError = 0;
        for (const description::WmiRowChange& change : disk.description->row_change()) {
            if (EqualIgnoreCase(change.class_name(), m_ClassName)) {
                if (change.drop()) {
                    return;
                }
                SetProperties(row, change.property());
                nextError = change.next_error() != 0 ? change.next_error() : nextError;
            }
        }
        Add(std::move(row), nextError);
    }
    [[nodiscard]] WmiAnswer Take() { return std::move(m_Answer); }

private:
    const std::string_view m_ClassName;
    WmiAnswer m_Answer;
};

void DiskDrives(const MachineState& machine, Table& table)
{
    for (const DiskModel* disk : machine.PresentDisks()) {
        const std::string device = DiskDeviceId(disk->number);
        const auto busType = static_cast<platform::BusType>(disk->busType);
        WmiRow row;
        row.Number("Index", disk->number).Number("SCSIPort", disk->scsiPort);
        row.Text("Model", disk->windowsModel).Text("Caption", disk->windowsModel);
        row.Text("PNPDeviceID", disk->pnpDeviceId).Text("FirmwareRevision", disk->firmware);
        row.Text("DeviceID", device).Text("Name", device).Text("SerialNumber", disk->serial);
        row.Text("InterfaceType", InterfaceType(busType)).Text("MediaType", MediaTypeText(disk->removable));
        if (!disk->description->no_medium()) {
            row.Big("Size", disk->description->size()).Number("BytesPerSector", disk->sectorSize);
        } else {
            row.Null("Size").Null("BytesPerSector");
        }
        row.Number("Partitions", disk->partitions).Text("Status", "OK");
        table.Add(*disk, std::move(row));
    }
}

void PhysicalDisks(const MachineState& machine, Table& table)
{
    for (const DiskModel* disk : machine.PresentDisks()) {
        WmiRow row;
        row.Text("DeviceId", std::to_string(disk->number)).Text("FriendlyName", disk->windowsModel);
        row.Number("MediaType", disk->mediaType).Number("BusType", disk->busType);
        row.Big("Size", disk->description->size()).Text("SerialNumber", disk->serial);
        row.Text("FirmwareVersion", disk->firmware).Number("HealthStatus", 0);
        table.Add(*disk, std::move(row));
    }
}

WmiRow LogicalDisk(char letter, std::uint32_t driveType, const std::string& label, std::uint32_t serial)
{
    const std::string caption = fmt::format("{}:", letter);
    WmiRow row;
    row.Text("Caption", caption).Text("DeviceID", caption).Text("Name", caption);
    row.Number("DriveType", driveType).Text("VolumeName", label);
    row.TextOrNull("VolumeSerialNumber", serial != 0 ? fmt::format("{:08X}", serial) : "");
    return row;
}

std::uint32_t TypeOf(const description::LooseVolume& volume)
{
    return volume.has_drive_type() ? volume.drive_type() : volume.has_disk() ? kDriveTypeRemovable : kDriveTypeOptical;
}

// Every volume of the disks that are plugged in.
template <typename Visitor>
void ForEachVolume(const MachineState& machine, Visitor visit)
{
    for (const DiskModel* disk : machine.PresentDisks()) {
        for (const auto& volume : disk->volumes) {
            visit(*disk, *volume, disk->removable ? kDriveTypeRemovable : kDriveTypeFixed);
        }
    }
}

void LogicalDisks(const MachineState& machine, Table& table)
{
    ForEachVolume(machine, [&](const DiskModel& disk, const VolumeModel& volume, std::uint32_t driveType) {
        if (volume.letter != 0) {
            WmiRow row = LogicalDisk(volume.letter, driveType, volume.description->label(), volume.description->serial());
            row.Text("FileSystem", volume.description->file_system()).Big("Size", volume.size).Big("FreeSpace", volume.free);
            table.Add(disk, std::move(row));
        }
    });
    for (const description::LooseVolume* loose : machine.PresentLooseVolumes()) {
        const description::LooseVolume& volume = *loose;
        WmiRow row = LogicalDisk(ToUpper(volume.letter()).front(), TypeOf(volume), volume.label(), volume.serial());
        row.Null("FileSystem").Null("Size").Null("FreeSpace");
        table.Add(std::move(row));
    }
}

void Volumes(const MachineState& machine, Table& table)
{
    ForEachVolume(machine, [&](const DiskModel& disk, const VolumeModel& volume, std::uint32_t driveType) {
        const description::Volume& description = *volume.description;
        const std::string drive = volume.letter != 0 ? fmt::format("{}:", volume.letter) : std::string{};
        // Windows names a volume by its letter, else by its first folder, else by itself.
        const std::string name = !drive.empty()                       ? drive + '\\'
                                 : description.mount_point_size() > 0 ? description.mount_point(0)
                                                                      : volume.guidPath;
        WmiRow row;
        row.Text("DeviceID", volume.guidPath).Text("Name", name).Text("Caption", name).Text("Label", description.label());
        row.Flag("BootVolume", description.boot()).Flag("SystemVolume", description.system());
        row.Flag("PageFilePresent", description.page_file()).Text("FileSystem", description.file_system());
        row.Number("SerialNumber", description.serial()).Number("DriveType", driveType);
        row.Big("Capacity", volume.size).Big("FreeSpace", volume.free).TextOrNull("DriveLetter", drive);
        table.Add(disk, std::move(row));
    });
    // Drives without partitions are volumes too, with a medium or without; shares of other computers are none.
    for (const description::LooseVolume* loose : machine.PresentLooseVolumes()) {
        const description::LooseVolume& volume = *loose;
        if (TypeOf(volume) != kDriveTypeNetwork) {
            const char letter = ToUpper(volume.letter()).front();
            const std::string name = fmt::format("{}:\\", letter);
            WmiRow row;
            row.Text("DeviceID", VolumeName({static_cast<std::uint32_t>(letter), 0, 0, {}}));
            row.Text("Name", name).Text("Caption", name).Text("DriveLetter", name.substr(0, 2)).Number("DriveType", TypeOf(volume));
            row.Flag("BootVolume", false).Flag("SystemVolume", false).Flag("PageFilePresent", false);
            row.Null("Label").Null("FileSystem").Null("SerialNumber").Null("Capacity").Null("FreeSpace");
            if (volume.serial() != 0) {
                row.Set("Label", platform::Utf8ToUtf16(volume.label()));
                row.Set("SerialNumber", Variant{VariantType::Int32, volume.serial()});
            }
            table.Add(std::move(row));
        }
    }
}

void RecoveryConfiguration(const MachineState& machine, Table& table)
{
    if (machine.description.has_recovery()) {
        const description::Recovery& recovery = machine.description.recovery();
        WmiRow row;
        row.Text("ExpandedMiniDumpDirectory", recovery.mini_dump_directory());
        row.Text("ExpandedDebugFilePath", recovery.debug_file());
        table.Add(std::move(row));
    }
}

void AtapiSmartData(const MachineState& machine, Table& table)
{
    for (const DiskModel* disk : machine.PresentDisks()) {
        const description::AtaDevice& ata = disk->description->ata();
        const std::size_t size = ata.has_wmi_smart_size() ? ata.wmi_smart_size() : kDefaultWmiSmartSize;
        if (!disk->traits->isAta || size == 0 || (ata.has_smart() && !ata.smart())) {
            continue;
        }
        auto data = std::make_shared<WmiArray>();
        data->bytes = disk->smartData;
        data->bytes.resize(size);
        WmiRow row;
        row.Text("InstanceName", disk->pnpDeviceId + "_0").Flag("Active", true).Number("Length", 512);
        row.Add("VendorSpecific", std::move(data));
        table.Add(*disk, std::move(row));
    }
}

void PerformanceDisks(const MachineState& machine, Table& table)
{
    for (const DiskModel* disk : machine.PresentDisks()) {
        table.Add(*disk, WmiRow().Text("Name", CounterInstanceAt(*disk, machine.clock.Seconds()).name));
    }
    table.Add(WmiRow().Text("Name", "_Total"));
}

constexpr std::array<std::pair<WmiClass, void (*)(const MachineState&, Table&)>, 7> kClasses{
    {{kDiskDrive, DiskDrives},
     {kPhysicalDisk, PhysicalDisks},
     {kLogicalDisk, LogicalDisks},
     {kVolume, Volumes},
     {kRecoveryConfiguration, RecoveryConfiguration},
     {kAtapiSmartData, AtapiSmartData},
     {kPerformanceDisk, PerformanceDisks}}};

std::string NamespaceOf(std::string_view path)
{
    std::string wmiNamespace;
    return platform::Failed(ParseNamespacePath(path, wmiNamespace)) ? std::string{} : wmiNamespace;
}

std::string NamespaceOf(const description::WmiClass& wmiClass)
{
    return wmiClass.wmi_namespace().empty() ? std::string(kDiskDrive.wmiNamespace) : NamespaceOf(wmiClass.wmi_namespace());
}

class SimulatedFacts final : public WmiFacts {
public:
    explicit SimulatedFacts(const MachineState& machine) : m_Machine(machine) {}

    ComFacts Com() const override
    {
        const description::Com& com = m_Machine.description.com();
        return {com.single_threaded(), hresult::Make(com.locator_error())};
    }

    bool HasNamespace(std::string_view path) const override
    {
        const auto& further = m_Machine.description.wmi_namespace();
        const auto& classes = m_Machine.description.wmi_class();
        return std::ranges::any_of(further, [&](const std::string& name) { return NamespaceOf(name) == path; }) ||
               std::ranges::any_of(classes, [&](const auto& wmiClass) { return NamespaceOf(wmiClass) == path; });
    }

    WmiAnswer Query(const WmiQuery& query) override
    {
        const auto& classes = m_Machine.description.wmi_class();
        const auto described = std::ranges::find_if(classes, [&](const description::WmiClass& wmiClass) {
            return EqualIgnoreCase(wmiClass.name(), query.className) && NamespaceOf(wmiClass) == query.wmiNamespace;
        });
        const auto made = std::ranges::find_if(kClasses, [&](const auto& entry) { return entry.first.IsAskedFor(query); });
        const bool isDescribed = described != classes.end();
        if (isDescribed) {
            m_Machine.Delay(described->delay(), described->never());
        }
        if (isDescribed ? described->error() != 0 : made == kClasses.end()) {
            return WmiClassFails(isDescribed ? hresult::Make(described->error()) : hresult::kWbemInvalidClass);
        }
        Table table(query.className);
        if (made != kClasses.end() && (!isDescribed || described->append())) {
            made->second(m_Machine, table);
        }
        if (isDescribed) {
            for (const description::WmiRow& given : described->row()) {
                WmiRow row;
                SetProperties(row, given.property());
                table.Add(std::move(row), given.next_error());
            }
        }
        return table.Take();
    }

private:
    const MachineState& m_Machine;
};

}  // namespace

std::unique_ptr<WmiFacts> MakeWmiFacts(const MachineState& machine) { return std::make_unique<SimulatedFacts>(machine); }

}  // namespace orbis::simulated
