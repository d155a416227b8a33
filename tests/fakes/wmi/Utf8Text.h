#pragma once

#include <algorithm>

#include "platform/Platform.h"

namespace orbis::fakes {

// The system's text conversion with UTF-8 as its default code page, whatever this machine's is.
class Utf8Text final : public platform::Text {
public:
    std::int32_t WideToUtf8(const char16_t* text, std::int32_t characters, char* out, std::int32_t outBytes) override
    {
        return platform::Platform::System().TextPort().WideToUtf8(text, characters, out, outBytes);
    }
    std::int32_t DefaultToWide(const char* text, std::int32_t bytes, char16_t* out, std::int32_t outCharacters) override
    {
        const std::u16string wide = platform::Utf8ToUtf16({text, static_cast<std::size_t>(bytes)});
        const auto characters = static_cast<std::int32_t>(wide.size());
        if (outCharacters == 0) {
            return characters;
        }
        if (outCharacters < characters) {
            return 0;
        }
        std::ranges::copy(wide, out);
        return characters;
    }
};

}  // namespace orbis::fakes
