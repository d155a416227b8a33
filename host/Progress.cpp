#include "Progress.h"

#include <atomic>
#include <cstdio>
#include <string>

#include "Supervised.h"
#include "Terminal.h"

namespace orbis::host {
namespace {

std::atomic<bool> g_IsShown{false};

}  // namespace

Progress::Progress() : m_IsTerminal(ErrorIsTerminal() && !WantsNoRedraw() && Supervised::Get() == nullptr) {}

void Progress::Show(std::string_view text)
{
    if (m_IsTerminal) {
        (void)WriteAll(stderr, "\r\x1B[K" + std::string(text) + " ...");
        g_IsShown = true;
    }
}

void ClearProgress()
{
    if (g_IsShown.exchange(false)) {
        (void)WriteAll(stderr, "\r\x1B[K");
    }
}

}  // namespace orbis::host
