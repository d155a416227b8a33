#include <windows.h>

#include <algorithm>
#include <iterator>
#include <string>

#include "DynamicLibrary.h"
#include "HostBorder/PluginHost.h"
#include "TextOf.h"

namespace orbis::border {
namespace {

// The system's text of an error and its number: "The specified module could not be found (Windows error 126)".
std::string TextOfError(DWORD error)
{
    constexpr DWORD kOneLine = FORMAT_MESSAGE_MAX_WIDTH_MASK;
    wchar_t wide[512];
    const DWORD length = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS | kOneLine, nullptr, error, 0,
                                        wide, static_cast<DWORD>(std::size(wide)), nullptr);
    std::string text(3 * std::size_t{length}, '\0');  // UTF-8 takes at most three bytes for each UTF-16 unit
    const int bytes = length == 0 ? 0
                                  : WideCharToMultiByte(CP_UTF8, 0, wide, static_cast<int>(length), text.data(),
                                                        static_cast<int>(text.size()), nullptr, nullptr);
    text.resize(static_cast<std::size_t>(std::max(bytes, 0)));
    text.resize(text.find_last_not_of(". \r\n") + 1);
    const std::string number = "Windows error " + std::to_string(error);
    return text.empty() ? number : text + " (" + number + ")";
}

}  // namespace

// Dependencies of the plug-in are searched for in its own folder and the system's, not in the current folder or PATH.
DynamicLibrary::DynamicLibrary(const std::filesystem::path& absolutePath)
    : m_Handle(LoadLibraryExW(absolutePath.c_str(), nullptr, LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_SYSTEM32))
{
    if (m_Handle == nullptr) {
        const DWORD error = GetLastError();
        throw PluginLoadError("cannot load " + TextOf(absolutePath) + ": " + TextOfError(error));
    }
}

void* DynamicLibrary::Find(const char* name) const noexcept
{
    return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(m_Handle), name));
}

}  // namespace orbis::border
