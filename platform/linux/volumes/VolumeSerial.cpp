#include <cstddef>
#include <string_view>

#include "linux/kernel/Files.h"
#include "linux/volumes/Probe.h"
#include "linux/volumes/Volumes.h"

namespace orbis::platform::linux_system {
namespace {

std::string SerialFromIdentifier(std::string_view type, std::string_view identifier)
{
    constexpr std::size_t kDigits = 8;
    std::string digits;
    for (const char c : identifier) {
        if (c != '-') {
            digits += c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
        }
    }
    const bool isNtfs = type == "ntfs" || (type.empty() && identifier.size() == 16);
    return isNtfs && digits.size() > kDigits ? digits.substr(digits.size() - kDigits) : digits.substr(0, kDigits);
}

std::string_view Value(const Probe& probe, const char* name)
{
    const char* value = nullptr;
    return blkid_probe_lookup_value(probe.get(), name, &value, nullptr) == 0 ? ProbeText(value) : std::string_view();
}

}  // namespace

std::string ReadVolumeSerial(const Roots& roots, const std::string& blockName, bool mayOpen)
{
    const UniqueFd device = mayOpen ? OpenForReading(roots.dev + "/" + blockName) : UniqueFd();
    if (const Probe probe = device.IsValid() ? MakeProbe(device.Get()) : Probe()) {
        blkid_probe_enable_superblocks(probe.get(), 1);
        blkid_probe_set_superblocks_flags(probe.get(), BLKID_SUBLKS_TYPE | BLKID_SUBLKS_UUID);
        if (blkid_do_safeprobe(probe.get()) == 0) {
            return SerialFromIdentifier(Value(probe, "TYPE"), Value(probe, "UUID"));
        }
    }
    const std::string directory = roots.dev + "/disk/by-uuid";
    for (const std::string& identifier : DirectoryNames(directory)) {
        if (BaseName(RealPath(PathIn(directory, identifier))) == blockName) {
            return SerialFromIdentifier({}, identifier);
        }
    }
    return {};
}

}  // namespace orbis::platform::linux_system
