#include "WindowsText.h"

#include "WindowsHeaders.h"

namespace orbis::platform {

std::int32_t WindowsText::WideToUtf8(const char16_t* text, std::int32_t characters, char* out, std::int32_t outBytes)
{
    return ::WideCharToMultiByte(CP_UTF8, 0, AsWide(text), characters, out, outBytes, nullptr, nullptr);
}

std::int32_t WindowsText::DefaultToWide(const char* text, std::int32_t bytes, char16_t* out, std::int32_t outCharacters)
{
    return ::MultiByteToWideChar(CP_ACP, 0, text, bytes, AsWide(out), outCharacters);
}

}  // namespace orbis::platform
