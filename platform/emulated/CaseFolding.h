#pragma once

#include <algorithm>
#include <string>
#include <string_view>

// Names that Windows compares without regard to case. Only ASCII letters are folded: names of classes, properties, namespaces,
// counters and devices have no others.
namespace orbis::platform::emulated {

template <typename Character>
[[nodiscard]] constexpr Character LowerAscii(Character character) noexcept
{
    return character >= 'A' && character <= 'Z' ? static_cast<Character>(character - 'A' + 'a') : character;
}

[[nodiscard]] constexpr char UpperAscii(char character) noexcept
{
    return character >= 'a' && character <= 'z' ? static_cast<char>(character - 'a' + 'A') : character;
}

[[nodiscard]] inline std::string UpperAscii(std::string text)
{
    std::ranges::transform(text, text.begin(), [](char character) { return UpperAscii(character); });
    return text;
}

template <typename Character>
[[nodiscard]] std::basic_string<Character> LowerAscii(std::basic_string<Character> text)
{
    std::ranges::transform(text, text.begin(), [](Character character) { return LowerAscii(character); });
    return text;
}

namespace detail {
template <typename Character>
[[nodiscard]] bool EqualFolded(std::basic_string_view<Character> left, std::basic_string_view<Character> right) noexcept
{
    return std::ranges::equal(left, right, [](Character a, Character b) { return LowerAscii(a) == LowerAscii(b); });
}
}  // namespace detail

[[nodiscard]] inline bool EqualIgnoreCase(std::string_view left, std::string_view right) noexcept
{
    return detail::EqualFolded(left, right);
}
[[nodiscard]] inline bool EqualIgnoreCase(std::u16string_view left, std::u16string_view right) noexcept
{
    return detail::EqualFolded(left, right);
}

}  // namespace orbis::platform::emulated
