#include <string>
#include <string_view>
#include <vector>

#include "CommandLine.h"
#include "platform/Text.h"

// Takes the arguments in UTF-16, independent of the code page. For exceptions see main_posix.cpp.
// NOLINTNEXTLINE(bugprone-exception-escape)
int wmain(int argc, wchar_t** argv)
{
    std::vector<std::string> words;
    for (int index = 0; index < argc; ++index) {
        const std::wstring_view word(argv[index]);
        words.push_back(orbis::platform::Utf16ToUtf8(std::u16string(word.begin(), word.end())));
    }
    std::vector<const char*> texts;
    for (const std::string& word : words) {
        texts.push_back(word.c_str());
    }
    return orbis::host::RunProgram(argc, texts.data());
}
