#pragma once

#include <string>
#include <string_view>

namespace orbis::insight {

// Texts in a recording: UTF-16 in little-endian order.
[[nodiscard]] inline std::string Utf16Bytes(std::u16string_view text)
{
    std::string bytes;
    bytes.reserve(text.size() * 2);
    for (const char16_t unit : text) {
        bytes += static_cast<char>(unit & 0xFFU);
        bytes += static_cast<char>(unit >> 8U);
    }
    return bytes;
}

[[nodiscard]] inline std::u16string Utf16Text(std::string_view bytes)
{
    std::u16string text;
    for (std::size_t at = 0; at + 1 < bytes.size(); at += 2) {
        text += static_cast<char16_t>(static_cast<unsigned char>(bytes[at]) | static_cast<unsigned char>(bytes[at + 1]) << 8U);
    }
    return text;
}

}  // namespace orbis::insight
