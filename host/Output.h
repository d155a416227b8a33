#pragma once

#include <string_view>

#include "Style.h"

namespace orbis::host {

// Standard output. A failed write is reported once on standard error. A reader that closes its end of a pipe is not an error;
// nothing more is written then.
class Output {
public:
    explicit Output(const Style& style) : m_Style(style) {}
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    [[nodiscard]] const Style& GetStyle() const noexcept { return m_Style; }
    // Writes all of `text` without buffering.
    void Write(std::string_view text);
    // True when something could not be written.
    [[nodiscard]] bool IsLost() const noexcept { return m_IsLost; }
    // Closes standard output. Returns `status`, or kExitOutputLost when output was lost and that comes first.
    [[nodiscard]] int Finish(int status);

private:
    void Lose(int error);

    Style m_Style;
    bool m_IsLost = false;
};

}  // namespace orbis::host
