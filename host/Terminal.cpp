#include "Terminal.h"

#include <cstdlib>
#include <string_view>

namespace orbis::host {
namespace {

std::string_view Environment(const char* name)
{
    const char* value = std::getenv(name);
    return value == nullptr ? std::string_view() : std::string_view(value);
}

}  // namespace

bool WantsNoRedraw() { return Environment("TERM") == "dumb"; }

// https://no-color.org: present with any value that is not empty.
bool WantsNoColour() { return !Environment("NO_COLOR").empty() || Environment("TERM") == "dumb"; }

bool WantsAscii() { return Environment("TERM") == "dumb" || !LocaleIsUtf8(); }

Style GetOutputStyle()
{
    const bool isTerminal = OutputIsTerminal();
    Style style;
    style.width = isTerminal ? TerminalColumns() : 0;
    style.isAscii = WantsAscii();
    style.hasColour = isTerminal && !WantsNoColour();
    style.canRedraw = isTerminal && !WantsNoRedraw();
    return style;
}

}  // namespace orbis::host
