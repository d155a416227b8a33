#include "views/Sheet.h"

#include <algorithm>

#include "Table.h"
#include "Text.h"

namespace orbis::host {

void Sheet::AddRow(std::string fact, std::vector<std::string> values)
{
    if (std::any_of(values.begin(), values.end(), [](const std::string& value) { return !value.empty(); })) {
        m_Rows.emplace_back(std::move(fact), std::move(values));
    }
}

void Sheet::AddNote(std::string note)
{
    if (std::find(m_Notes.begin(), m_Notes.end(), note) == m_Notes.end()) {
        m_Notes.push_back(std::move(note));
    }
}

std::string Sheet::Render(std::size_t indent) const
{
    // In a file or a pipe nothing is cut, but forty disks side by side would be unreadable too.
    constexpr std::size_t kPage = 140;
    const std::size_t width = m_Style.width == 0 ? kPage : m_Style.width;
    const auto table = [&](std::size_t first, std::size_t last) {
        Table part(m_Style);
        part.AddColumn("");
        for (std::size_t disk = first; disk < last; ++disk) {
            part.AddColumn(m_Titles[disk]);
        }
        for (const auto& [fact, values] : m_Rows) {
            const auto begin = values.begin() + static_cast<std::ptrdiff_t>(first);
            const auto end = values.begin() + static_cast<std::ptrdiff_t>(last);
            if (std::all_of(begin, end, [](const std::string& value) { return value.empty(); })) {
                continue;
            }
            std::vector<std::string> cells{fact};
            cells.insert(cells.end(), begin, end);
            part.AddRow(std::move(cells));
        }
        return part;
    };
    std::string out;
    for (std::size_t first = 0; first < m_Titles.size();) {
        std::size_t last = first + 1;
        while (last < m_Titles.size() && table(first, last + 1).NaturalWidth(indent) <= width) {
            ++last;
        }
        out += first == 0 ? "" : "\n";
        const Table part = table(first, last);
        if (m_Style.width == 0 || part.NaturalWidth(indent) <= width) {
            out += part.Render(indent);
        } else {
            std::vector<std::pair<std::string, std::string>> facts;
            for (const auto& [fact, values] : m_Rows) {
                if (!values[first].empty()) {
                    facts.emplace_back(fact, values[first]);
                }
            }
            out += RenderText(m_Titles[first], m_Style, indent) + RenderFacts(facts, m_Style, indent);
        }
        first = last;
    }
    for (const std::string& note : m_Notes) {
        out += RenderText(note, m_Style, indent);
    }
    return out;
}

}  // namespace orbis::host
