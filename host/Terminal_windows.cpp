#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <string>

#include "Terminal.h"
#include "platform/Text.h"

namespace orbis::host {
namespace {

// Sets the console to UTF-8 and escape sequences, and restores it when this program ends in an orderly way, because a console
// outlives its programs, and others rely on their code page.
class ConsoleInUtf8 {
public:
    ConsoleInUtf8()
        : m_CodePage(::GetConsoleOutputCP()), m_Output(::GetStdHandle(OutputIsTerminal() ? STD_OUTPUT_HANDLE : STD_ERROR_HANDLE))
    {
        ::SetConsoleOutputCP(CP_UTF8);
        m_HasMode = ::GetConsoleMode(m_Output, &m_Mode) != 0 &&
                    ::SetConsoleMode(m_Output, m_Mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING) != 0;
        ::SetConsoleCtrlHandler(RestoreWhenInterrupted, TRUE);
    }
    ConsoleInUtf8(const ConsoleInUtf8&) = delete;
    ConsoleInUtf8& operator=(const ConsoleInUtf8&) = delete;
    ~ConsoleInUtf8() { Restore(); }

    static ConsoleInUtf8& Instance()
    {
        static ConsoleInUtf8 console;
        return console;
    }

private:
    static BOOL WINAPI RestoreWhenInterrupted(DWORD /*event*/)
    {
        Instance().Restore();
        return FALSE;  // the next handler decides whether the program ends
    }

    void Restore() const
    {
        ::SetConsoleOutputCP(m_CodePage);
        if (m_HasMode) {
            ::SetConsoleMode(m_Output, m_Mode);
        }
    }

    UINT m_CodePage;
    HANDLE m_Output;
    DWORD m_Mode = 0;
    bool m_HasMode = false;
};

}  // namespace

void RestrictLibrarySearch() { ::SetDefaultDllDirectories(LOAD_LIBRARY_SEARCH_APPLICATION_DIR | LOAD_LIBRARY_SEARCH_SYSTEM32); }

bool OutputIsTerminal()
{
    DWORD mode = 0;
    return ::GetConsoleMode(::GetStdHandle(STD_OUTPUT_HANDLE), &mode) != 0;
}

bool ErrorIsTerminal()
{
    DWORD mode = 0;
    return ::GetConsoleMode(::GetStdHandle(STD_ERROR_HANDLE), &mode) != 0;
}

std::size_t TerminalColumns()
{
    CONSOLE_SCREEN_BUFFER_INFO info{};
    if (::GetConsoleScreenBufferInfo(::GetStdHandle(STD_OUTPUT_HANDLE), &info) != 0) {
        return static_cast<std::size_t>(info.srWindow.Right - info.srWindow.Left + 1);
    }
    return 80;
}

// On Windows a closed stream has no handle that could be reused, and a closed pipe does not end a program.
void PrepareStandardStreams()
{
    // No carriage returns are added and no characters converted, so results are the same bytes on every system.
    (void)::_setmode(::_fileno(stdout), _O_BINARY);
    (void)::_setmode(::_fileno(stderr), _O_BINARY);
    if (OutputIsTerminal() || ErrorIsTerminal()) {
        static_cast<void>(ConsoleInUtf8::Instance());
    }
}

bool WriteAll(std::FILE* stream, std::string_view text)
{
    errno = 0;
    const HANDLE console = ::GetStdHandle(stream == stdout ? STD_OUTPUT_HANDLE : STD_ERROR_HANDLE);
    DWORD mode = 0;
    if (::GetConsoleMode(console, &mode) == 0) {
        return std::fwrite(text.data(), 1, text.size(), stream) == text.size() && std::fflush(stream) == 0;
    }
    // A console takes characters; a write that ends in the middle of one would show something else.
    const std::u16string wide = platform::Utf8ToUtf16(text);
    constexpr std::size_t kMost = 8192;  // consoles before Windows 8 accept at most 64 KB at once
    for (std::size_t at = 0; at < wide.size();) {
        DWORD written = 0;
        const auto count = static_cast<DWORD>(std::min(wide.size() - at, kMost));
        if (::WriteConsoleW(console, wide.data() + at, count, &written, nullptr) == 0 || written == 0) {
            return false;
        }
        at += written;
    }
    return true;
}

bool LocaleIsUtf8() { return true; }  // consoles are set to UTF-8, and files are written in it

std::filesystem::path ProgramFolder()
{
    std::wstring path(MAX_PATH, L'\0');
    for (;;) {
        const DWORD length = ::GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
        if (length == 0) {
            return ".";
        }
        if (length < path.size()) {
            path.resize(length);
            return std::filesystem::path(path).parent_path();
        }
        path.resize(path.size() * 2);
    }
}

std::filesystem::path PluginFileName(const char* name) { return std::string(name) + ".dll"; }

std::string ComputerName()
{
    DWORD size = 0;
    ::GetComputerNameExW(ComputerNameDnsHostname, nullptr, &size);
    std::wstring name(size, L'\0');
    if (size == 0 || ::GetComputerNameExW(ComputerNameDnsHostname, name.data(), &size) == 0) {
        return {};
    }
    name.resize(size);
    const std::u8string text = std::filesystem::path(name).u8string();
    return {text.begin(), text.end()};
}

std::string SystemName()
{
    OSVERSIONINFOW version{};
    version.dwOSVersionInfoSize = sizeof(version);
    // GetVersionEx reports the version that the program's manifest declares; RtlGetVersion reports the real one.
    using GetVersion = LONG(WINAPI*)(OSVERSIONINFOW*);
    const auto get =
        reinterpret_cast<GetVersion>(reinterpret_cast<void*>(::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "RtlGetVersion")));
    if (get == nullptr || get(&version) != 0) {
        return "Windows";
    }
    return "Windows " + std::to_string(version.dwMajorVersion) + '.' + std::to_string(version.dwMinorVersion) + '.' +
           std::to_string(version.dwBuildNumber);
}

std::uint32_t DefaultCodePage() { return ::GetACP(); }

bool IsElevated()
{
    HANDLE token = nullptr;
    if (::OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY, &token) == 0) {
        return false;
    }
    TOKEN_ELEVATION elevation{};
    DWORD size = 0;
    const bool isKnown = ::GetTokenInformation(token, TokenElevation, &elevation, sizeof(elevation), &size) != 0;
    ::CloseHandle(token);
    return isKnown && elevation.TokenIsElevated != 0;
}

const char* MoreRightsAdvice() { return "to see everything, run orbis-host from an elevated prompt (Run as administrator)"; }

}  // namespace orbis::host
