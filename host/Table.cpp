#include "Table.h"

#include <algorithm>
#include <numeric>

#include "Text.h"

namespace orbis::host {
namespace {

constexpr std::size_t kGap = 2;
// Columns of text are not cut below this width.
constexpr std::size_t kSmallestColumn = 12;

std::vector<std::string> Lines(const std::string& text)
{
    std::vector<std::string> lines(1);
    for (const char letter : text) {
        if (letter == '\n') {
            lines.emplace_back();
        } else {
            lines.back() += letter;
        }
    }
    return lines;
}

std::size_t Sum(const std::vector<std::size_t>& widths, std::size_t indent)
{
    return std::accumulate(widths.begin(), widths.end(), indent + kGap * (widths.empty() ? 0 : widths.size() - 1));
}

}  // namespace

std::string Shown(const std::string& text, const Style& style)
{
    const std::string printable = Printable(text);
    return style.isAscii ? Ascii(printable) : printable;
}

void Table::AddColumn(const std::string& title, Align align)
{
    Column column{Lines(title), align};
    for (std::string& line : column.title) {
        line = Shown(line, m_Style);
    }
    m_Columns.push_back(std::move(column));
}

void Table::AddRow(std::vector<std::string> cells)
{
    cells.resize(m_Columns.size());
    for (std::string& cell : cells) {
        cell = Shown(cell, m_Style);
    }
    m_Rows.push_back(std::move(cells));
}

std::vector<std::size_t> Table::NaturalWidths() const
{
    std::vector<std::size_t> widths;
    for (std::size_t column = 0; column < m_Columns.size(); ++column) {
        std::size_t widest = 0;
        for (const std::string& line : m_Columns[column].title) {
            widest = std::max(widest, DisplayWidth(line));
        }
        for (const auto& row : m_Rows) {
            widest = std::max(widest, DisplayWidth(row[column]));
        }
        widths.push_back(widest);
    }
    return widths;
}

std::size_t Table::NaturalWidth(std::size_t indent) const { return Sum(NaturalWidths(), indent); }

bool Table::IsBlank(std::size_t column) const
{
    return !m_Rows.empty() && std::all_of(m_Rows.begin(), m_Rows.end(), [&](const auto& row) { return row[column].empty(); });
}

Table Table::WithoutBlankColumns() const
{
    Table table(m_Style);
    table.m_Rows.resize(m_Rows.size());
    for (std::size_t column = 0; column < m_Columns.size(); ++column) {
        if (IsBlank(column)) {
            continue;
        }
        table.m_Columns.push_back(m_Columns[column]);
        for (std::size_t row = 0; row < m_Rows.size(); ++row) {
            table.m_Rows[row].push_back(m_Rows[row][column]);
        }
    }
    return table;
}

std::string Table::Render(std::size_t indent) const
{
    for (std::size_t column = 0; column < m_Columns.size(); ++column) {
        if (IsBlank(column)) {
            return WithoutBlankColumns().Render(indent);
        }
    }
    std::vector<std::size_t> widths = NaturalWidths();
    while (m_Style.width != 0 && Sum(widths, indent) > m_Style.width) {
        std::size_t* widest = nullptr;
        for (const Align align : {Align::Left, Align::Words}) {
            for (std::size_t column = 0; column < widths.size(); ++column) {
                const bool canShrink = m_Columns[column].align == align && widths[column] > kSmallestColumn;
                if (canShrink && (widest == nullptr || widths[column] > *widest)) {
                    widest = &widths[column];
                }
            }
            if (widest != nullptr) {
                break;
            }
        }
        if (widest == nullptr) {
            return RenderBlocks(indent);
        }
        --*widest;
    }
    return RenderRows(widths, indent);
}

std::string Table::RenderRows(const std::vector<std::size_t>& widths, std::size_t indent) const
{
    std::string out;
    const auto line = [&](auto&& cell) {
        std::string text(indent, ' ');
        for (std::size_t column = 0; column < widths.size(); ++column) {
            std::string fitted = Fit(cell(column), widths[column]);
            fitted = m_Style.isAscii ? Ascii(fitted) : fitted;
            const std::string padding(widths[column] - DisplayWidth(fitted), ' ');
            text += column == 0 ? "" : std::string(kGap, ' ');
            text += m_Columns[column].align == Align::Right ? padding + fitted : fitted + padding;
        }
        text.erase(text.find_last_not_of(' ') + 1);
        out += text + '\n';
    };
    std::size_t titleLines = 0;
    for (const Column& column : m_Columns) {
        const bool isUntitled = column.title.size() == 1 && column.title[0].empty();
        titleLines = std::max(titleLines, isUntitled ? 0 : column.title.size());
    }
    for (std::size_t at = 0; at < titleLines; ++at) {
        line([&](std::size_t column) {
            // Short titles are on the last line, next to the values.
            const auto& title = m_Columns[column].title;
            const std::size_t above = titleLines - title.size();
            return at < above ? std::string() : title[at - above];
        });
    }
    for (const auto& row : m_Rows) {
        std::vector<std::vector<std::string>> cells;
        std::size_t rowLines = 1;
        for (std::size_t column = 0; column < widths.size(); ++column) {
            const bool isWrapped = m_Columns[column].align == Align::Words;
            cells.push_back(isWrapped ? Wrap(row[column], widths[column]) : std::vector{row[column]});
            rowLines = std::max(rowLines, cells.back().size());
        }
        for (std::size_t at = 0; at < rowLines; ++at) {
            line([&](std::size_t column) { return at < cells[column].size() ? cells[column][at] : std::string(); });
        }
    }
    return out;
}

std::string Table::RenderBlocks(std::size_t indent) const
{
    std::string out;
    for (const auto& row : m_Rows) {
        std::vector<std::pair<std::string, std::string>> facts;
        for (std::size_t column = 1; column < row.size(); ++column) {
            if (row[column].empty()) {
                continue;
            }
            std::string title;
            for (const std::string& line : m_Columns[column].title) {
                title += (title.empty() ? "" : " ") + line;
            }
            facts.emplace_back(std::move(title), row[column]);
        }
        out += RenderText(row[0], m_Style, indent) + RenderFacts(facts, m_Style, indent + 2);
    }
    return out;
}

std::string RenderFacts(const std::vector<std::pair<std::string, std::string>>& facts, const Style& style, std::size_t indent)
{
    std::size_t factWidth = 0;
    for (const auto& [fact, value] : facts) {
        factWidth = std::max(factWidth, DisplayWidth(Shown(fact, style)));
    }
    constexpr std::size_t kLeast = 8;
    const std::size_t before = indent + factWidth + kGap;
    const std::size_t room = style.width == 0 ? 0 : std::max(kLeast, style.width > before ? style.width - before : 0);
    std::string out;
    for (const auto& [fact, value] : facts) {
        std::string lead = Shown(fact, style);
        lead.insert(0, indent, ' ');
        for (const std::string& line : Wrap(Shown(value, style), room)) {
            std::string text = lead + std::string(before - std::min(before, DisplayWidth(lead)), ' ') + line;
            text.erase(text.find_last_not_of(' ') + 1);
            out += text + '\n';
            lead.clear();
        }
    }
    return out;
}

std::string RenderText(const std::string& text, const Style& style, std::size_t indent)
{
    const std::size_t room = style.width > indent ? style.width - indent : 0;
    std::string out;
    for (const std::string& line : Wrap(Shown(text, style), room)) {
        out += std::string(indent, ' ') + line + '\n';
    }
    return out;
}

}  // namespace orbis::host
