#pragma once

#include <string_view>

namespace orbis::host {

// Removes the progress line, if there is one, before a message or a log line.
void ClearProgress();

// One line on standard error that shows what the program waits for and is overwritten; nothing when standard error is not a
// terminal. Call Clear or ClearProgress before writing anything else to a terminal.
class Progress {
public:
    Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    ~Progress() { Clear(); }

    void Show(std::string_view text);
    static void Clear() { ClearProgress(); }

private:
    bool m_IsTerminal;
};

}  // namespace orbis::host
