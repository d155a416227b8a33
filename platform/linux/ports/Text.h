#pragma once

#include "platform/Text.h"

namespace orbis::platform {

// Text on Linux: the system default code page is UTF-8, whatever the locale.
class LinuxText final : public Text {
public:
    std::int32_t WideToUtf8(const char16_t* text, std::int32_t characters, char* out, std::int32_t outBytes) override;
    std::int32_t DefaultToWide(const char* text, std::int32_t bytes, char16_t* out, std::int32_t outCharacters) override;
};

}  // namespace orbis::platform
