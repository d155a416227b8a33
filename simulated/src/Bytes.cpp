#include "Bytes.h"

#include <algorithm>
#include <charconv>
#include <system_error>

namespace orbis::simulated {
namespace {

// Elements of hexadecimal digits, as many as each holds; blanks are allowed between elements, not inside one.
template <class Elements>
std::optional<Elements> ParseElements(std::string_view hex)
{
    constexpr std::size_t kDigits = 2 * sizeof(typename Elements::value_type);
    for (Elements elements;;) {
        hex.remove_prefix(std::min(hex.find_first_not_of(" \n\r\t"), hex.size()));
        if (hex.empty()) {
            return elements;
        }
        std::uint32_t value = 0;
        const auto [end, error] = std::from_chars(hex.data(), hex.data() + std::min(kDigits, hex.size()), value, 16);
        if (error != std::errc() || end != hex.data() + kDigits) {
            return std::nullopt;
        }
        elements.push_back(static_cast<typename Elements::value_type>(value));
        hex.remove_prefix(kDigits);
    }
}

ByteVector HexThenRaw(std::string_view hex, std::string_view raw)
{
    ByteVector bytes = ParseHex(hex).value_or(ByteVector{});
    bytes.insert(bytes.end(), raw.begin(), raw.end());
    return bytes;
}

}  // namespace

std::optional<ByteVector> ParseHex(std::string_view hex) { return ParseElements<ByteVector>(hex); }
std::optional<std::u16string> ParseUtf16Hex(std::string_view hex) { return ParseElements<std::u16string>(hex); }

void LayOver(ByteVector& page, std::size_t offset, ByteSpan bytes)
{
    page.resize(std::max(page.size(), offset + bytes.size()));
    std::copy(bytes.begin(), bytes.end(), page.begin() + static_cast<std::ptrdiff_t>(offset));
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
