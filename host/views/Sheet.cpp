#include "views/Sheet.h"

#include <algorithm>

#include "Table.h"

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

std::string Sheet::Render(std::size_t width, std::size_t indent) const
{
    // A column narrower than this shows too little of a model or serial number.
    constexpr std::size_t kUsefulColumn = 22;
    std::size_t factWidth = 0;
    for (const auto& [fact, values] : m_Rows) {
        factWidth = std::max(factWidth, DisplayWidth(fact));
    }
    const std::size_t room = width > indent + factWidth ? width - indent - factWidth : 0;
    const std::size_t across = width == 0 ? m_Titles.size() : std::max<std::size_t>(1, room / (kUsefulColumn + 2));

    std::string out;
    for (std::size_t first = 0; first < m_Titles.size(); first += across) {
        const std::size_t last = std::min(first + across, m_Titles.size());
        Table table;
        table.AddColumn("");
        for (std::size_t disk = first; disk < last; ++disk) {
            table.AddColumn(m_Titles[disk]);
        }
        for (const auto& [fact, values] : m_Rows) {
            std::vector<std::string> cells{fact};
            cells.insert(cells.end(), values.begin() + static_cast<std::ptrdiff_t>(first),
                         values.begin() + static_cast<std::ptrdiff_t>(last));
            table.AddRow(std::move(cells));
        }
        out += (first == 0 ? "" : "\n") + table.Render(width, indent);
    }
    for (const std::string& note : m_Notes) {
        out += std::string(indent, ' ') + note + '\n';
    }
    return out;
}

}  // namespace orbis::host
