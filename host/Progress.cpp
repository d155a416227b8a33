#include "Progress.h"

#include <cstdio>
#include <string>

#include "Terminal.h"

namespace orbis::host {

Progress::Progress() : m_IsTerminal(ErrorIsTerminal()) {}

void Progress::Show(std::string_view text)
{
    if (m_IsTerminal) {
        const std::string line = "\r\x1B[K" + std::string(text) + " ...";
        std::fwrite(line.data(), 1, line.size(), stderr);
        std::fflush(stderr);
        m_IsShown = true;
    }
}

void Progress::Clear()
{
    if (m_IsShown) {
        std::fputs("\r\x1B[K", stderr);
        std::fflush(stderr);
        m_IsShown = false;
    }
}

}  // namespace orbis::host
