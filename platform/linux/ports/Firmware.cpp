#include <array>
#include <cerrno>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>

#include "linux/kernel/Files.h"
#include "linux/ports/Ports.h"
#include "platform/Errors.h"

namespace orbis::platform::linux_system {
namespace {

constexpr std::size_t kLargestTable = std::size_t{4} << 20;

struct SmbiosVersion {
    std::uint8_t major = 0;
    std::uint8_t minor = 0;
    std::uint8_t revision = 0;
};

// Entry point structures of the SMBIOS reference specification 3.x, 5.2: 64-bit "_SM3_" and 32-bit "_SM_".
std::optional<SmbiosVersion> VersionOf(std::string_view entryPoint)
{
    const auto byte = [&](std::size_t at) { return static_cast<std::uint8_t>(entryPoint[at]); };
    if (entryPoint.starts_with("_SM3_") && entryPoint.size() >= 24) {
        return SmbiosVersion{byte(7), byte(8), byte(9)};
    }
    if (entryPoint.starts_with("_SM_") && entryPoint.size() >= 31) {
        return SmbiosVersion{byte(6), byte(7), byte(30)};
    }
    return std::nullopt;
}

}  // namespace

emulated::FirmwareTable ReadFirmwareTable(const Roots& roots, std::uint32_t provider)
{
    if (provider != kFirmwareProviderSmbios) {
        return {{}, win32::kInvalidFunction};
    }
    const std::string directory = roots.sys + "/firmware/dmi/tables";
    const std::optional<std::string> entryPoint = ReadBytes(directory + "/smbios_entry_point");
    const std::optional<std::string> table = entryPoint ? ReadBytes(directory + "/DMI", kLargestTable) : std::nullopt;
    if (!table) {
        return {{}, errno == ENOENT ? win32::kNotFound : Win32FromErrno(errno)};
    }
    const std::optional<SmbiosVersion> version = VersionOf(*entryPoint);
    if (!version) {
        return {{}, win32::kInvalidData};
    }
    // RawSMBIOSData: calling method, major and minor version, revision, length, then the structures.
    const auto length = static_cast<std::uint32_t>(table->size());
    std::array<std::uint8_t, 8> head{0, version->major, version->minor, version->revision};
    std::memcpy(&head[4], &length, sizeof(length));
    emulated::FirmwareTable answer{{head.begin(), head.end()}};
    answer.content.insert(answer.content.end(), table->begin(), table->end());
    return answer;
}

}  // namespace orbis::platform::linux_system
