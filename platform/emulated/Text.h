#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

#include "platform/Text.h"

namespace orbis::platform::emulated {

// WideCharToMultiByte and MultiByteToWideChar over a way to decode the default code page, which never fails.
class Text final : public platform::Text {
public:
    using Decode = std::function<std::u16string(std::string_view text)>;

    explicit Text(Decode decode) : m_Decode(std::move(decode)) {}

    std::int32_t WideToUtf8(const char16_t* text, std::int32_t characters, char* out, std::int32_t outBytes) override;
    std::int32_t DefaultToWide(const char* text, std::int32_t bytes, char16_t* out, std::int32_t outCharacters) override;

private:
    const Decode m_Decode;
};

}  // namespace orbis::platform::emulated
