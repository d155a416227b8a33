#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace Veyra::Orbis::Cpp::Common {

// One SMBIOS structure (DMTF DSP0134, 6.1): its formatted area and its strings. Types are interpreted by the reader.
struct SmBiosEntry {
    std::uint8_t type = 0;
    // Length of the formatted area as the structure reports it, header included.
    std::uint8_t length = 0;
    // The formatted area, header included. Shorter than `length` when the table ends inside it.
    std::vector<std::uint8_t> data;
    // String number n is element n - 1. Empty strings are not stored.
    std::vector<std::string> strings;

    // The little-endian value at `offset` of the formatted area. False, with `value` unchanged, unless all of it is inside the
    // area.
    [[nodiscard]] bool GetU8(std::int32_t offset, std::uint8_t& value) const noexcept;
    [[nodiscard]] bool GetU16(std::int32_t offset, std::uint16_t& value) const noexcept;
    [[nodiscard]] bool GetU32(std::int32_t offset, std::uint32_t& value) const noexcept;
    // The string whose number is at `offset`. False, with `text` unchanged, when there is no such string.
    [[nodiscard]] bool GetString(std::int32_t offset, std::string& text) const;
};

// The machine's SMBIOS structure table. Its entries outlive the table.
class SmBiosTable {
public:
    using EntryList = std::vector<std::shared_ptr<const SmBiosEntry>>;

    // Reads the firmware's table; a machine without one gives an empty table. Raises std::runtime_error for a structure whose
    // length is less than its header.
    SmBiosTable();
    // Parses `blob`, laid out as the firmware call gives it, instead. Raises as above.
    explicit SmBiosTable(std::span<const std::uint8_t> blob);

    // All entries of one type, in table order.
    [[nodiscard]] EntryList GetEntryList(std::uint8_t type) const;

    // The firmware's blob unparsed: 8 bytes of header (calling method, version, DMI revision, table length), then the structures.
    // Empty when the firmware has none.
    [[nodiscard]] static std::vector<std::uint8_t> ReadFirmwareBlob();

private:
    EntryList m_Entries;
};

}  // namespace Veyra::Orbis::Cpp::Common
