#include "StorageHelper.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <string_view>

namespace Veyra::Orbis::Plugins {
namespace {

bool IsNotZero(char character) { return character != '\0'; }
// Like isspace in the "C" locale; independent of the process's locale.
bool IsNotSpace(char character) { return std::string_view{" \t\n\v\f\r"}.find(character) == std::string_view::npos; }
bool IsNotBackspace(char character) { return character != '\b'; }

// The text from the first kept character to the last one.
template <bool (*keep)(char)>
std::string_view TrimEnds(std::string_view text)
{
    const auto first = std::find_if(text.begin(), text.end(), keep);
    const auto end = std::find_if(text.rbegin(), std::make_reverse_iterator(first), keep).base();
    return text.substr(static_cast<std::size_t>(first - text.begin()), static_cast<std::size_t>(end - first));
}

}  // namespace

std::string StorageHelper::TrimZeros(const std::string& text) { return std::string{TrimEnds<IsNotZero>(text)}; }

std::string StorageHelper::TrimSpace(const std::string& text) { return std::string{TrimEnds<IsNotSpace>(text)}; }

std::string StorageHelper::TrimInvalidChar(const std::string& text) { return std::string{TrimEnds<IsNotBackspace>(text)}; }

std::string StorageHelper::Trim(const std::string& text)
{
    // The order matters: white space before a backspace at the end is not removed.
    return std::string{TrimEnds<IsNotBackspace>(TrimEnds<IsNotSpace>(TrimEnds<IsNotZero>(text)))};
}

std::string StorageHelper::RawBufferToByteString(const std::uint8_t* buffer, std::int32_t length)
{
    return length > 0 ? std::string(reinterpret_cast<const char*>(buffer), static_cast<std::size_t>(length)) : std::string{};
}

}  // namespace Veyra::Orbis::Plugins
