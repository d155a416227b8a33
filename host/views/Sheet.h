#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "Style.h"

namespace orbis::host {

// Facts as rows, disks as columns: for data with many facts and few disks. Only as many disks are side by side as fit without being
// cut; the others follow below, each in its own block when no two fit.
class Sheet {
public:
    // Titles of the disks, first row of the sheet.
    Sheet(std::vector<std::string> titles, const Style& style) : m_Titles(std::move(titles)), m_Style(style) {}

    // One value for each disk. A row whose values are all empty is left out.
    void AddRow(std::string fact, std::vector<std::string> values);
    // Adds a line at the end, once, for example the meaning of a mark in the values.
    void AddNote(std::string note);
    [[nodiscard]] std::string Render(std::size_t indent) const;

private:
    std::vector<std::string> m_Titles;
    Style m_Style;
    std::vector<std::pair<std::string, std::vector<std::string>>> m_Rows;
    std::vector<std::string> m_Notes;
};

}  // namespace orbis::host
