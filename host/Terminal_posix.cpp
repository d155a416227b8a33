#include <fcntl.h>
#include <langinfo.h>
#include <locale.h>
#include <sys/ioctl.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <string>

#include "Terminal.h"

namespace orbis::host {

void RestrictLibrarySearch() {}  // the run path of the program names the folder of its libraries

bool OutputIsTerminal() { return ::isatty(STDOUT_FILENO) == 1; }
bool ErrorIsTerminal() { return ::isatty(STDERR_FILENO) == 1; }

std::size_t TerminalColumns()
{
    winsize size{};
    return ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

void PrepareStandardStreams()
{
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (::fcntl(stream, F_GETFD) == -1 && errno == EBADF) {
            // open() returns the lowest free descriptor, which is this one. Standard output is opened for reading, so that writing
            // fails.
            (void)::open("/dev/null", stream == STDERR_FILENO ? O_WRONLY : O_RDONLY);  // NOLINT(cppcoreguidelines-pro-type-vararg)
        }
    }
    (void)std::signal(SIGPIPE, SIG_IGN);
}

bool WriteAll(std::FILE* stream, std::string_view text)
{
    errno = 0;
    return std::fwrite(text.data(), 1, text.size(), stream) == text.size() && std::fflush(stream) == 0;
}

bool LocaleIsUtf8()
{
    // The program's own locale stays "C": numbers are written one way everywhere.
    const locale_t locale = ::newlocale(LC_CTYPE_MASK, "", nullptr);
    if (locale == nullptr) {
        return false;
    }
    const bool isUtf8 = std::strcmp(::nl_langinfo_l(CODESET, locale), "UTF-8") == 0;
    ::freelocale(locale);
    return isUtf8;
}

std::filesystem::path ProgramFolder()
{
    std::error_code error;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
    return error ? std::filesystem::path(".") : program.parent_path();
}

std::filesystem::path PluginFileName(const char* name) { return std::string(name) + ".so"; }

std::string ComputerName()
{
    std::string name(256, '\0');  // HOST_NAME_MAX is 64 here
    return ::gethostname(name.data(), name.size() - 1) == 0 ? name.substr(0, name.find('\0')) : std::string();
}

std::string SystemName()
{
    utsname name{};
    return ::uname(&name) == 0 ? std::string(name.sysname) + ' ' + name.release + ' ' + name.machine : "unknown";
}

std::uint32_t DefaultCodePage() { return 65001; }  // UTF-8

bool IsElevated() { return ::geteuid() == 0; }

const char* MoreRightsAdvice()
{
    return IsElevated() ? "to see everything, run orbis-host where root may open disks (this looks like a container or a sandbox)"
                        : "to see everything, run orbis-host as root (sudo orbis-host ...)";
}

}  // namespace orbis::host
