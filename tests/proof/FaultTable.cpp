#include "FaultTable.h"

#include <algorithm>
#include <cctype>
#include <fstream>
#include <stdexcept>

namespace orbis::proof {
namespace {

using simulated::FaultKind;

std::vector<std::string> Split(std::string_view text, std::string_view separator)
{
    std::vector<std::string> parts;
    for (std::size_t end = text.find(separator); end != std::string_view::npos; end = text.find(separator)) {
        parts.emplace_back(text.substr(0, end));
        text.remove_prefix(end + separator.size());
    }
    parts.emplace_back(text);
    return parts;
}

bool MatchesOne(std::string_view pattern, std::string_view text)
{
    constexpr std::string_view kSpecial = "[*#";
    const std::size_t plain = std::min(pattern.find_first_of(kSpecial), pattern.size());
    if (!text.starts_with(pattern.substr(0, plain))) {
        return false;
    }
    pattern.remove_prefix(plain);
    text.remove_prefix(plain);
    if (pattern.empty()) {
        return text.empty();
    }
    const std::string_view rest = pattern.substr(1);
    if (pattern.front() == '[') {
        const std::size_t end = pattern.find(']');
        return MatchesOne(pattern.substr(end + 1), text) ||
               MatchesOne(std::string(pattern.substr(1, end - 1)).append(pattern.substr(end + 1)), text);
    }
    if (pattern.front() == '*') {
        return rest.empty() || MatchesOne(rest, text) || (!text.empty() && MatchesOne(pattern, text.substr(1)));
    }
    const bool isDigit = !text.empty() && std::isdigit(static_cast<unsigned char>(text.front())) != 0;
    return isDigit && (MatchesOne(rest, text.substr(1)) || MatchesOne(pattern, text.substr(1)));
}

bool IsAmong(FaultKind kind, std::string_view kinds)
{
    return kinds == "any" || kinds.find("ESNB"[static_cast<std::size_t>(kind)]) != std::string_view::npos;
}

}  // namespace

bool Matches(std::string_view pattern, std::string_view text)
{
    const auto alternatives = Split(pattern, " or ");
    return std::any_of(alternatives.begin(), alternatives.end(), [text](const auto& one) { return MatchesOne(one, text); });
}

FaultTable::FaultTable(const std::string& path)
{
    std::ifstream file(path);
    std::string section;
    for (std::string line; std::getline(file, line);) {
        if (line.empty() || line.front() == '#') {
            continue;
        }
        if (line.front() == '[' && line.back() == ']') {
            section = line;
        } else if (section == "[outcomes]") {
            const auto parts = Split(line, " => ");
            m_Rows.push_back({Split(Expanded(parts.at(0)), " | "), Expanded(parts.at(1)),
                              parts.size() > 2 ? Expanded(parts[2]) : m_Phrases.at("same")});
        } else {
            const auto parts = Split(line, " = ");
            if (section == "[texts]") {
                m_Texts.push_back({Split(parts.at(0), " | "), Expanded(parts.at(1)), ""});
            } else {
                m_Phrases[parts.at(0)] = Expanded(parts.at(1));
            }
        }
    }
    if (m_Rows.empty()) {
        throw std::runtime_error("there is no table of outcomes in " + path);
    }
}

std::optional<FaultTable::Outcome> FaultTable::Find(const Fault& fault) const
{
    for (std::size_t row = 0; row < m_Rows.size(); ++row) {
        const auto& [columns, outcome, after] = m_Rows[row];
        if (Matches(columns[0], NameOf(fault.datatype)) && Matches(columns[1], fault.place) && Matches(columns[2], fault.call) &&
            IsAmong(fault.kind, columns[3])) {
            std::string pattern = outcome;
            const std::string text = TextOf(fault);
            for (std::size_t at = pattern.find("{T}"); at != std::string::npos; at = pattern.find("{T}")) {
                pattern.replace(at, 3, text);
            }
            return Outcome{row, pattern, after};
        }
    }
    return std::nullopt;
}

std::map<std::size_t, std::string> FaultTable::RowsFor(Datatype datatype) const
{
    std::map<std::size_t, std::string> found;
    for (std::size_t row = 0; row < m_Rows.size(); ++row) {
        const auto& columns = m_Rows[row].columns;
        if (Matches(columns[0], NameOf(datatype))) {
            found[row] = columns[1] + ", " + columns[2] + ", " + columns[3] + ": " + m_Rows[row].outcome;
        }
    }
    return found;
}

// Phrases and "{T}" stand in braces.
std::string FaultTable::Expanded(std::string text) const
{
    for (const auto& [name, phrase] : m_Phrases) {
        const std::string braced = "{" + name + "}";
        for (std::size_t at = text.find(braced); at != std::string::npos; at = text.find(braced, at)) {
            text.replace(at, braced.size(), phrase);
        }
    }
    return text;
}

std::string FaultTable::TextOf(const Fault& fault) const
{
    for (const auto& [columns, text, none] : m_Texts) {
        if (MatchesOne(columns[0], fault.place) && MatchesOne(columns[1], fault.call) && IsAmong(fault.kind, columns[2])) {
            return text;
        }
    }
    return "no text of the table";
}

}  // namespace orbis::proof
