#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "Style.h"

namespace orbis::host {

// An aligned table. When it is wider than the style allows, columns of text are cut in the middle, widest first, and columns of
// words are wrapped; numbers are never cut. A table that still does not fit is written as one block for each row. Columns without
// any value are left out.
class Table {
public:
    enum class Align { Left, Right, Words };

    explicit Table(const Style& style) : m_Style(style) {}

    // A title may have several lines.
    void AddColumn(const std::string& title, Align align = Align::Left);
    // Cells are made printable. A row may have fewer cells than there are columns.
    void AddRow(std::vector<std::string> cells);
    [[nodiscard]] bool IsEmpty() const noexcept { return m_Rows.empty(); }
    // The width of the table when nothing is cut.
    [[nodiscard]] std::size_t NaturalWidth(std::size_t indent) const;
    // Lines that end with '\n', each indented by `indent` blanks.
    [[nodiscard]] std::string Render(std::size_t indent = 0) const;

private:
    struct Column {
        std::vector<std::string> title;
        Align align;
    };
    [[nodiscard]] bool IsBlank(std::size_t column) const;
    [[nodiscard]] Table WithoutBlankColumns() const;
    [[nodiscard]] std::vector<std::size_t> NaturalWidths() const;
    [[nodiscard]] std::string RenderRows(const std::vector<std::size_t>& widths, std::size_t indent) const;
    [[nodiscard]] std::string RenderBlocks(std::size_t indent) const;

    Style m_Style;
    std::vector<Column> m_Columns;
    std::vector<std::vector<std::string>> m_Rows;
};

// Facts with one value each, as lines "fact  value"; a value that does not fit continues on the next line.
[[nodiscard]] std::string RenderFacts(const std::vector<std::pair<std::string, std::string>>& facts, const Style& style,
                                      std::size_t indent);
// A line of running text, continued under `indent` blanks where it does not fit. Made printable.
[[nodiscard]] std::string RenderText(const std::string& text, const Style& style, std::size_t indent);
// The text with only characters that this style may show.
[[nodiscard]] std::string Shown(const std::string& text, const Style& style);

}  // namespace orbis::host
