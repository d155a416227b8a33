#include "Say.h"

#include <algorithm>
#include <cstdio>
#include <string>

#include "Progress.h"
#include "Supervised.h"
#include "Terminal.h"
#include "Text.h"

namespace orbis::host {
namespace {

void Put(std::string_view before, std::string_view text)
{
    static const bool isAscii = WantsAscii();
    std::string lines;
    for (std::size_t at = 0; at <= text.size();) {
        const std::size_t end = std::min(text.find('\n', at), text.size());
        const std::string line = Printable(text.substr(at, end - at));
        lines += (isAscii ? Ascii(line) : line) + '\n';
        at = end + 1;
    }
    // In one piece, so that lines of several threads or programs do not mix.
    ClearProgress();
    WriteError(std::string(before) + lines);
}

}  // namespace

void WriteError(const std::string& text)
{
    if (Supervised* const supervised = Supervised::Get()) {
        supervised->Hold(text);
    } else {
        (void)WriteAll(stderr, text);
    }
}

void Say(std::string_view text) { Put("orbis-host: ", text); }
void SayPlace(std::string_view text) { Put("", text); }

}  // namespace orbis::host
