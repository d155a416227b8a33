#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Collections.h"

namespace orbis::proof {

// One call of a collection that fails in one way.
struct Fault {
    Datatype datatype;
    std::string place;  // what the call is for, see PlacesOf
    std::string call;   // operation and subject: "Wmi::Get Index"
    simulated::FaultKind kind;
};

// Whether `text` matches one of the alternatives of `pattern`, " or " between them: "*" is anything, "#" digits, "[...]" perhaps.
[[nodiscard]] bool Matches(std::string_view pattern, std::string_view text);

// The outcome of every fault, from fault_outcomes.txt.
class FaultTable {
public:
    struct Outcome {
        std::size_t row;
        std::string pattern;  // of the collection with the fault
        std::string after;    // of those after it
    };

    explicit FaultTable(const std::string& path);

    // By the first row that matches; none when the call is not in the table.
    [[nodiscard]] std::optional<Outcome> Find(const Fault& fault) const;
    // The rows that speak of a datatype, and how they read.
    [[nodiscard]] std::map<std::size_t, std::string> RowsFor(Datatype datatype) const;

private:
    struct Row {
        std::vector<std::string> columns;  // patterns: datatype, place, call, kinds (texts have no datatype)
        std::string outcome;
        std::string after;
    };

    [[nodiscard]] std::string Expanded(std::string text) const;
    [[nodiscard]] std::string TextOf(const Fault& fault) const;

    std::map<std::string, std::string> m_Phrases;
    std::vector<Row> m_Texts;
    std::vector<Row> m_Rows;
};

}  // namespace orbis::proof
