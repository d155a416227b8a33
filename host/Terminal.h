#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>
#include <string_view>

#include "Style.h"

// The host's calls to the operating system; implemented in Terminal_posix.cpp and Terminal_windows.cpp.
namespace orbis::host {

// Must be called first: from now on libraries are loaded only from this program's folder and the system's, never from the current
// folder or PATH. On POSIX the run path does this, unless the environment overrides it.
void RestrictLibrarySearch();

// Must be called before any file is opened. A standard stream that the caller has closed cannot become another file, and writing to
// a closed standard output is an error. When the reader of a pipe closes it, writing fails but this program does not end. Results
// are the same bytes on every system, and a console shows UTF-8 until this program ends.
void PrepareStandardStreams();

// True when standard output is a terminal (and not a file or a pipe).
[[nodiscard]] bool OutputIsTerminal();
// The same of standard error.
[[nodiscard]] bool ErrorIsTerminal();
// Columns of that terminal; 80 when they are not known.
[[nodiscard]] std::size_t TerminalColumns();
// Writes all of `text`, which is UTF-8, to standard output or standard error without buffering. False with `errno` when it could
// not be written.
[[nodiscard]] bool WriteAll(std::FILE* stream, std::string_view text);
// Whether the locale's encoding is UTF-8.
[[nodiscard]] bool LocaleIsUtf8();
// What standard output and the environment (TERM, NO_COLOR, the locale) allow.
[[nodiscard]] Style GetOutputStyle();
// Settings of the environment for every stream: no overwritten lines; no colours; ASCII only.
[[nodiscard]] bool WantsNoRedraw();
[[nodiscard]] bool WantsNoColour();
[[nodiscard]] bool WantsAscii();
// The folder of this program and its libraries.
[[nodiscard]] std::filesystem::path ProgramFolder();
// File name of a plug-in: "X.so" or "X.dll".
[[nodiscard]] std::filesystem::path PluginFileName(const char* name);
// The name of this computer on its network.
[[nodiscard]] std::string ComputerName();
// Operating system and version, for example "Linux 6.1.0 x86_64".
[[nodiscard]] std::string SystemName();
// The system's default code page.
[[nodiscard]] std::uint32_t DefaultCodePage();
// Whether this program may open every disk.
[[nodiscard]] bool IsElevated();
// A short advice on how to run with more rights here.
[[nodiscard]] const char* MoreRightsAdvice();

}  // namespace orbis::host
