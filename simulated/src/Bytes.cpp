#include "Bytes.h"

#include <fmt/format.h>

#include <algorithm>

namespace orbis::simulated {
namespace {

bool IsBlank(char c) { return c == ' ' || c == '\n' || c == '\r' || c == '\t'; }

std::optional<unsigned> HexDigit(char c)
{
    if (c >= '0' && c <= '9') {
        return static_cast<unsigned>(c - '0');
    }
    if (c >= 'a' && c <= 'f') {
        return static_cast<unsigned>(c - 'a') + 10;
    }
    if (c >= 'A' && c <= 'F') {
        return static_cast<unsigned>(c - 'A') + 10;
    }
    return std::nullopt;
}

// Values of groups of `width` hexadecimal digits; blanks may stand between groups, not inside one.
std::optional<std::vector<std::uint32_t>> ParseGroups(std::string_view hex, std::size_t width)
{
    std::vector<std::uint32_t> groups;
    for (std::size_t at = 0; at < hex.size();) {
        if (IsBlank(hex[at])) {
            ++at;
            continue;
        }
        std::uint32_t value = 0;
        for (std::size_t i = 0; i < width; ++i, ++at) {
            const std::optional<unsigned> digit = at < hex.size() ? HexDigit(hex[at]) : std::nullopt;
            if (!digit) {
                return std::nullopt;
            }
            value = value << 4 | *digit;
        }
        groups.push_back(value);
    }
    return groups;
}

void LayOver(ByteVector& page, std::size_t offset, ByteSpan bytes)
{
    if (page.size() < offset + bytes.size()) {
        page.resize(offset + bytes.size());
    }
    std::copy(bytes.begin(), bytes.end(), page.begin() + static_cast<std::ptrdiff_t>(offset));
}

ByteVector HexThenRaw(std::string_view hex, std::string_view raw)
{
    ByteVector bytes = ParseHex(hex).value_or(ByteVector{});
    bytes.insert(bytes.end(), raw.begin(), raw.end());
    return bytes;
}

}  // namespace

std::optional<ByteVector> ParseHex(std::string_view hex)
{
    const auto groups = ParseGroups(hex, 2);
    if (!groups) {
        return std::nullopt;
    }
    ByteVector bytes;
    bytes.reserve(groups->size());
    std::transform(groups->begin(), groups->end(), std::back_inserter(bytes),
                   [](auto group) { return static_cast<std::uint8_t>(group); });
    return bytes;
}

std::optional<std::u16string> ParseUtf16Hex(std::string_view hex)
{
    const auto groups = ParseGroups(hex, 4);
    if (!groups) {
        return std::nullopt;
    }
    std::u16string text;
    std::transform(groups->begin(), groups->end(), std::back_inserter(text),
                   [](auto group) { return static_cast<char16_t>(group); });
    return text;
}

void ApplyPatches(ByteVector& page, const Patches& patches)
{
    for (const description::Patch& patch : patches) {
        LayOver(page, patch.offset(), HexThenRaw(patch.hex(), patch.raw()));
    }
}

ByteVector ToBytes(const description::Bytes& bytes)
{
    ByteVector result = HexThenRaw(bytes.hex(), bytes.raw());
    if (bytes.has_size()) {
        result.resize(bytes.size());
    }
    ApplyPatches(result, bytes.patch());
    return result;
}

PageWriter& PageWriter::PutText(std::size_t offset, std::size_t width, std::string_view text, char padding)
{
    for (std::size_t i = 0; i < width; ++i) {
        m_Page.at(offset + i) = static_cast<std::uint8_t>(i < text.size() ? text[i] : padding);
    }
    return *this;
}

PageWriter& PageWriter::PutAtaText(std::size_t offset, std::size_t width, std::string_view text)
{
    PutText(offset, width, text);
    for (std::size_t i = offset; i + 1 < offset + width; i += 2) {
        std::swap(m_Page.at(i), m_Page.at(i + 1));
    }
    return *this;
}

PageWriter& PageWriter::PutBytes(std::size_t offset, ByteSpan bytes)
{
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        m_Page.at(offset + i) = bytes[i];
    }
    return *this;
}

PageWriter& PageWriter::Put(std::size_t offset, std::size_t width, std::uint64_t value)
{
    for (std::size_t i = 0; i < width; ++i) {
        m_Page.at(offset + i) = static_cast<std::uint8_t>(value >> (8 * i));
    }
    return *this;
}

}  // namespace orbis::simulated
