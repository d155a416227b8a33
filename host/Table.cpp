#include "Table.h"

#include <fmt/format.h>
#include <algorithm>

namespace orbis::host {
namespace {

constexpr std::string_view kEllipsis = "\u2026";
constexpr std::size_t kGap = 2;
constexpr std::size_t kSmallestColumn = 4;

bool IsContinuation(char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U; }

// U+0300..U+036F, the combining marks, begin with CC or CD.
bool IsCombining(std::string_view at)
{
    const auto first = static_cast<unsigned char>(at[0]);
    const auto second = at.size() > 1 ? static_cast<unsigned char>(at[1]) : 0U;
    return first == 0xCC || (first == 0xCD && second < 0xB0);
}

}  // namespace

std::size_t DisplayWidth(std::string_view utf8)
{
    std::size_t width = 0;
    for (std::size_t at = 0; at < utf8.size(); ++at) {
        width += IsContinuation(utf8[at]) || IsCombining(utf8.substr(at)) ? 0U : 1U;
    }
    return width;
}

std::string Fit(std::string_view utf8, std::size_t width)
{
    if (DisplayWidth(utf8) <= width) {
        return std::string(utf8);
    }
    if (width == 0) {
        return {};
    }
    std::size_t at = 0;
    for (std::size_t used = 0; at < utf8.size(); ++at) {
        if (!IsContinuation(utf8[at]) && !IsCombining(utf8.substr(at)) && ++used == width) {
            break;
        }
    }
    return std::string(utf8.substr(0, at)).append(kEllipsis);
}

std::string Printable(std::string_view utf8)
{
    std::string out;
    out.reserve(utf8.size());
    for (std::size_t at = 0; at < utf8.size(); ++at) {
        const auto byte = static_cast<unsigned char>(utf8[at]);
        // C0 controls and delete; C1 controls are C2 80 to C2 9F in UTF-8.
        if (byte < 0x20 || byte == 0x7F) {
            out += fmt::format("\\x{:02X}", byte);
        } else if (byte == 0xC2 && at + 1 < utf8.size() && static_cast<unsigned char>(utf8[at + 1]) < 0xA0) {
            out += fmt::format("\\x{:02X}", static_cast<unsigned char>(utf8[++at]));
        } else {
            out += utf8[at];
        }
    }
    return out;
}

void Table::AddColumn(std::string title, Align align) { m_Columns.push_back({std::move(title), align}); }

void Table::AddRow(std::vector<std::string> cells)
{
    cells.resize(m_Columns.size());
    for (std::string& cell : cells) {
        cell = Printable(cell);
    }
    m_Rows.push_back(std::move(cells));
}

std::string Table::Render(std::size_t width, std::size_t indent) const
{
    std::vector<std::size_t> widths;
    for (std::size_t column = 0; column < m_Columns.size(); ++column) {
        std::size_t widest = DisplayWidth(m_Columns[column].title);
        for (const auto& row : m_Rows) {
            widest = std::max(widest, DisplayWidth(row[column]));
        }
        widths.push_back(widest);
    }
    if (width != 0 && !widths.empty()) {
        const std::size_t frame = indent + kGap * (widths.size() - 1);
        for (;;) {
            std::size_t total = frame;
            for (const std::size_t one : widths) {
                total += one;
            }
            const auto widest = std::max_element(widths.begin(), widths.end());
            if (total <= width || *widest <= kSmallestColumn) {
                break;
            }
            --*widest;
        }
    }

    std::string out;
    const auto line = [&](auto&& cell) {
        std::string text(indent, ' ');
        for (std::size_t column = 0; column < widths.size(); ++column) {
            const std::string fitted = Fit(cell(column), widths[column]);
            const std::string padding(widths[column] - DisplayWidth(fitted), ' ');
            text += column == 0 ? "" : "  ";
            text += m_Columns[column].align == Align::Right ? padding + fitted : fitted + padding;
        }
        text.erase(text.find_last_not_of(' ') + 1);
        out += text + '\n';
    };
    if (std::any_of(m_Columns.begin(), m_Columns.end(), [](const Column& column) { return !column.title.empty(); })) {
        line([&](std::size_t column) -> std::string_view { return m_Columns[column].title; });
    }
    for (const auto& row : m_Rows) {
        line([&](std::size_t column) -> std::string_view { return row[column]; });
    }
    return out;
}

}  // namespace orbis::host
