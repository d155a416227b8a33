#include "Common/WideText.h"

#include <algorithm>
#include <array>
#include <limits>

#include "Common/ResultException.h"
#include "platform/Text.h"

namespace Veyra::Orbis::Cpp::Common {
namespace {

constexpr std::string_view kWideTextUnit = R"(cpp\Common\src\WideText)";
constexpr std::uint32_t kArithmeticOverflow = 534;  // ERROR_ARITHMETIC_OVERFLOW

std::int32_t NarrowLength(std::size_t length, std::int32_t line)
{
    if (length > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max())) {
        ThrowWin32(kArithmeticOverflow, kWideTextUnit, line);
    }
    return static_cast<std::int32_t>(length);
}

std::int32_t ThrowIfNothing(std::int32_t bytes, std::int32_t line)
{
    if (bytes <= 0) {
        throw ResultException(orbis::platform::hresult::kUnexpected, kWideTextUnit, line);
    }
    return bytes;
}

// The white space of the Microsoft C library's iswspace.
constexpr bool IsSpace(char16_t c) noexcept
{
    return (c >= 0x09 && c <= 0x0D) || c == 0x20 || c == 0x85 || c == 0xA0 || c == 0x1680 || (c >= 0x2000 && c <= 0x200A) ||
           c == 0x2028 || c == 0x2029 || c == 0x202F || c == 0x205F || c == 0x3000;
}

// The number parser of the Microsoft C library also accepts the decimal digits of other scripts, so a provider that sends them is
// read as on Windows. These are their zeros.
constexpr std::array<char16_t, 17> kZeros{0x0030, 0x0660, 0x06F0, 0x0966, 0x09E6, 0x0A66, 0x0AE6, 0x0B66, 0x0C66,
                                          0x0CE6, 0x0D66, 0x0E50, 0x0ED0, 0x0F20, 0x1040, 0x17E0, 0x1810};
constexpr char16_t kFullWidthZero = 0xFF10;

// 0 to 9, or -1.
int DigitOf(char16_t c) noexcept
{
    const auto isDigitOf = [c](char16_t zero) { return c >= zero && c < zero + 10; };
    if (isDigitOf(kFullWidthZero)) {
        return c - kFullWidthZero;
    }
    const auto zero = std::ranges::find_if(kZeros, isDigitOf);
    return zero != kZeros.end() ? c - *zero : -1;
}

}  // namespace

std::string WideToUtf8(std::u16string_view text)
{
    if (text.empty()) {
        return {};
    }
    auto& port = orbis::platform::Text::Current();
    const std::int32_t characters = NarrowLength(text.size(), __LINE__);
    const std::int32_t bytes = ThrowIfNothing(port.WideToUtf8(text.data(), characters, nullptr, 0), __LINE__);
    std::string utf8(static_cast<std::size_t>(bytes), '\0');
    const std::int32_t written = ThrowIfNothing(port.WideToUtf8(text.data(), characters, utf8.data(), bytes), __LINE__);
    utf8.resize(static_cast<std::size_t>(std::min(written, bytes)));
    return utf8;
}

std::int64_t WideToInt64(const char16_t* text) noexcept
{
    while (IsSpace(*text)) {
        ++text;
    }
    const bool negative = *text == u'-';
    if (*text == u'-' || *text == u'+') {
        ++text;
    }
    constexpr auto kMax = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    const std::uint64_t limit = negative ? kMax + 1 : kMax;
    std::uint64_t magnitude = 0;
    for (int digit = DigitOf(*text); digit >= 0; digit = DigitOf(*++text)) {
        const auto value = static_cast<std::uint64_t>(digit);
        magnitude = magnitude > (limit - value) / 10 ? limit : magnitude * 10 + value;
    }
    return static_cast<std::int64_t>(negative ? 0 - magnitude : magnitude);
}

}  // namespace Veyra::Orbis::Cpp::Common
