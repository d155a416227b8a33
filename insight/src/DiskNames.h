#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "insight/HiddenDisks.h"
#include "platform/Setup.h"

// The names under which ports speak of a disk.
namespace orbis::insight {

[[nodiscard]] constexpr char16_t UpperLetter(char16_t letter) noexcept
{
    return letter >= u'a' && letter <= u'z' ? static_cast<char16_t>(letter - u'a' + u'A') : letter;
}
// The decimal number that a text starts with.
[[nodiscard]] std::optional<std::uint32_t> LeadingNumber(std::u16string_view text);
// Names that each end with a zero, and one more zero.
[[nodiscard]] std::vector<std::u16string_view> SplitNames(const std::u16string& list);
// "1 D: E:" of drive 1; no name for one that begins with no number.
[[nodiscard]] HiddenDisk DiskOfInstance(std::u16string_view name);
// A PnP device id as the interface paths of the device begin: "\\?\scsi#disk&ven_nvme#5&1&0&0#".
[[nodiscard]] std::u16string PathStart(std::u16string_view pnpDeviceId);
// An interface path is compared as far as the shorter one of two goes: one learnt from a PnP device id has no class at its end.
[[nodiscard]] bool IsSamePath(std::u16string_view one, std::u16string_view other);
// Whether both have a name in common.
[[nodiscard]] bool IsSameDisk(const HiddenDisk& one, const HiddenDisk& other);
// Adds the names of another to those that a disk lacks.
void AddNames(HiddenDisk& disk, const HiddenDisk& names);

// The path of one interface of a device walk; empty when it cannot be told.
[[nodiscard]] std::u16string InterfacePathOf(platform::Setup& setup, platform::DeviceInfoSetHandle set,
                                             const platform::DeviceInterfaceData& data);
// Drive letters in use, upper case; none when they cannot be told.
[[nodiscard]] std::u16string DriveLettersOf(platform::DeviceIo& io);

}  // namespace orbis::insight
