#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace Veyra::Orbis::Cpp::Common {

// UTF-16 as UTF-8, converted by the system. Throws ResultException when the text is longer than the system's conversion takes, or
// when the conversion fails.
[[nodiscard]] std::string WideToUtf8(std::u16string_view text);

// A zero-terminated decimal text, read in the same way as by _wtoi64: white space, one sign, digits up to the first other
// character. Without digits 0; beyond the range of 64 bits the nearest value.
[[nodiscard]] std::int64_t WideToInt64(const char16_t* text) noexcept;

}  // namespace Veyra::Orbis::Cpp::Common
