#pragma once

#include <string_view>

namespace orbis::host {

// What is being waited for, in one line on standard error that is written over; nothing where that is no terminal. A result or
// message that follows needs Clear first.
class Progress {
public:
    Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    ~Progress() { Clear(); }

    void Show(std::string_view text);
    void Clear();

private:
    bool m_IsTerminal;
    bool m_IsShown = false;
};

}  // namespace orbis::host
