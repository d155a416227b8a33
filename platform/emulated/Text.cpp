#include "emulated/Text.h"

#include <algorithm>
#include <limits>
#include <string>

#include "emulated/LastError.h"
#include "platform/Errors.h"

namespace orbis::platform::emulated {
namespace {

// The rules that both directions share: a length of -1 means zero-terminated, with the terminator converted too; an output size of
// 0 asks for the size; too small an output is an error.
template <typename In, typename Out, typename Convert>
std::int32_t ConvertInto(const In* text, std::int32_t length, Out* out, std::int32_t outSize, const Convert& convert)
{
    if (text == nullptr || length == 0 || length < -1 || outSize < 0 || (out == nullptr && outSize != 0)) {
        return FailWith(win32::kInvalidParameter, 0);
    }
    const std::basic_string_view<In> view = length == -1 ? std::basic_string_view<In>(text, std::char_traits<In>::length(text) + 1)
                                                         : std::basic_string_view<In>(text, static_cast<std::size_t>(length));
    const std::basic_string<Out> converted = convert(view);
    if (converted.size() > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max())) {
        return FailWith(win32::kInvalidParameter, 0);
    }
    const auto needed = static_cast<std::int32_t>(converted.size());
    if (outSize == 0) {
        return needed;
    }
    if (outSize < needed) {
        return FailWith(win32::kInsufficientBuffer, 0);
    }
    std::ranges::copy(converted, out);
    return needed;
}

}  // namespace

std::int32_t Text::WideToUtf8(const char16_t* text, std::int32_t characters, char* out, std::int32_t outBytes)
{
    return ConvertInto(text, characters, out, outBytes, Utf16ToUtf8);
}

std::int32_t Text::DefaultToWide(const char* text, std::int32_t bytes, char16_t* out, std::int32_t outCharacters)
{
    return ConvertInto(text, bytes, out, outCharacters, m_Decode);
}

}  // namespace orbis::platform::emulated
