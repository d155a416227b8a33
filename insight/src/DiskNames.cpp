#include "DiskNames.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

namespace orbis::insight {
namespace {

using namespace platform;

bool EqualsIgnoringCase(std::u16string_view left, std::u16string_view right)
{
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](char16_t a, char16_t b) { return UpperLetter(a) == UpperLetter(b); });
}

bool StartsWith(std::u16string_view text, std::u16string_view start)
{
    return text.size() >= start.size() && EqualsIgnoringCase(text.substr(0, start.size()), start);
}

}  // namespace

std::optional<std::uint32_t> LeadingNumber(std::u16string_view text)
{
    std::uint64_t value = 0;
    std::size_t at = 0;
    for (; at < text.size() && at < 10 && text[at] >= u'0' && text[at] <= u'9'; ++at) {
        value = value * 10 + static_cast<std::uint64_t>(text[at] - u'0');
    }
    return at == 0 || value > 0xFFFFFFFFU ? std::nullopt : std::optional(static_cast<std::uint32_t>(value));
}

std::vector<std::u16string_view> SplitNames(const std::u16string& list)
{
    std::vector<std::u16string_view> names;
    for (std::size_t at = 0; at < list.size() && list[at] != 0;) {
        const std::size_t end = std::min(list.find(u'\0', at), list.size());
        names.push_back(std::u16string_view(list).substr(at, end - at));
        at = end + 1;
    }
    return names;
}

HiddenDisk DiskOfInstance(std::u16string_view name)
{
    HiddenDisk disk;
    disk.number = LeadingNumber(name);
    for (std::size_t at = 1; disk.number && at < name.size(); ++at) {
        if (name[at] == u':') {
            disk.letters.insert(UpperLetter(name[at - 1]));
        }
    }
    return disk;
}

std::u16string PathStart(std::u16string_view pnpDeviceId)
{
    std::u16string path = u"\\\\?\\" + std::u16string(pnpDeviceId) + u'#';
    std::replace(path.begin() + 4, path.end(), u'\\', u'#');
    return path;
}

bool IsSamePath(std::u16string_view one, std::u16string_view other)
{
    return !one.empty() && !other.empty() && (StartsWith(one, other) || StartsWith(other, one));
}

bool IsSameDisk(const HiddenDisk& one, const HiddenDisk& other)
{
    return (other.number && one.number == other.number) || IsSamePath(one.interfacePath, other.interfacePath) ||
           std::any_of(other.letters.begin(), other.letters.end(), [&](char16_t letter) { return one.letters.contains(letter); });
}

void AddNames(HiddenDisk& disk, const HiddenDisk& names)
{
    const auto add = [](std::u16string& to, const std::u16string& from) { to = to.empty() ? from : to; };
    disk.number = disk.number ? disk.number : names.number;
    add(disk.interfacePath, names.interfacePath);
    disk.letters.insert(names.letters.begin(), names.letters.end());
    add(disk.pnpDeviceId, names.pnpDeviceId);
    add(disk.model, names.model);
    add(disk.serialNumber, names.serialNumber);
}

HiddenDisk HiddenDiskOf(std::u16string_view path)
{
    constexpr std::u16string_view kDrive = u"\\\\.\\PhysicalDrive";
    HiddenDisk disk;
    if (StartsWith(path, kDrive)) {
        disk.number = LeadingNumber(path.substr(kDrive.size()));
    } else if (path.size() == 6 && path.starts_with(u"\\\\.\\") && path[5] == u':') {
        disk.letters.insert(UpperLetter(path[4]));
    } else {
        disk.interfacePath = path;
    }
    return disk;
}

std::u16string InterfacePathOf(Setup& setup, DeviceInfoSetHandle set, const DeviceInterfaceData& data)
{
    std::uint32_t size = 0;
    if (setup.DeviceInterfaceDetail(set, data, nullptr, 0, &size) || size <= kDeviceInterfaceDetailPathOffset) {
        return {};
    }
    std::vector<std::uint64_t> detail((size + 7) / 8);
    std::memcpy(detail.data(), &kDeviceInterfaceDetailHeaderSize, sizeof kDeviceInterfaceDetailHeaderSize);
    if (!setup.DeviceInterfaceDetail(set, data, detail.data(), size, &size)) {
        return {};
    }
    std::u16string path((size - kDeviceInterfaceDetailPathOffset) / sizeof(char16_t), u'\0');
    std::memcpy(path.data(), reinterpret_cast<const std::uint8_t*>(detail.data()) + kDeviceInterfaceDetailPathOffset,
                path.size() * sizeof(char16_t));
    return path.substr(0, path.find(u'\0'));
}

std::u16string DriveLettersOf(DeviceIo& io)
{
    // 26 letters of four characters each and the last zero.
    std::array<char16_t, 26 * 4 + 1> all{};
    const std::uint32_t length = io.LogicalDriveStrings(static_cast<std::uint32_t>(all.size()), all.data());
    const std::u16string roots(all.data(), length < all.size() ? length : 0);
    std::u16string letters;
    for (const std::u16string_view root : SplitNames(roots)) {
        letters += UpperLetter(root.front());
    }
    return letters;
}

}  // namespace orbis::insight
