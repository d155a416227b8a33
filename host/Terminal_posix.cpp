#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "Terminal.h"

namespace orbis::host {

void RestrictLibrarySearch() {}  // the program names its libraries' folder by its run path

bool OutputIsTerminal() { return ::isatty(STDOUT_FILENO) == 1; }

TerminalSize GetTerminalSize()
{
    winsize size{};
    if (::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 && size.ws_row > 0) {
        return {size.ws_col, size.ws_row};
    }
    return {};
}

void PrepareOutput(bool /*binary*/) {}

std::filesystem::path ProgramFolder()
{
    std::error_code error;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
    return error ? std::filesystem::path(".") : program.parent_path();
}

std::filesystem::path PluginFileName(const char* name) { return std::string(name) + ".so"; }

const char* MoreRightsAdvice()
{
    return ::geteuid() == 0 ? "run orbis-host where root may open disks (this looks like a container or a sandbox)"
                            : "run orbis-host as root (sudo orbis-host ...)";
}

}  // namespace orbis::host
