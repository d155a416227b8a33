#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "insight/HiddenDisks.h"
#include "platform/Setup.h"

// The names of a disk in calls of the ports.
namespace orbis::insight {

[[nodiscard]] constexpr char16_t UpperLetter(char16_t letter) noexcept
{
    return letter >= u'a' && letter <= u'z' ? static_cast<char16_t>(letter - u'a' + u'A') : letter;
}
// The decimal number that a text starts with.
[[nodiscard]] std::optional<std::uint32_t> LeadingNumber(std::u16string_view text);
// A list of zero-terminated names that ends with an empty one.
[[nodiscard]] std::vector<std::u16string_view> SplitNames(const std::u16string& list);
// "1 D: E:" of drive 1; no name for an instance that does not begin with a number.
[[nodiscard]] HiddenDisk DiskOfInstance(std::u16string_view name);
// The start of a device's interface paths, from its PnP device id: "\\?\scsi#disk&ven_nvme#5&1&0&0#".
[[nodiscard]] std::u16string PathStart(std::u16string_view pnpDeviceId);
// Interface paths are compared up to the length of the shorter one, because one that comes from a PnP device id lacks the class at
// its end.
[[nodiscard]] bool IsSamePath(std::u16string_view one, std::u16string_view other);
// Whether both have a name in common.
[[nodiscard]] bool IsSameDisk(const HiddenDisk& one, const HiddenDisk& other);
// Adds the names of another one that the disk lacks.
void AddNames(HiddenDisk& disk, const HiddenDisk& names);

// The path of one interface of a device walk; empty when it is not known.
[[nodiscard]] std::u16string InterfacePathOf(platform::Setup& setup, platform::DeviceInfoSetHandle set,
                                             const platform::DeviceInterfaceData& data);
// Drive letters in use, upper case; empty when they cannot be read.
[[nodiscard]] std::u16string DriveLettersOf(platform::DeviceIo& io);

}  // namespace orbis::insight
