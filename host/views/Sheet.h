#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace orbis::host {

// Facts as rows, disks as columns: for data with many facts and few disks. When the columns do not fit, they go on below.
class Sheet {
public:
    // Titles of the disks, first row of the sheet.
    explicit Sheet(std::vector<std::string> titles) : m_Titles(std::move(titles)) {}

    // One value for each disk. A row whose values are all empty is left out.
    void AddRow(std::string fact, std::vector<std::string> values);
    // A line at the end, once, for example what a mark in the values means.
    void AddNote(std::string note);
    [[nodiscard]] std::string Render(std::size_t width, std::size_t indent) const;

private:
    std::vector<std::string> m_Titles;
    std::vector<std::pair<std::string, std::vector<std::string>>> m_Rows;
    std::vector<std::string> m_Notes;
};

}  // namespace orbis::host
