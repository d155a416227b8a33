#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "platform/Text.h"

// Whatever bytes come, what goes into a message is valid UTF-8: making it valid again changes nothing.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace orbis::platform;
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    std::u16string wide(size / 2, u'\0');
    std::memcpy(wide.data(), data, wide.size() * 2);
    for (const std::string& text : {ValidUtf8(bytes), DefaultToUtf8(bytes), Utf16ToUtf8(wide), Utf16ToUtf8(Utf8ToUtf16(bytes))}) {
        if (ValidUtf8(text) != text || Utf16ToUtf8(Utf8ToUtf16(text)) != text) {
            std::abort();
        }
    }
    return 0;
}
