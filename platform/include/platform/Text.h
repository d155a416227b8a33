#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/Export.h"

namespace orbis::platform {

// Text conversion as the system does it. Wide text is UTF-16 on every operating system, as on Windows.
class Text {
public:
    virtual ~Text() = default;

    // WideCharToMultiByte(CP_UTF8, 0, ...): bytes written, or needed when `outBytes` is 0; 0 on failure. A lone surrogate becomes
    // U+FFFD. A length of -1 means zero-terminated text, whose terminator is converted too.
    [[nodiscard]] virtual std::int32_t WideToUtf8(const char16_t* text, std::int32_t characters, char* out,
                                                  std::int32_t outBytes) = 0;
    // MultiByteToWideChar(CP_ACP, 0, ...): characters written, or needed when `outCharacters` is 0; 0 on failure. The system
    // default code page: Windows the active one, Linux UTF-8, a simulated machine the one of its file. Bytes that cannot be decoded
    // become a replacement character.
    [[nodiscard]] virtual std::int32_t DefaultToWide(const char* text, std::int32_t bytes, char16_t* out,
                                                     std::int32_t outCharacters) = 0;

    // The port that is in force now (see Platform::Current).
    [[nodiscard]] ORBIS_PLATFORM_EXPORT static Text& Current() noexcept;
};

// A native narrow text (system default code page) as valid UTF-8. Never fails on content; throws std::bad_alloc only.
[[nodiscard]] ORBIS_PLATFORM_EXPORT std::string DefaultToUtf8(std::string_view text);
// UTF-16 as valid UTF-8 through portable code: no platform call, for messages and logs.
[[nodiscard]] ORBIS_PLATFORM_EXPORT std::string Utf16ToUtf8(std::u16string_view text);
// UTF-8 as UTF-16; malformed sequences become U+FFFD, one for each maximal subpart.
[[nodiscard]] ORBIS_PLATFORM_EXPORT std::u16string Utf8ToUtf16(std::string_view text);
// The text itself when it is valid UTF-8, else with U+FFFD in place of each malformed maximal subpart. Zero bytes stay.
[[nodiscard]] ORBIS_PLATFORM_EXPORT std::string ValidUtf8(std::string_view text);

}  // namespace orbis::platform
