#include "Text.h"

#include <fmt/format.h>
#include <utf8proc.h>

#include <algorithm>
#include <array>
#include <utility>

namespace orbis::host {
namespace {

constexpr std::string_view kEllipsis = "\u2026";

// One character of a text. Each byte that is not valid UTF-8 is a character with a negative code point.
struct Character {
    std::string_view bytes;
    utf8proc_int32_t codePoint;

    // Nearly all characters are in this range and need no look-up.
    [[nodiscard]] bool IsPrintableAscii() const { return codePoint >= ' ' && codePoint < 0x7F; }
    [[nodiscard]] std::size_t Width() const
    {
        return IsPrintableAscii() ? 1U : codePoint < 0 ? 1U : static_cast<std::size_t>(std::max(utf8proc_charwidth(codePoint), 0));
    }
};

Character Next(std::string_view text)
{
    if (const auto byte = static_cast<unsigned char>(text.front()); byte < 0x80) {
        return {text.substr(0, 1), byte};
    }
    utf8proc_int32_t codePoint = -1;
    const utf8proc_ssize_t length = utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t*>(text.data()),
                                                     static_cast<utf8proc_ssize_t>(text.size()), &codePoint);
    return length > 0 ? Character{text.substr(0, static_cast<std::size_t>(length)), codePoint} : Character{text.substr(0, 1), -1};
}

std::vector<Character> Characters(std::string_view text)
{
    std::vector<Character> characters;
    while (!text.empty()) {
        characters.push_back(Next(text));
        text.remove_prefix(characters.back().bytes.size());
    }
    return characters;
}

std::string Escape(const Character& character)
{
    if (character.codePoint < 0 || character.codePoint < 0x100) {
        return fmt::format("\\x{:02X}", character.codePoint < 0 ? static_cast<unsigned char>(character.bytes[0])
                                                                : static_cast<unsigned int>(character.codePoint));
    }
    const auto codePoint = static_cast<unsigned int>(character.codePoint);
    return codePoint > 0xFFFF ? fmt::format("\\U{:08X}", codePoint) : fmt::format("\\u{:04X}", codePoint);
}

bool MustBeShown(const Character& character)
{
    if (character.codePoint < 0 || character.IsPrintableAscii()) {
        return character.codePoint < 0;
    }
    switch (utf8proc_category(character.codePoint)) {
        case UTF8PROC_CATEGORY_CC:
        case UTF8PROC_CATEGORY_CF:
        case UTF8PROC_CATEGORY_ZL:
        case UTF8PROC_CATEGORY_ZP:
            return true;
        default:
            return false;
    }
}

}  // namespace

std::size_t DisplayWidth(std::string_view utf8)
{
    std::size_t width = 0;
    while (!utf8.empty()) {
        const Character character = Next(utf8);
        width += character.Width();
        utf8.remove_prefix(character.bytes.size());
    }
    return width;
}

std::string Fit(std::string_view utf8, std::size_t width)
{
    if (DisplayWidth(utf8) <= width) {
        return std::string(utf8);
    }
    if (width == 0) {
        return {};
    }
    const std::vector<Character> characters = Characters(utf8);
    const std::size_t behind = (width - 1) / 2;
    const std::size_t before = width - 1 - behind;
    std::size_t used = 0;
    auto head = characters.begin();
    while (used + head->Width() <= before) {
        used += (head++)->Width();
    }
    used = 0;
    auto tail = characters.end();
    // A combining mark is never separated from its letter.
    for (auto at = characters.end(); at != head && used + (at - 1)->Width() <= behind;) {
        --at;
        used += at->Width();
        tail = at->Width() > 0 ? at : tail;
    }
    std::string out;
    std::for_each(characters.begin(), head, [&](const Character& one) { out += one.bytes; });
    out += kEllipsis;
    std::for_each(tail, characters.end(), [&](const Character& one) { out += one.bytes; });
    return out;
}

std::vector<std::string> Wrap(std::string_view utf8, std::size_t width)
{
    std::vector<std::string> lines;
    std::string line;
    std::size_t used = 0;
    std::size_t blank = std::string::npos;  // where the line can be broken
    for (const Character& character : Characters(utf8)) {
        if (width != 0 && used + character.Width() > width && !line.empty()) {
            std::string rest;
            if (character.bytes == " ") {
                lines.push_back(std::exchange(line, {}));
                used = 0;
                blank = std::string::npos;
                continue;
            }
            if (blank != std::string::npos) {
                rest = line.substr(blank + 1);
                line.resize(line.find_last_not_of(' ', blank) + 1);
            }
            lines.push_back(std::exchange(line, std::move(rest)));
            used = DisplayWidth(line);
            blank = std::string::npos;
        }
        if (character.bytes == " ") {
            blank = line.size();
        }
        line += character.bytes;
        used += character.Width();
    }
    lines.push_back(std::move(line));
    return lines;
}

std::string Printable(std::string_view utf8)
{
    std::string out;
    out.reserve(utf8.size());
    while (!utf8.empty()) {
        const Character character = Next(utf8);
        out += MustBeShown(character) ? Escape(character) : std::string(character.bytes);
        utf8.remove_prefix(character.bytes.size());
    }
    return out;
}

std::string Trimmed(std::string_view utf8)
{
    const std::size_t first = utf8.find_first_not_of(' ');
    return first == std::string_view::npos ? std::string()
                                           : std::string(utf8.substr(first, utf8.find_last_not_of(' ') - first + 1));
}

std::string Ascii(std::string_view utf8)
{
    struct Equivalent {
        std::string_view sign;
        std::string_view ascii;
    };
    static constexpr std::array<Equivalent, 12> kEquivalents{{{"\u2026", "~"},
                                                              {"\u00B0", ""},
                                                              {"\u2581", "_"},
                                                              {"\u2582", "."},
                                                              {"\u2583", ":"},
                                                              {"\u2584", "-"},
                                                              {"\u2585", "="},
                                                              {"\u2586", "+"},
                                                              {"\u2587", "*"},
                                                              {"\u2588", "#"},
                                                              {"\u00B5", "u"},
                                                              {"\u00D7", "x"}}};
    std::string out;
    out.reserve(utf8.size());
    while (!utf8.empty()) {
        const Character character = Next(utf8);
        const auto known = std::find_if(kEquivalents.begin(), kEquivalents.end(),
                                        [&](const Equivalent& one) { return one.sign == character.bytes; });
        if (character.bytes.size() == 1) {
            out += character.bytes;
        } else {
            out += known != kEquivalents.end() ? std::string(known->ascii) : Escape(character);
        }
        utf8.remove_prefix(character.bytes.size());
    }
    return out;
}

}  // namespace orbis::host
