#include <cstring>
#include <string>

#include "Targets.h"
#include "platform/Text.h"

// From any bytes, the text that goes into a message is valid UTF-8: converting it a second time changes nothing.
void orbis::fuzz::Text(Bytes input)
{
    using namespace orbis::platform;
    const std::string bytes(input.begin(), input.end());
    std::u16string wide(input.size() / 2, u'\0');
    std::memcpy(wide.data(), bytes.data(), wide.size() * 2);
    for (const std::string& text : {ValidUtf8(bytes), DefaultToUtf8(bytes), Utf16ToUtf8(wide), Utf16ToUtf8(Utf8ToUtf16(bytes))}) {
        Require(ValidUtf8(text) == text, "a text stays as it was made valid");
        Require(Utf16ToUtf8(Utf8ToUtf16(text)) == text, "a valid text goes through UTF-16 and back");
    }
}
