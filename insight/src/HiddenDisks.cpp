#include "insight/HiddenDisks.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>
#include <string>
#include <utility>

#include "DiskNames.h"
#include "DrivePaths.h"
#include "platform/Errors.h"
#include "platform/Text.h"

namespace orbis::insight {

using namespace platform;

HiddenDisks::HiddenDisks(Platform& inner)
    : ForwardingPlatform(inner),
      ForwardingDeviceIo(inner.DeviceIoPort()),
      ForwardingSetup(inner.SetupPort()),
      ForwardingWmi(inner.WmiPort()),
      ForwardingPdh(inner.PdhPort())
{}

HiddenDisk* HiddenDisks::Find(const HiddenDisk& names)
{
    const auto found =
        std::find_if(m_Hidden.begin(), m_Hidden.end(), [&](const HiddenDisk& disk) { return IsSameDisk(disk, names); });
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
    HiddenDisk* found = Find(names);
    if (found == nullptr) {
        return false;
    }
    // A disk may have been hidden under several names before they were known to be the same disk.
    HiddenDisk disk;
    for (const HiddenDisk* rest = &names; found != nullptr; found = Find(disk)) {
        AddNames(disk, *found);
        m_Hidden.erase(m_Hidden.begin() + (found - m_Hidden.data()));
        if (rest != nullptr) {
            AddNames(disk, *std::exchange(rest, nullptr));
        }
    }
    m_Hidden.push_back(std::move(disk));
    m_Count = m_Hidden.size();
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
    const std::u16string letters = IsAnyHidden() ? DriveLettersOf(Inner().DeviceIoPort()) : std::u16string();
    if (letters.empty()) {
        return ForwardingDeviceIo::LogicalDriveStrings(characters, buffer);
    }
    std::u16string visible;
    for (const char16_t letter : letters) {
        if (!IsHidden({.letters = {letter}})) {
            visible.append({letter, u':', u'\\', u'\0'});
        }
    }
    if (visible.size() + 1 > characters) {
        return static_cast<std::uint32_t>(visible.size() + 1);
    }
    visible.push_back(u'\0');
    std::copy(visible.begin(), visible.end(), buffer);
    return static_cast<std::uint32_t>(visible.size() - 1);
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
            return next;  // past the last one, so that the caller gets the same failure
        }
        if (!IsHidden({.interfacePath = InterfacePathOf(*this, set, data)})) {
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
    // A property as text; numbers in decimal.
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
        return text.size() >= 2 && text[1] == u':' && IsHidden({.letters = {UpperLetter(text[0])}});
    };
    switch (kind) {
        case RowKind::Drive: {
            HiddenDisk names;
            names.number = LeadingNumber(read(u"Index"));
            names.pnpDeviceId = read(u"PNPDeviceID");
            names.interfacePath = names.pnpDeviceId.empty() ? std::u16string() : PathStart(names.pnpDeviceId);
            if (!IsHidden(names)) {
                return false;
            }
            names.model = read(u"Model");
            names.serialNumber = read(u"SerialNumber");
            return Learn(names);
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
    // The list may become longer between two calls.
    for (int attempt = 0; status == pdh::kMoreData && attempt < 5; ++attempt) {
        all.assign(size, u'\0');
        status = list(all.data(), &size);
    }
    if (status != pdh::kOk) {
        return status;
    }
    std::u16string visible;
    for (const std::u16string_view name : SplitNames(all)) {
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
