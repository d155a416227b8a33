#include "insight/HiddenDisks.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>
#include <string>
#include <utility>

#include "DrivePaths.h"
#include "platform/Errors.h"
#include "platform/Text.h"

namespace orbis::insight {
namespace {

using namespace platform;

constexpr char16_t Upper(char16_t letter) noexcept
{
    return letter >= u'a' && letter <= u'z' ? static_cast<char16_t>(letter - u'a' + u'A') : letter;
}

bool EqualsIgnoringCase(std::u16string_view left, std::u16string_view right)
{
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](char16_t a, char16_t b) { return Upper(a) == Upper(b); });
}

// The decimal number that a text starts with.
std::optional<std::uint32_t> LeadingNumber(std::u16string_view text)
{
    std::uint64_t value = 0;
    std::size_t at = 0;
    for (; at < text.size() && at < 10 && text[at] >= u'0' && text[at] <= u'9'; ++at) {
        value = value * 10 + static_cast<std::uint64_t>(text[at] - u'0');
    }
    return at == 0 || value > 0xFFFFFFFFU ? std::nullopt : std::optional(static_cast<std::uint32_t>(value));
}

// Names that each end with a zero, and one more zero.
std::vector<std::u16string_view> Split(const std::u16string& list)
{
    std::vector<std::u16string_view> names;
    for (std::size_t at = 0; at < list.size() && list[at] != 0;) {
        const std::size_t end = std::min(list.find(u'\0', at), list.size());
        names.push_back(std::u16string_view(list).substr(at, end - at));
        at = end + 1;
    }
    return names;
}

// "1 D: E:" of drive 1; no name for one that begins with no number.
HiddenDisk DiskOfInstance(std::u16string_view name)
{
    HiddenDisk disk;
    disk.number = LeadingNumber(name);
    for (std::size_t at = 1; disk.number && at < name.size(); ++at) {
        if (name[at] == u':') {
            disk.letters.insert(Upper(name[at - 1]));
        }
    }
    return disk;
}

// A PnP device id as the interface paths of the device begin: "\\?\scsi#disk&ven_nvme#5&1&0&0#".
std::u16string PathStart(std::u16string_view pnpDeviceId)
{
    std::u16string path = u"\\\\?\\" + std::u16string(pnpDeviceId) + u'#';
    std::replace(path.begin() + 4, path.end(), u'\\', u'#');
    return path;
}

bool StartsWith(std::u16string_view text, std::u16string_view start)
{
    return text.size() >= start.size() && EqualsIgnoringCase(text.substr(0, start.size()), start);
}

// An interface path is compared as far as the shorter one of two goes: one learnt from a PnP device id has no class at its end.
bool IsSamePath(std::u16string_view one, std::u16string_view other)
{
    return !one.empty() && !other.empty() && (StartsWith(one, other) || StartsWith(other, one));
}

}  // namespace

HiddenDisk HiddenDiskOf(std::u16string_view path)
{
    constexpr std::u16string_view kDrive = u"\\\\.\\PhysicalDrive";
    HiddenDisk disk;
    if (StartsWith(path, kDrive)) {
        disk.number = LeadingNumber(path.substr(kDrive.size()));
    } else if (path.size() == 6 && path.starts_with(u"\\\\.\\") && path[5] == u':') {
        disk.letters.insert(Upper(path[4]));
    } else {
        disk.interfacePath = path;
    }
    return disk;
}

HiddenDisks::HiddenDisks(Platform& inner)
    : ForwardingPlatform(inner),
      ForwardingDeviceIo(inner.DeviceIoPort()),
      ForwardingSetup(inner.SetupPort()),
      ForwardingWmi(inner.WmiPort()),
      ForwardingPdh(inner.PdhPort())
{}

HiddenDisk* HiddenDisks::Find(const HiddenDisk& names)
{
    const auto found = std::find_if(m_Hidden.begin(), m_Hidden.end(), [&](const HiddenDisk& disk) {
        return (names.number && disk.number == names.number) || IsSamePath(disk.interfacePath, names.interfacePath) ||
               std::any_of(names.letters.begin(), names.letters.end(), [&](char16_t one) { return disk.letters.contains(one); });
    });
    return found != m_Hidden.end() ? &*found : nullptr;
}

bool HiddenDisks::IsHidden(const HiddenDisk& names)
{
    const std::lock_guard lock(m_Lock);
    return Find(names) != nullptr;
}

bool HiddenDisks::Learn(const HiddenDisk& names)
{
    const std::lock_guard lock(m_Lock);
    HiddenDisk* const disk = Find(names);
    if (disk == nullptr) {
        return false;
    }
    disk->number = disk->number ? disk->number : names.number;
    disk->interfacePath = disk->interfacePath.empty() ? names.interfacePath : disk->interfacePath;
    disk->letters.insert(names.letters.begin(), names.letters.end());
    return true;
}

void HiddenDisks::Hide(HiddenDisk disk)
{
    if (Learn(disk)) {
        return;
    }
    const std::lock_guard lock(m_Lock);
    m_Hidden.push_back(std::move(disk));
    m_Count = m_Hidden.size();
}

void HiddenDisks::Show(const HiddenDisk& disk)
{
    const std::lock_guard lock(m_Lock);
    while (const HiddenDisk* const found = Find(disk)) {
        m_Hidden.erase(m_Hidden.begin() + (found - m_Hidden.data()));
    }
    m_Count = m_Hidden.size();
}

std::vector<HiddenDisk> HiddenDisks::Hidden() const
{
    const std::lock_guard lock(m_Lock);
    return m_Hidden;
}

NativeHandle HiddenDisks::Open(const char16_t* path, std::uint32_t access, std::uint32_t share, void* security,
                               std::uint32_t disposition, std::uint32_t flags, NativeHandle templateFile)
{
    if (path != nullptr && IsAnyHidden() && IsHidden(HiddenDiskOf(path))) {
        SaveLastError(win32::kFileNotFound);
        return kInvalidHandle;
    }
    return ForwardingDeviceIo::Open(path, access, share, security, disposition, flags, templateFile);
}

PowerState HiddenDisks::DiskPowerState(const char16_t* path)
{
    if (path != nullptr && IsAnyHidden() && IsHidden(HiddenDiskOf(path))) {
        SaveLastError(win32::kFileNotFound);
        return PowerState::Unknown;
    }
    return ForwardingDeviceIo::DiskPowerState(path);
}

std::uint32_t HiddenDisks::LogicalDriveStrings(std::uint32_t characters, char16_t* buffer)
{
    if (!IsAnyHidden()) {
        return ForwardingDeviceIo::LogicalDriveStrings(characters, buffer);
    }
    // 26 letters of four characters each and the last zero.
    std::array<char16_t, 26 * 4 + 1> all{};
    const std::uint32_t length = ForwardingDeviceIo::LogicalDriveStrings(static_cast<std::uint32_t>(all.size()), all.data());
    if (length == 0 || length >= all.size()) {
        return length;
    }
    const std::u16string roots(all.data(), length);
    std::u16string visible;
    for (const std::u16string_view root : Split(roots)) {
        if (!IsHidden({.letters = {Upper(root.front())}})) {
            visible.append(root).push_back(u'\0');
        }
    }
    if (visible.size() + 1 > characters) {
        return static_cast<std::uint32_t>(visible.size() + 1);
    }
    visible.push_back(u'\0');
    std::copy(visible.begin(), visible.end(), buffer);
    return static_cast<std::uint32_t>(visible.size() - 1);
}

std::u16string HiddenDisks::PathOf(DeviceInfoSetHandle set, const DeviceInterfaceData& data)
{
    std::uint32_t size = 0;
    if (ForwardingSetup::DeviceInterfaceDetail(set, data, nullptr, 0, &size) || size <= kDeviceInterfaceDetailPathOffset) {
        return {};
    }
    std::vector<std::uint64_t> detail((size + 7) / 8);
    std::memcpy(detail.data(), &kDeviceInterfaceDetailHeaderSize, sizeof kDeviceInterfaceDetailHeaderSize);
    if (!ForwardingSetup::DeviceInterfaceDetail(set, data, detail.data(), size, &size)) {
        return {};
    }
    std::u16string path((size - kDeviceInterfaceDetailPathOffset) / sizeof(char16_t), u'\0');
    std::memcpy(path.data(), reinterpret_cast<const std::uint8_t*>(detail.data()) + kDeviceInterfaceDetailPathOffset,
                path.size() * sizeof(char16_t));
    return path.substr(0, path.find(u'\0'));
}

std::uint32_t HiddenDisks::WholeIndex(DeviceInfoSetHandle set, std::uint32_t index)
{
    if (!IsAnyHidden()) {
        return index;
    }
    std::vector<std::uint32_t> visible;
    {
        const std::lock_guard lock(m_Lock);
        visible = m_Visible[set];
    }
    std::uint32_t next = visible.empty() ? 0 : visible.back() + 1;
    while (visible.size() <= index) {
        DeviceInterfaceData data;
        if (!ForwardingSetup::EnumDeviceInterfaces(set, kDiskInterfaceGuid, next, &data)) {
            return next;  // past the last one: the caller meets the same failure
        }
        if (!IsHidden({.interfacePath = PathOf(set, data)})) {
            visible.push_back(next);
        }
        ++next;
    }
    const std::lock_guard lock(m_Lock);
    m_Visible[set] = visible;
    return visible[index];
}

bool HiddenDisks::EnumDeviceInterfaces(DeviceInfoSetHandle set, const Guid& interfaceClass, std::uint32_t index,
                                       DeviceInterfaceData* data)
{
    return ForwardingSetup::EnumDeviceInterfaces(set, interfaceClass, WholeIndex(set, index), data);
}

bool HiddenDisks::EnumDeviceInfo(DeviceInfoSetHandle set, std::uint32_t index, DeviceInfoData* data)
{
    return ForwardingSetup::EnumDeviceInfo(set, WholeIndex(set, index), data);
}

bool HiddenDisks::DestroyDeviceInfoList(DeviceInfoSetHandle set) noexcept
{
    {
        const std::lock_guard lock(m_Lock);
        m_Visible.erase(set);
    }
    return ForwardingSetup::DestroyDeviceInfoList(set);
}

Hresult HiddenDisks::ExecQuery(ComObject* services, Bstr language, Bstr query, std::int32_t flags, ComObject** enumerator)
{
    struct Class {
        std::u16string_view name;
        RowKind kind;
    };
    static constexpr std::array<Class, 6> kClasses{{
        {u"Win32_DiskDrive", RowKind::Drive},
        {u"MSFT_PhysicalDisk", RowKind::MediaType},
        {u"Win32_LogicalDisk", RowKind::Letter},
        {u"Win32_Volume", RowKind::Letter},
        {u"Win32_PerfFormattedData_PerfDisk_PhysicalDisk", RowKind::CounterName},
        {u"MSStorageDriver_ATAPISmartData", RowKind::SmartRow},
    }};
    const Hresult result = ForwardingWmi::ExecQuery(services, language, query, flags, enumerator);
    const std::u16string_view name = query != nullptr ? ClassOf(query) : std::u16string_view();
    const auto known = std::find_if(kClasses.begin(), kClasses.end(), [name](const Class& one) { return one.name == name; });
    if (!Failed(result) && IsAnyHidden() && known != kClasses.end()) {
        const std::lock_guard lock(m_Lock);
        m_Filtered[*enumerator] = known->kind;
    }
    return result;
}

bool HiddenDisks::IsHiddenRow(ComObject* row, RowKind kind)
{
    // A property as a text; a number in decimal.
    const auto read = [&](const char16_t* name) -> std::u16string {
        ComVariant value(*this);
        if (Failed(ForwardingWmi::Get(row, name, value.Put()))) {
            return {};
        }
        const Variant& variant = value.Get();
        if (variant.type == VariantType::Int32 || variant.type == VariantType::UInt32) {
            return Utf8ToUtf16(std::to_string(static_cast<std::uint32_t>(variant.payload)));
        }
        const Bstr text = variant.type == VariantType::String ? variant.AsString() : nullptr;
        return text != nullptr ? std::u16string(text, ForwardingWmi::StringLength(text)) : std::u16string();
    };
    const auto isLetter = [&](const std::u16string& text) {
        return text.size() >= 2 && text[1] == u':' && IsHidden({.letters = {Upper(text[0])}});
    };
    switch (kind) {
        case RowKind::Drive: {
            const std::u16string id = read(u"PNPDeviceID");
            return Learn({.number = LeadingNumber(read(u"Index")), .interfacePath = id.empty() ? id : PathStart(id)});
        }
        case RowKind::MediaType:
            return IsHidden({.number = LeadingNumber(read(u"DeviceId"))});
        case RowKind::Letter:
            return isLetter(read(u"Caption")) || isLetter(read(u"DriveLetter"));
        case RowKind::CounterName:
            return Learn(DiskOfInstance(read(u"Name")));
        case RowKind::SmartRow: {
            // "IDE\DiskModel\5&1&0&0_0": the id of the device and a number.
            const std::u16string name = read(u"InstanceName");
            return IsHidden({.interfacePath = name.empty() ? name : PathStart(name.substr(0, name.rfind(u'_')))});
        }
    }
    return false;
}

Hresult HiddenDisks::Next(ComObject* enumerator, std::uint32_t timeout, ComObject** object, std::uint32_t* returned)
{
    std::optional<RowKind> kind;
    {
        const std::lock_guard lock(m_Lock);
        if (const auto found = m_Filtered.find(enumerator); found != m_Filtered.end()) {
            kind = found->second;
        }
    }
    while (true) {
        const Hresult result = ForwardingWmi::Next(enumerator, timeout, object, returned);
        if (!kind || Failed(result) || *object == nullptr || !IsHiddenRow(*object, *kind)) {
            return result;
        }
        ForwardingWmi::Release(*object);
        *object = nullptr;
    }
}

void HiddenDisks::Release(ComObject* object) noexcept
{
    {
        const std::lock_guard lock(m_Lock);
        m_Filtered.erase(object);
    }
    ForwardingWmi::Release(object);
}

template <class List>
PdhStatus HiddenDisks::VisibleInstances(const List& list, char16_t* buffer, std::uint32_t* characters)
{
    if (!IsAnyHidden()) {
        return list(buffer, characters);
    }
    std::u16string all;
    std::uint32_t size = 0;
    PdhStatus status = list(nullptr, &size);
    // The list may grow between two calls.
    for (int attempt = 0; status == pdh::kMoreData && attempt < 5; ++attempt) {
        all.assign(size, u'\0');
        status = list(all.data(), &size);
    }
    if (status != pdh::kOk) {
        return status;
    }
    std::u16string visible;
    for (const std::u16string_view name : Split(all)) {
        if (!Learn(DiskOfInstance(name))) {
            visible.append(name).push_back(u'\0');
        }
    }
    visible.push_back(u'\0');
    const std::uint32_t room = buffer == nullptr ? 0 : *characters;
    *characters = static_cast<std::uint32_t>(visible.size());
    if (room < visible.size()) {
        return pdh::kMoreData;
    }
    std::copy(visible.begin(), visible.end(), buffer);
    return pdh::kOk;
}

PdhStatus HiddenDisks::EnumInstances(const char16_t* object, char16_t* buffer, std::uint32_t* characters)
{
    const auto list = [&](char16_t* names, std::uint32_t* size) { return ForwardingPdh::EnumInstances(object, names, size); };
    return VisibleInstances(list, buffer, characters);
}

PdhStatus HiddenDisks::CounterInstances(PdhCounterObject* counter, char16_t* buffer, std::uint32_t* characters)
{
    const auto list = [&](char16_t* names, std::uint32_t* size) { return ForwardingPdh::CounterInstances(counter, names, size); };
    return VisibleInstances(list, buffer, characters);
}

}  // namespace orbis::insight
