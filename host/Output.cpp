#include "Output.h"

#include <cerrno>
#include <cstdio>
#include <system_error>

#include "ExitStatus.h"
#include "Say.h"
#include "Supervised.h"
#include "Terminal.h"

namespace orbis::host {

void Output::Write(std::string_view text)
{
    if (m_IsLost || text.empty()) {
        return;
    }
    if (Supervised* const supervised = Supervised::Get(); supervised != nullptr && !supervised->MayWrite()) {
        return;
    }
    if (!WriteAll(stdout, text)) {
        Lose(errno);
    }
}

int Output::Finish(int status)
{
    errno = 0;
    // Some file systems report a failed write only now.
    if (std::fclose(stdout) != 0 && !m_IsLost) {
        Lose(errno);
    }
    return m_IsLost ? Graver(status, kExitOutputLost) : status;
}

void Output::Lose(int error)
{
    m_IsLost = true;
    if (error != EPIPE) {
        Say("standard output cannot be written: " + (error == 0 ? "no reason given" : std::generic_category().message(error)));
    }
}

}  // namespace orbis::host
