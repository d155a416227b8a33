#include "Progress.h"

#include <cstdio>
#include <string>

#include "Terminal.h"

namespace orbis::host {

Progress::Progress() : m_IsTerminal(ErrorIsTerminal()) {}

void Progress::Show(std::string_view text)
{
    if (m_IsTerminal) {
        (void)WriteAll(stderr, "\r\x1B[K" + std::string(text) + " ...");
        m_IsShown = true;
    }
}

void Progress::Clear()
{
    if (m_IsShown) {
        (void)WriteAll(stderr, "\r\x1B[K");
        m_IsShown = false;
    }
}

}  // namespace orbis::host
