#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace orbis::host {

// Columns that text of this many code points takes; zero-width marks are counted as none.
[[nodiscard]] std::size_t DisplayWidth(std::string_view utf8);
// The text cut to `width` columns, its last one an ellipsis when something was cut.
[[nodiscard]] std::string Fit(std::string_view utf8, std::size_t width);
// The text with control characters (device text may hold any) shown as \xNN, so that nothing drives the terminal.
[[nodiscard]] std::string Printable(std::string_view utf8);

// An aligned table. Columns shrink, widest first, until the table fits; numbers stand right.
class Table {
public:
    enum class Align { Left, Right };

    void AddColumn(std::string title, Align align = Align::Left);
    // Cells are made printable. A row may have fewer cells than there are columns.
    void AddRow(std::vector<std::string> cells);
    [[nodiscard]] bool IsEmpty() const noexcept { return m_Rows.empty(); }
    // Lines ended by '\n', none longer than `width` (0: no limit), each begun with `indent` blanks.
    [[nodiscard]] std::string Render(std::size_t width, std::size_t indent = 0) const;

private:
    struct Column {
        std::string title;
        Align align;
    };
    std::vector<Column> m_Columns;
    std::vector<std::vector<std::string>> m_Rows;
};

}  // namespace orbis::host
