#include "linux/disks/Guid.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include <fmt/format.h>

namespace orbis::platform::linux_system {

std::optional<Guid> ParseGuid(std::string_view text) noexcept
{
    constexpr std::size_t kLength = 36;
    std::array<std::uint8_t, 16> bytes{};
    if (text.size() != kLength) {
        return std::nullopt;
    }
    std::size_t digits = 0;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const bool isDash = at == 8 || at == 13 || at == 18 || at == 23;
        const char c = text[at];
        const int value = c >= '0' && c <= '9'   ? c - '0'
                          : c >= 'a' && c <= 'f' ? c - 'a' + 10
                          : c >= 'A' && c <= 'F' ? c - 'A' + 10
                                                 : -1;
        if (isDash ? c != '-' : value < 0) {
            return std::nullopt;
        }
        if (!isDash) {
            bytes[digits / 2] = static_cast<std::uint8_t>(bytes[digits / 2] << 4 | value);
            ++digits;
        }
    }
    Guid guid;
    guid.data1 = std::uint32_t{bytes[0]} << 24 | std::uint32_t{bytes[1]} << 16 | std::uint32_t{bytes[2]} << 8 | bytes[3];
    guid.data2 = static_cast<std::uint16_t>(bytes[4] << 8 | bytes[5]);
    guid.data3 = static_cast<std::uint16_t>(bytes[6] << 8 | bytes[7]);
    std::copy_n(bytes.begin() + 8, guid.data4.size(), guid.data4.begin());
    return guid;
}

std::string GuidText(const Guid& guid)
{
    const auto& tail = guid.data4;
    return fmt::format("{:08x}-{:04x}-{:04x}-{:02x}{:02x}-{:02x}{:02x}{:02x}{:02x}{:02x}{:02x}", guid.data1, guid.data2, guid.data3,
                       tail[0], tail[1], tail[2], tail[3], tail[4], tail[5], tail[6], tail[7]);
}

}  // namespace orbis::platform::linux_system
