#include "emulated/Guid.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <system_error>

#include <fmt/format.h>

namespace orbis::platform::emulated {

std::optional<Guid> ParseGuid(std::string_view text) noexcept
{
    if (text.size() >= 2 && text.front() == '{' && text.back() == '}') {
        text = text.substr(1, text.size() - 2);
    }
    std::array<std::uint8_t, 16> bytes{};
    std::size_t digits = 0;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const bool isDash = at == 8 || at == 13 || at == 18 || at == 23;
        std::uint8_t value = 0;
        const auto parsed = std::from_chars(&text[at], &text[at] + 1, value, 16);
        if (at >= 36 || (isDash ? text[at] != '-' : parsed.ec != std::errc())) {
            return std::nullopt;
        }
        if (!isDash) {
            bytes[digits / 2] = static_cast<std::uint8_t>(bytes[digits / 2] << 4 | value);
            ++digits;
        }
    }
    if (digits != 2 * bytes.size()) {
        return std::nullopt;
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

}  // namespace orbis::platform::emulated
