#include "insight/HiddenDisks.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <optional>
#include <utility>

#include "platform/Errors.h"

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

}  // namespace

HiddenDisks::HiddenDisks(Platform& inner, std::vector<HiddenDisk> hidden)
    : ForwardingPlatform(inner),
      ForwardingDeviceIo(inner.DeviceIoPort()),
      ForwardingSetup(inner.SetupPort()),
      ForwardingWmi(inner.WmiPort()),
      ForwardingPdh(inner.PdhPort()),
      m_Hidden(std::move(hidden))
{}

bool HiddenDisks::IsHiddenNumber(std::uint64_t number) const
{
    return std::any_of(m_Hidden.begin(), m_Hidden.end(), [number](const HiddenDisk& disk) { return disk.number == number; });
}

bool HiddenDisks::IsHiddenLetter(char16_t letter) const
{
    return std::any_of(m_Hidden.begin(), m_Hidden.end(), [letter](const HiddenDisk& disk) {
        return std::find(disk.letters.begin(), disk.letters.end(), Upper(letter)) != disk.letters.end();
    });
}

bool HiddenDisks::IsHiddenPath(std::u16string_view path) const
{
    constexpr std::u16string_view kDrive = u"\\\\.\\PhysicalDrive";
    if (path.size() > kDrive.size() && EqualsIgnoringCase(path.substr(0, kDrive.size()), kDrive)) {
        const auto number = LeadingNumber(path.substr(kDrive.size()));
        return number && IsHiddenNumber(*number);
    }
    if (path.size() == 6 && path.starts_with(u"\\\\.\\") && path[5] == u':') {
        return IsHiddenLetter(path[4]);
    }
    return std::any_of(m_Hidden.begin(), m_Hidden.end(), [path](const HiddenDisk& disk) {
        return !disk.interfacePath.empty() && EqualsIgnoringCase(path, disk.interfacePath);
    });
}

bool HiddenDisks::IsHiddenInstance(std::u16string_view name) const
{
    const auto number = LeadingNumber(name);
    return number && IsHiddenNumber(*number);
}

NativeHandle HiddenDisks::Open(const char16_t* path, std::uint32_t access, std::uint32_t share, void* security,
                               std::uint32_t disposition, std::uint32_t flags, NativeHandle templateFile)
{
    if (IsHiddenPath(path)) {
        SaveLastError(win32::kFileNotFound);
        return kInvalidHandle;
    }
    return ForwardingDeviceIo::Open(path, access, share, security, disposition, flags, templateFile);
}

std::uint32_t HiddenDisks::LogicalDriveStrings(std::uint32_t characters, char16_t* buffer)
{
    // 26 letters of four characters each and the last zero.
    std::array<char16_t, 26 * 4 + 1> all{};
    const std::uint32_t length = ForwardingDeviceIo::LogicalDriveStrings(static_cast<std::uint32_t>(all.size()), all.data());
    if (length == 0 || length >= all.size()) {
        return length;
    }
    std::u16string visible;
    for (const std::u16string_view root : Split(std::u16string(all.data(), length))) {
        if (!IsHiddenLetter(root.front())) {
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
    const std::lock_guard lock(m_Lock);
    std::vector<std::uint32_t>& visible = m_Visible[set];
    std::uint32_t next = visible.empty() ? 0 : visible.back() + 1;
    while (visible.size() <= index) {
        DeviceInterfaceData data;
        if (!ForwardingSetup::EnumDeviceInterfaces(set, kDiskInterfaceGuid, next, &data)) {
            return next;  // past the last one: the caller meets the same failure
        }
        if (!IsHiddenPath(PathOf(set, data))) {
            visible.push_back(next);
        }
        ++next;
    }
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
        std::u16string_view query;
        RowKind kind;
    };
    static constexpr std::array<Class, 5> kClasses{{
        {u"SELECT * FROM Win32_DiskDrive", RowKind::Drive},
        {u"SELECT * FROM MSFT_PhysicalDisk", RowKind::MediaType},
        {u"SELECT * FROM Win32_LogicalDisk", RowKind::Letter},
        {u"SELECT * FROM Win32_Volume", RowKind::Letter},
        {u"SELECT * FROM Win32_PerfFormattedData_PerfDisk_PhysicalDisk", RowKind::CounterName},
    }};
    const Hresult result = ForwardingWmi::ExecQuery(services, language, query, flags, enumerator);
    const auto known = std::find_if(kClasses.begin(), kClasses.end(), [query](const Class& one) { return one.query == query; });
    if (!Failed(result) && known != kClasses.end()) {
        const std::lock_guard lock(m_Lock);
        m_Filtered[*enumerator] = known->kind;
    }
    return result;
}

bool HiddenDisks::IsHiddenRow(ComObject* row, RowKind kind)
{
    const auto read = [&](const char16_t* name, const auto& hides) {
        ComVariant value(*this);
        if (Failed(ForwardingWmi::Get(row, name, value.Put()))) {
            return false;
        }
        const Variant& variant = value.Get();
        if (variant.type == VariantType::String) {
            const Bstr text = variant.AsString();
            return text != nullptr && hides(std::u16string_view(text, ForwardingWmi::StringLength(text)), variant);
        }
        return hides(std::u16string_view(), variant);
    };
    const auto isLetter = [this](std::u16string_view text, const Variant&) {
        return text.size() >= 2 && text[1] == u':' && IsHiddenLetter(text[0]);
    };
    const auto startsWithNumber = [this](std::u16string_view text, const Variant&) { return IsHiddenInstance(text); };
    switch (kind) {
        case RowKind::Drive:
            return read(u"Index", [this](std::u16string_view, const Variant& variant) {
                return (variant.type == VariantType::Int32 || variant.type == VariantType::UInt32) &&
                       IsHiddenNumber(static_cast<std::uint32_t>(variant.payload));
            });
        case RowKind::MediaType:
            return read(u"DeviceId", startsWithNumber);
        case RowKind::Letter:
            return read(u"Caption", isLetter) || read(u"DriveLetter", isLetter);
        case RowKind::CounterName:
            return read(u"Name", startsWithNumber);
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

PdhStatus HiddenDisks::EnumInstances(const char16_t* object, char16_t* buffer, std::uint32_t* characters)
{
    std::u16string all;
    std::uint32_t size = 0;
    PdhStatus status = ForwardingPdh::EnumInstances(object, nullptr, &size);
    // The list may grow between two calls.
    for (int attempt = 0; status == pdh::kMoreData && attempt < 5; ++attempt) {
        all.assign(size, u'\0');
        status = ForwardingPdh::EnumInstances(object, all.data(), &size);
    }
    if (status != pdh::kOk) {
        return status;
    }
    std::u16string visible;
    for (const std::u16string_view name : Split(all)) {
        if (!IsHiddenInstance(name)) {
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

}  // namespace orbis::insight
