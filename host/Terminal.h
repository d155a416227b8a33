#pragma once

#include <cstddef>
#include <filesystem>

// What the host asks of the operating system around it; one implementation each in Terminal_posix.cpp and Terminal_windows.cpp.
namespace orbis::host {

// To be called before anything else: from here on libraries are loaded from this program's folder and the system's only, never from
// the current folder or PATH, where the system makes a difference.
void RestrictLibrarySearch();

// True when standard output is a terminal (and not a file or a pipe).
[[nodiscard]] bool OutputIsTerminal();
// Columns and rows of that terminal; 80 and 24 when it does not say.
struct TerminalSize {
    std::size_t columns = 80;
    std::size_t rows = 24;
};
[[nodiscard]] TerminalSize GetTerminalSize();
// Puts standard output into binary mode where the system makes a difference, and into UTF-8 where it is a console.
void PrepareOutput(bool binary);
// The folder that holds this program, where its libraries stand too.
[[nodiscard]] std::filesystem::path ProgramFolder();
// File name of a plug-in: "X.so" or "X.dll".
[[nodiscard]] std::filesystem::path PluginFileName(const char* name);
// A short advice on how to run with more rights here.
[[nodiscard]] const char* MoreRightsAdvice();

}  // namespace orbis::host
