// WMI classes: rows of the file, and rows made from the disks by one builder for each class.
#include "WmiTables.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstring>

#include "platform/Text.h"

namespace orbis::simulated {
namespace {

using platform::VariantType;

constexpr const char* kCimv2 = "root\\cimv2";
constexpr const char* kWmi = "root\\wmi";
constexpr const char* kStorage = R"(root\microsoft\windows\storage)";
// Namespaces of every Windows, in lower case.
constexpr std::array<const char*, 8> kNamespaces{"root",
                                                 kCimv2,
                                                 kWmi,
                                                 kStorage,
                                                 "root\\default",
                                                 "root\\standardcimv2",
                                                 R"(root\cimv2\security\microsoftvolumeencryption)",
                                                 "root\\cimv2\\power"};
constexpr std::uint32_t kDefaultWmiSmartSize = 362;
constexpr std::uint32_t kDriveTypeRemovable = 2;
constexpr std::uint32_t kDriveTypeFixed = 3;
constexpr std::uint32_t kDriveTypeOptical = 5;

// A row in the making, with the disk that it comes from (null for none).
struct BuiltRow {
    const DiskModel* disk = nullptr;
    WmiRow row;
};
using BuiltRows = std::vector<BuiltRow>;

BuiltRows DiskDrives(const MachineState& machine)
{
    BuiltRows rows;
    for (const DiskModel* disk : machine.PresentDisks()) {
        const std::string device = fmt::format(R"(\\.\PHYSICALDRIVE{})", disk->number);
        WmiRow row;
        row.Set("Index", NumberValue(disk->number)).Set("SCSIPort", NumberValue(disk->scsiPort));
        row.Set("Model", TextValue(disk->windowsModel)).Set("Caption", TextValue(disk->windowsModel));
        row.Set("PNPDeviceID", TextValue(disk->pnpDeviceId)).Set("FirmwareRevision", TextValue(disk->firmware));
        row.Set("DeviceID", TextValue(device)).Set("Name", TextValue(device)).Set("SerialNumber", TextValue(disk->serial));
        row.Set("InterfaceType", TextValue(disk->traits->interfaceType));
        row.Set("MediaType", TextValue(disk->removable ? "Removable Media" : "Fixed hard disk media"));
        row.Set("Size", BigNumberValue(disk->description->size())).Set("BytesPerSector", NumberValue(disk->sectorSize));
        row.Set("Partitions", NumberValue(disk->partitions)).Set("Status", TextValue("OK"));
        rows.push_back({disk, std::move(row)});
    }
    return rows;
}

BuiltRows PhysicalDisks(const MachineState& machine)
{
    BuiltRows rows;
    for (const DiskModel* disk : machine.PresentDisks()) {
        WmiRow row;
        row.Set("DeviceId", TextValue(std::to_string(disk->number))).Set("FriendlyName", TextValue(disk->windowsModel));
        row.Set("MediaType", NumberValue(disk->mediaType)).Set("BusType", NumberValue(disk->busType));
        row.Set("Size", BigNumberValue(disk->description->size())).Set("SerialNumber", TextValue(disk->serial));
        row.Set("FirmwareVersion", TextValue(disk->firmware)).Set("HealthStatus", NumberValue(0));
        rows.push_back({disk, std::move(row)});
    }
    return rows;
}

WmiRow LogicalDisk(char letter, std::uint32_t driveType, const std::string& label, std::uint32_t serial)
{
    const std::string caption = fmt::format("{}:", letter);
    WmiRow row;
    row.Set("Caption", TextValue(caption)).Set("DeviceID", TextValue(caption)).Set("Name", TextValue(caption));
    row.Set("DriveType", NumberValue(driveType)).Set("VolumeName", TextValue(label));
    row.Set("VolumeSerialNumber", serial != 0 ? TextValue(fmt::format("{:08X}", serial)) : NullValue());
    return row;
}

BuiltRows LogicalDisks(const MachineState& machine)
{
    BuiltRows rows;
    for (const DiskModel* disk : machine.PresentDisks()) {
        for (const auto& volume : disk->volumes) {
            if (volume->letter != 0) {
                const std::uint32_t type = disk->removable ? kDriveTypeRemovable : kDriveTypeFixed;
                WmiRow row = LogicalDisk(volume->letter, type, volume->description->label(), volume->description->serial());
                row.Set("FileSystem", TextValue(volume->description->file_system()));
                row.Set("Size", BigNumberValue(volume->size)).Set("FreeSpace", BigNumberValue(volume->free));
                rows.push_back({disk, std::move(row)});
            }
        }
    }
    for (const description::LooseVolume& volume : machine.description.volume()) {
        const std::uint32_t type = volume.has_drive_type() ? volume.drive_type() : kDriveTypeOptical;
        rows.push_back({nullptr, LogicalDisk(ToUpper(volume.letter()).front(), type, volume.label(), volume.serial())});
    }
    return rows;
}

BuiltRows Volumes(const MachineState& machine)
{
    BuiltRows rows;
    for (const DiskModel* disk : machine.PresentDisks()) {
        for (const auto& volume : disk->volumes) {
            const description::Volume& description = *volume->description;
            const std::string drive = volume->letter != 0 ? fmt::format("{}:", volume->letter) : std::string{};
            // Windows names a volume by its letter, else by its first folder, else by itself.
            const std::string name = !drive.empty()                       ? drive + '\\'
                                     : description.mount_point_size() > 0 ? description.mount_point(0)
                                                                          : volume->guidPath;
            WmiRow row;
            row.Set("DeviceID", TextValue(volume->guidPath)).Set("DriveLetter", drive.empty() ? NullValue() : TextValue(drive));
            row.Set("Name", TextValue(name)).Set("Caption", TextValue(name)).Set("Label", TextValue(description.label()));
            row.Set("BootVolume", BoolValue(description.boot())).Set("SystemVolume", BoolValue(description.system()));
            row.Set("PageFilePresent", BoolValue(description.page_file())).Set("FileSystem", TextValue(description.file_system()));
            row.Set("SerialNumber", NumberValue(description.serial()));
            row.Set("DriveType", NumberValue(disk->removable ? kDriveTypeRemovable : kDriveTypeFixed));
            row.Set("Capacity", BigNumberValue(volume->size)).Set("FreeSpace", BigNumberValue(volume->free));
            rows.push_back({disk, std::move(row)});
        }
    }
    return rows;
}

BuiltRows RecoveryConfiguration(const MachineState& machine)
{
    if (!machine.description.has_recovery()) {
        return {};
    }
    const description::Recovery& recovery = machine.description.recovery();
    WmiRow row;
    row.Set("ExpandedMiniDumpDirectory", TextValue(recovery.mini_dump_directory()));
    row.Set("ExpandedDebugFilePath", TextValue(recovery.debug_file()));
    BuiltRows rows;
    rows.push_back({nullptr, std::move(row)});
    return rows;
}

BuiltRows AtapiSmartData(const MachineState& machine)
{
    BuiltRows rows;
    for (const DiskModel* disk : machine.PresentDisks()) {
        const description::AtaDevice& ata = disk->description->ata();
        const std::size_t size = ata.has_wmi_smart_size() ? ata.wmi_smart_size() : kDefaultWmiSmartSize;
        if (!disk->traits->isAta || size == 0 || (ata.has_smart() && !ata.smart())) {
            continue;
        }
        ByteVector data = disk->smartData;
        data.resize(size);
        WmiRow row;
        row.Set("InstanceName", TextValue(disk->pnpDeviceId + "_0")).Set("Active", BoolValue(true));
        row.Set("Length", NumberValue(512)).Set("VendorSpecific", BytesValue(std::move(data)));
        rows.push_back({disk, std::move(row)});
    }
    return rows;
}

BuiltRows PerformanceDisks(const MachineState& machine)
{
    BuiltRows rows;
    for (const DiskModel* disk : machine.PresentDisks()) {
        BuiltRow built{disk, {}};
        built.row.Set("Name", TextValue(disk->counterInstance));
        rows.push_back(std::move(built));
    }
    WmiRow total;
    total.Set("Name", TextValue("_Total"));
    rows.push_back({nullptr, std::move(total)});
    return rows;
}

struct ClassBuilder {
    const char* wmiNamespace;
    const char* name;  // lower case
    BuiltRows (*build)(const MachineState& machine);
};
constexpr std::array<ClassBuilder, 7> kClasses{{
    {kCimv2, "win32_diskdrive", DiskDrives},
    {kStorage, "msft_physicaldisk", PhysicalDisks},
    {kCimv2, "win32_logicaldisk", LogicalDisks},
    {kCimv2, "win32_volume", Volumes},
    {kCimv2, "win32_osrecoveryconfiguration", RecoveryConfiguration},
    {kWmi, "msstoragedriver_atapismartdata", AtapiSmartData},
    {kCimv2, "win32_perfformatteddata_perfdisk_physicaldisk", PerformanceDisks},
}};

std::string NamespaceOf(const description::WmiClass& wmiClass)
{
    return wmiClass.wmi_namespace().empty() ? kCimv2 : ToLower(wmiClass.wmi_namespace());
}

const description::WmiClass* FindFileClass(const MachineState& machine, const std::string& wmiNamespace,
                                           const std::string& className)
{
    const auto& classes = machine.description.wmi_class();
    const auto found = std::find_if(classes.begin(), classes.end(), [&](const description::WmiClass& candidate) {
        return NamespaceOf(candidate) == ToLower(wmiNamespace) && ToLower(candidate.name()) == ToLower(className);
    });
    return found != classes.end() ? &*found : nullptr;
}

void SetProperties(WmiRow& row, const google::protobuf::RepeatedPtrField<description::WmiProperty>& properties)
{
    for (const description::WmiProperty& property : properties) {
        if (property.value_case() == description::WmiProperty::kMissing) {
            row.Remove(property.name());
        } else {
            row.Set(property.name(), ValueOf(property));
        }
    }
}

// Applies the disk's changes to one of its rows; false drops the row.
bool ApplyChanges(BuiltRow& built, const std::string& className)
{
    if (built.disk == nullptr) {
        return true;
    }
    for (const description::WmiRowChange& change : built.disk->description->row_change()) {
        if (ToLower(change.class_name()) == className) {
            if (change.drop()) {
                return false;
            }
            SetProperties(built.row, change.property());
            if (change.next_error() != 0) {
                built.row.nextError = platform::hresult::Make(change.next_error());
            }
        }
    }
    return true;
}

std::string_view NextWord(std::string_view& text)
{
    constexpr std::string_view kBlanks = " \t\r\n";
    text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
    const std::size_t end = text.starts_with(',') ? 1 : std::min(text.find_first_of(" \t\r\n,"), text.size());
    const std::string_view word = text.substr(0, end);
    text.remove_prefix(end);
    return word;
}

PropertyValue ArrayValue(const description::WmiByteArray& array)
{
    PropertyValue value = BytesValue(ToBytes(array.content()));
    value.lowerBound = array.lower_bound();
    value.upperBound = array.has_upper_bound() ? std::optional(array.upper_bound()) : std::nullopt;
    value.boundError = platform::hresult::Make(array.bound_error());
    value.elementError = platform::hresult::Make(array.element_error());
    value.failingIndex = array.failing_index();
    return value;
}

PropertyValue ArrayValue(const description::WmiStringArray& array)
{
    PropertyValue value;
    value.type = VariantType::StringArray;
    for (const auto& element : array.element()) {
        value.texts.push_back(element.null() ? std::nullopt : std::optional(platform::Utf8ToUtf16(element.text())));
    }
    value.lowerBound = array.lower_bound();
    value.elementError = platform::hresult::Make(array.element_error());
    value.failingIndex = array.failing_index();
    return value;
}

PropertyValue PlainValue(VariantType type, std::uint64_t payload)
{
    PropertyValue value;
    value.type = type;
    value.payload = payload;
    return value;
}

template <typename To, typename From>
std::uint64_t BitsOf(From from)
{
    static_assert(sizeof(To) == sizeof(From));
    To bits = 0;
    std::memcpy(&bits, &from, sizeof(bits));
    return bits;
}

}  // namespace

PropertyValue TextValue(std::string_view utf8)
{
    PropertyValue value;
    value.type = VariantType::String;
    value.text = platform::Utf8ToUtf16(utf8);
    return value;
}

PropertyValue NumberValue(std::uint32_t number) { return PlainValue(VariantType::Int32, number); }
PropertyValue BigNumberValue(std::uint64_t number) { return TextValue(std::to_string(number)); }
PropertyValue BoolValue(bool value) { return PlainValue(VariantType::Bool, value ? 0xFFFF : 0); }
PropertyValue NullValue() { return {}; }

PropertyValue BytesValue(ByteVector bytes)
{
    PropertyValue value;
    value.type = VariantType::UInt8Array;
    value.bytes = std::move(bytes);
    return value;
}

PropertyValue ValueOf(const description::WmiProperty& property)
{
    using Case = description::WmiProperty::ValueCase;
    switch (property.value_case()) {
        case Case::kText:
            return TextValue(property.text());
        case Case::kUtf16: {
            PropertyValue value = TextValue({});
            value.text = ParseUtf16Hex(property.utf16()).value_or(std::u16string{});
            return value;
        }
        case Case::kNullText:
            return PlainValue(VariantType::String, 0);
        case Case::kBoolean:
            return BoolValue(property.boolean());
        case Case::kI2:
            return PlainValue(VariantType::Int16, static_cast<std::uint16_t>(property.i2()));
        case Case::kI4:
            return PlainValue(VariantType::Int32, static_cast<std::uint32_t>(property.i4()));
        case Case::kUi1:
            return PlainValue(VariantType::UInt8, property.ui1() & 0xFF);
        case Case::kUi4:
            return PlainValue(VariantType::UInt32, property.ui4());
        case Case::kR4:
            return PlainValue(VariantType::Float32, BitsOf<std::uint32_t>(property.r4()));
        case Case::kR8:
            return PlainValue(VariantType::Float64, BitsOf<std::uint64_t>(property.r8()));
        case Case::kU64:
            return BigNumberValue(property.u64());
        case Case::kByteArray:
            return ArrayValue(property.byte_array());
        case Case::kStringArray:
            return ArrayValue(property.string_array());
        case Case::kVariant:
            return PlainValue(static_cast<VariantType>(property.variant().type()), property.variant().payload());
        case Case::kGetError: {
            PropertyValue value;
            value.getError = platform::hresult::Make(property.get_error());
            return value;
        }
        default:
            return NullValue();
    }
}

WmiRow& WmiRow::Set(std::string_view name, PropertyValue value)
{
    m_Properties[platform::Utf8ToUtf16(ToLower(name))] = std::move(value);
    return *this;
}

void WmiRow::Remove(std::string_view name) { m_Properties.erase(platform::Utf8ToUtf16(ToLower(name))); }

const PropertyValue* WmiRow::Find(const std::u16string& lowerCaseName) const
{
    const auto found = m_Properties.find(lowerCaseName);
    return found != m_Properties.end() ? &found->second : nullptr;
}

std::optional<WmiRows> FindRows(const MachineState& machine, const std::string& wmiNamespace, const std::string& className)
{
    const std::string lowerClass = ToLower(className);
    const auto builder = std::find_if(kClasses.begin(), kClasses.end(), [&](const ClassBuilder& candidate) {
        return ToLower(wmiNamespace) == candidate.wmiNamespace && lowerClass == candidate.name;
    });
    const description::WmiClass* fileClass = FindFileClass(machine, wmiNamespace, className);
    if (builder == kClasses.end() && fileClass == nullptr) {
        return std::nullopt;
    }
    WmiRows rows;
    if (builder != kClasses.end() && (fileClass == nullptr || fileClass->append())) {
        for (BuiltRow& built : builder->build(machine)) {
            if (ApplyChanges(built, lowerClass)) {
                rows.push_back(std::make_shared<WmiRow>(std::move(built.row)));
            }
        }
    }
    if (fileClass != nullptr) {
        for (const description::WmiRow& described : fileClass->row()) {
            auto row = std::make_shared<WmiRow>();
            SetProperties(*row, described.property());
            row->nextError = platform::hresult::Make(described.next_error());
            rows.push_back(std::move(row));
        }
    }
    return rows;
}

platform::Hresult QueryError(const MachineState& machine, const std::string& wmiNamespace, const std::string& className)
{
    const description::WmiClass* fileClass = FindFileClass(machine, wmiNamespace, className);
    return fileClass != nullptr ? platform::hresult::Make(fileClass->error()) : platform::hresult::kOk;
}

bool HasNamespace(const MachineState& machine, const std::string& wmiNamespace)
{
    const std::string lower = ToLower(wmiNamespace);
    const auto isNamed = [&](const std::string& name) { return ToLower(name) == lower; };
    const auto& further = machine.description.wmi_namespace();
    const auto& classes = machine.description.wmi_class();
    return std::any_of(kNamespaces.begin(), kNamespaces.end(), isNamed) || std::any_of(further.begin(), further.end(), isNamed) ||
           std::any_of(classes.begin(), classes.end(), [&](const auto& wmiClass) { return NamespaceOf(wmiClass) == lower; });
}

std::optional<WmiQueryText> ParseQuery(std::string_view query)
{
    WmiQueryText parsed;
    if (ToLower(NextWord(query)) != "select") {
        return std::nullopt;
    }
    for (;;) {
        const std::string_view property = NextWord(query);
        if (property.empty() || property == ",") {
            return std::nullopt;
        }
        if (property != "*") {
            parsed.properties.push_back(platform::Utf8ToUtf16(ToLower(property)));
        }
        const std::string_view separator = NextWord(query);
        if (ToLower(separator) == "from") {
            break;
        }
        if (separator != ",") {
            return std::nullopt;
        }
    }
    parsed.className = NextWord(query);
    const bool isEnd = NextWord(query).empty();
    return parsed.className.empty() || !isEnd ? std::nullopt : std::optional(parsed);
}

}  // namespace orbis::simulated
