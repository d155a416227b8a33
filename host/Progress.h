#pragma once

#include <string_view>

namespace orbis::host {

// Takes away the line, if there is one: messages and log lines stand alone.
void ClearProgress();

// What is being waited for, in one line on standard error that is written over; nothing where that is no terminal. What else is
// written to a terminal needs Clear or ClearProgress first.
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
