#include "platform/Text.h"

#include <algorithm>
#include <array>
#include <limits>

namespace orbis::platform {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

void AppendUtf8(std::string& out, char32_t point)
{
    constexpr std::array<char32_t, 4> kLeads{0x00, 0xC0, 0xE0, 0xF0};
    std::size_t trail = point < 0x80 ? 0 : point < 0x800 ? 1 : point < 0x10000 ? 2 : 3;
    out += static_cast<char>(kLeads[trail] | (point >> (6 * trail)));
    while (trail-- > 0) {
        out += static_cast<char>(0x80 | ((point >> (6 * trail)) & 0x3F));
    }
}

// The next code point of UTF-8 by the Unicode standard's table of well-formed sequences; a malformed maximal subpart gives one
// replacement character.
char32_t NextUtf8(std::string_view text, std::size_t& at)
{
    const auto byte = [&](std::size_t index) { return static_cast<unsigned char>(text[index]); };
    const unsigned char lead = byte(at++);
    if (lead < 0x80) {
        return lead;
    }
    if (lead < 0xC2 || lead > 0xF4) {
        return kReplacement;
    }
    const int trail = lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : 3;
    char32_t point = lead & (0x3FU >> trail);
    for (int i = 0; i < trail; ++i) {
        unsigned char low = 0x80;
        unsigned char high = 0xBF;
        if (i == 0) {
            low = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
            high = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
        }
        if (at >= text.size() || byte(at) < low || byte(at) > high) {
            return kReplacement;
        }
        point = (point << 6) | (byte(at++) & 0x3FU);
    }
    return point;
}

}  // namespace

std::string DefaultToUtf8(std::string_view text)
{
    if (text.empty() || text.size() > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max())) {
        return {};
    }
    // ASCII reads the same in every default code page, and nearly all drive texts are ASCII: no need to ask the system.
    if (std::all_of(text.begin(), text.end(), [](char character) { return static_cast<unsigned char>(character) < 0x80; })) {
        return std::string{text};
    }
    Text& port = Text::Current();
    const auto bytes = static_cast<std::int32_t>(text.size());
    const std::int32_t needed = port.DefaultToWide(text.data(), bytes, nullptr, 0);
    if (needed <= 0) {
        return ValidUtf8(text);
    }
    std::u16string wide(static_cast<std::size_t>(needed), u'\0');
    const std::int32_t written = port.DefaultToWide(text.data(), bytes, wide.data(), needed);
    if (written <= 0 || written > needed) {
        return ValidUtf8(text);
    }
    wide.resize(static_cast<std::size_t>(written));
    return Utf16ToUtf8(wide);
}

std::string Utf16ToUtf8(std::u16string_view text)
{
    if (std::ranges::all_of(text, [](char16_t unit) { return unit < 0x80; })) {  // nearly every text
        std::string ascii(text.size(), '\0');
        std::ranges::transform(text, ascii.begin(), [](char16_t unit) { return static_cast<char>(unit); });
        return ascii;
    }
    std::string out;
    out.reserve(text.size());
    for (std::size_t at = 0; at < text.size(); ++at) {
        char32_t point = text[at];
        if (point >= 0xD800 && point <= 0xDFFF) {
            const bool paired = point < 0xDC00 && at + 1 < text.size() && text[at + 1] >= 0xDC00 && text[at + 1] <= 0xDFFF;
            point = paired ? 0x10000 + ((point - 0xD800) << 10) + (text[++at] - 0xDC00U) : kReplacement;
        }
        AppendUtf8(out, point);
    }
    return out;
}

std::u16string Utf8ToUtf16(std::string_view text)
{
    std::u16string out;
    out.reserve(text.size());
    for (std::size_t at = 0; at < text.size();) {
        const char32_t point = NextUtf8(text, at);
        if (point < 0x10000) {
            out += static_cast<char16_t>(point);
        } else {
            out += static_cast<char16_t>(0xD800 + ((point - 0x10000) >> 10));
            out += static_cast<char16_t>(0xDC00 + ((point - 0x10000) & 0x3FF));
        }
    }
    return out;
}

std::string ValidUtf8(std::string_view text)
{
    std::string out;
    out.reserve(text.size());
    for (std::size_t at = 0; at < text.size();) {
        AppendUtf8(out, NextUtf8(text, at));
    }
    return out;
}

}  // namespace orbis::platform
