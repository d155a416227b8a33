#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace orbis::insight {

// The 128-bit counters of NVMe, exactly. The Microsoft compiler has no integer type of this width.
struct Unsigned128 {
    std::uint64_t high = 0;
    std::uint64_t low = 0;

    [[nodiscard]] static constexpr Unsigned128 FromLittleEndian(std::span<const std::uint8_t, 16> bytes) noexcept
    {
        Unsigned128 value;
        for (std::size_t at = 16; at-- > 0;) {
            value.high = value.high << 8U | value.low >> 56U;
            value.low = value.low << 8U | bytes[at];
        }
        return value;
    }
    // Reads decimal digits; empty when there is another character, no digit, or the number is too large.
    [[nodiscard]] static constexpr std::optional<Unsigned128> FromDecimal(std::string_view text) noexcept
    {
        if (text.empty()) {
            return std::nullopt;
        }
        Unsigned128 value;
        for (const char character : text) {
            if (character < '0' || character > '9' || !value.TimesTenPlus(static_cast<std::uint32_t>(character - '0'))) {
                return std::nullopt;
            }
        }
        return value;
    }

    [[nodiscard]] std::string ToDecimal() const
    {
        std::string reversed;
        Unsigned128 rest = *this;
        do {
            reversed.push_back(static_cast<char>('0' + rest.DivideByTen()));
        } while (rest != Unsigned128{});
        return {reversed.rbegin(), reversed.rend()};
    }

    // Modulo 2^128.
    friend constexpr Unsigned128 operator-(const Unsigned128& left, const Unsigned128& right) noexcept
    {
        return {left.high - right.high - (left.low < right.low ? 1U : 0U), left.low - right.low};
    }
    friend constexpr auto operator<=>(const Unsigned128&, const Unsigned128&) = default;

private:
    // 32 bits at a time, so that each step fits into 64.
    constexpr std::uint32_t DivideByTen() noexcept
    {
        std::uint64_t remainder = 0;
        const auto step = [&remainder](std::uint64_t part) {
            const std::uint64_t value = remainder << 32U | part;
            remainder = value % 10;
            return value / 10;
        };
        const std::uint64_t top = step(high >> 32U);
        high = top << 32U | step(high & 0xFFFFFFFFU);
        const std::uint64_t middle = step(low >> 32U);
        low = middle << 32U | step(low & 0xFFFFFFFFU);
        return static_cast<std::uint32_t>(remainder);
    }
    constexpr bool TimesTenPlus(std::uint32_t digit) noexcept
    {
        std::uint64_t carry = digit;
        const auto step = [&carry](std::uint64_t part) {
            const std::uint64_t value = part * 10 + carry;
            carry = value >> 32U;
            return value & 0xFFFFFFFFU;
        };
        const std::uint64_t bottom = step(low & 0xFFFFFFFFU);
        low = step(low >> 32U) << 32U | bottom;
        const std::uint64_t middle = step(high & 0xFFFFFFFFU);
        high = step(high >> 32U) << 32U | middle;
        return carry == 0;
    }
};

}  // namespace orbis::insight
