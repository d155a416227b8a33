#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "insight/Calls.h"

namespace orbis::insight {

// The drive numbers of the paths that a pass opened, as the devices reported them.
class DrivePaths {
public:
    explicit DrivePaths(std::span<const Record> records);

    // From the path itself for "\\.\PhysicalDriveN"; for an interface path or a volume from its answer to the device number
    // request.
    [[nodiscard]] std::optional<std::uint32_t> NumberOf(std::u16string_view path) const;
    // 'C' for "\\.\c:"; 0 for the path of something other than a volume.
    [[nodiscard]] static char LetterOf(std::u16string_view path) noexcept;
    [[nodiscard]] const std::map<std::u16string, std::uint32_t>& Numbers() const noexcept { return m_Numbers; }

private:
    std::map<std::u16string, std::uint32_t> m_Numbers;  // by path, lower case
};

// ASCII letters in lower case, which is enough for paths and ids.
[[nodiscard]] std::u16string LowerAscii(std::u16string_view text);
// The class that a query asks for: "Win32_DiskDrive" of "SELECT * FROM Win32_DiskDrive"; empty when it names none.
[[nodiscard]] std::u16string_view ClassOf(std::u16string_view query);

}  // namespace orbis::insight
