// SMBIOS structures (DMTF DSP0134) behind the header of RawSMBIOSData, as GetSystemFirmwareTable gives them.
#include <algorithm>
#include <charconv>

#include "MachineState.h"

namespace orbis::simulated {
namespace {

constexpr std::size_t kRawHeader = 8;
constexpr std::uint8_t kBiosInformation = 0;
constexpr std::uint8_t kSystemInformation = 1;
constexpr std::uint8_t kOemStrings = 11;
constexpr std::uint8_t kEndOfTable = 127;

class TableWriter {
public:
    // Appends one structure: header, formatted area, strings each ended by a zero, one more zero.
    void Add(std::uint8_t type, const ByteVector& formatted, const std::vector<std::string>& strings,
             std::uint32_t claimedLength = 0)
    {
        const std::size_t length = claimedLength != 0 ? claimedLength : formatted.size() + 4;
        m_Table.push_back(type);
        m_Table.push_back(static_cast<std::uint8_t>(length));
        m_Table.push_back(static_cast<std::uint8_t>(m_Handle));
        m_Table.push_back(static_cast<std::uint8_t>(m_Handle >> 8));
        ++m_Handle;
        m_Table.insert(m_Table.end(), formatted.begin(), formatted.end());
        for (const std::string& text : strings) {
            m_Table.insert(m_Table.end(), text.begin(), text.end());
            m_Table.push_back(0);
        }
        m_Table.push_back(0);
        if (strings.empty()) {
            m_Table.push_back(0);
        }
    }

    [[nodiscard]] const ByteVector& Table() const { return m_Table; }

private:
    ByteVector m_Table;
    std::uint32_t m_Handle = 0;
};

// A structure whose formatted area holds the number of each text at the offset beside it, 0 for an empty one.
void AddNamed(TableWriter& table, std::uint8_t type, PageWriter formatted,
              const std::vector<std::pair<std::size_t, std::string>>& texts)
{
    std::vector<std::string> strings;
    for (const auto& [offset, text] : texts) {
        if (!text.empty()) {
            strings.push_back(text);
            formatted.Put8(offset, strings.size());
        }
    }
    table.Add(type, formatted.Take(), strings);
}

}  // namespace

ByteVector BuildSmbios(const description::Smbios& smbios)
{
    TableWriter table;
    AddNamed(table, kBiosInformation, PageWriter(0x14).Put16(2, 0xE000),  // starting address segment
             {{0, smbios.bios_vendor()}, {1, smbios.bios_version()}});
    AddNamed(table, kSystemInformation, PageWriter(0x17).Put8(0x14, 6),  // wake-up type: power switch
             {{0, smbios.manufacturer()}, {1, smbios.product()}, {3, smbios.serial()}});
    for (const description::OemStrings& oem : smbios.oem_strings()) {
        const std::uint32_t count = oem.has_count() ? oem.count() : static_cast<std::uint32_t>(oem.text_size());
        table.Add(kOemStrings, {static_cast<std::uint8_t>(count)}, {oem.text().begin(), oem.text().end()});
    }
    for (const description::SmbiosStructure& structure : smbios.structure()) {
        table.Add(static_cast<std::uint8_t>(structure.type()), ToBytes(structure.formatted()),
                  {structure.text().begin(), structure.text().end()}, structure.length());
    }
    if (!smbios.no_end()) {
        table.Add(kEndOfTable, {}, {});
    }

    unsigned major = 3;
    unsigned minor = 3;
    if (const std::string& version = smbios.version(); !version.empty()) {
        const char* end = version.data() + version.size();
        const char* point = std::from_chars(version.data(), end, major).ptr;
        std::from_chars(std::min(point + 1, end), end, minor);
    }
    PageWriter data(kRawHeader + table.Table().size());
    data.Put8(1, major).Put8(2, minor);
    data.Put32(4, smbios.has_table_length() ? smbios.table_length() : table.Table().size());
    data.PutBytes(kRawHeader, table.Table());
    ApplyPatches(data.Page(), smbios.data());
    return data.Take();
}

}  // namespace orbis::simulated
