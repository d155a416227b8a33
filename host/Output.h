#pragma once

#include <string_view>

#include "Style.h"

namespace orbis::host {

// Standard output. What cannot be written is an error: it is reported once on standard error, except that a reader that has closed
// its end of a pipe has seen what it wanted, and nothing more is written.
class Output {
public:
    explicit Output(const Style& style) : m_Style(style) {}
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    [[nodiscard]] const Style& GetStyle() const noexcept { return m_Style; }
    // Writes all of `text` at once; it is with the reader when this returns.
    void Write(std::string_view text);
    // True when something could not be written.
    [[nodiscard]] bool IsLost() const noexcept { return m_IsLost; }
    // Closes standard output, and returns `status` or, when output was lost and that is graver, the status for that.
    [[nodiscard]] int Finish(int status);

private:
    void Lose(int error);

    Style m_Style;
    bool m_IsLost = false;
};

}  // namespace orbis::host
