#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace orbis::tests {

// The meaning of a page's bits, read from a table of insight/sources.
struct BitField {
    std::string name;          // path of the message field, "[n]" after a repeated one
    std::string form;          // the word after the name in the table, or ""
    std::size_t firstBit = 0;  // position of the field's lowest bit in the page
    std::size_t bits = 0;
    std::size_t slot = 0;    // of the page's interface, 0 for none
    std::size_t nested = 0;  // slot of the interface that `slot` returns, 0 for a field of the page itself
};

class BitTable {
public:
    // Throws std::runtime_error, naming the line, for a file that cannot be read or is malformed.
    BitTable(const std::string& path, std::size_t pageBytes);

    // The field that the bit belongs to, or null.
    [[nodiscard]] const BitField* At(std::size_t bit) const;
    // Every field once, in the order of the table.
    [[nodiscard]] const std::vector<BitField>& Fields() const { return m_Fields; }

private:
    void Add(const std::string& bytes, const BitField& field);

    std::vector<BitField> m_Fields;
    std::vector<std::size_t> m_ByBit;  // position in m_Fields plus one, or 0
};

}  // namespace orbis::tests
