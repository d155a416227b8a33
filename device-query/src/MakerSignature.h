#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <numeric>
#include <string_view>

namespace veyra::sondix::maker {

// The header of both of the maker's layouts: an 8-byte signature, the version (16 bits, little-endian), the length of the layout,
// and a byte that makes the sum of the `Length` bytes a multiple of 256, as in SMBIOS and ACPI tables.
template <std::size_t Length, std::size_t Size>
[[nodiscard]] bool HasSignature(const std::array<std::uint8_t, Size>& page, std::string_view signature,
                                std::uint16_t version) noexcept
{
    static_assert(12 <= Length && Length <= Size && Length <= 0xFF);
    const auto isSignature =
        std::equal(signature.begin(), signature.end(), page.begin(), page.begin() + 8,
                   [](char expected, std::uint8_t byte) { return static_cast<std::uint8_t>(expected) == byte; });
    const auto sum = std::accumulate(page.begin(), page.begin() + Length, 0U);
    return isSignature && (page[8] | page[9] << 8) == version && page[10] == Length && sum % 256 == 0;
}

}  // namespace veyra::sondix::maker
