#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/Export.h"

// Physical disks by the operating system's own paths, in addition to the Windows paths of the ports. They belong to the system's
// own machine, not to a replaced one. On Windows there are no such paths: nothing is found, and paths are empty.
namespace orbis::platform {

// The physical drive number of the disk that a device belongs to: /dev/sda, a partition of it, an NVMe controller, or a link to
// one.
[[nodiscard]] ORBIS_PLATFORM_EXPORT std::optional<std::uint32_t> DriveNumberOfSystemPath(const std::string& path);
// The path of a physical drive, for people: /dev/nvme0n1.
[[nodiscard]] ORBIS_PLATFORM_EXPORT std::string SystemPathOfDrive(std::uint32_t number);

}  // namespace orbis::platform
