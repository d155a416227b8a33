#pragma once

#include "platform/Text.h"

namespace orbis::platform::linux_system {

// Text on Linux: the system default code page is UTF-8, whatever the locale.
class Text final : public platform::Text {
public:
    std::int32_t WideToUtf8(const char16_t* text, std::int32_t characters, char* out, std::int32_t outBytes) override;
    std::int32_t DefaultToWide(const char* text, std::int32_t bytes, char16_t* out, std::int32_t outCharacters) override;
};

}  // namespace orbis::platform::linux_system
