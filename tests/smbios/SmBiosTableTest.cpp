// Framing of the SMBIOS structure table. Blobs stand in buffers of exactly their size, so that the address sanitizer sees a read
// past the end.
#include "Common/SmBiosTable.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace Veyra::Orbis::Cpp::Common {
namespace {

using Blob = std::vector<std::uint8_t>;

// The blob of a table: the header of the firmware call, then the structures. `claimed`: the table length that the header gives.
Blob MakeBlob(const std::string& structures, std::size_t claimed)
{
    Blob blob{0, 3, 3, 0};
    for (int shift = 0; shift < 32; shift += 8) {
        blob.push_back(static_cast<std::uint8_t>(claimed >> shift));
    }
    blob.insert(blob.end(), structures.begin(), structures.end());
    blob.shrink_to_fit();
    return blob;
}
Blob MakeBlob(const std::string& structures) { return MakeBlob(structures, structures.size()); }

// Turns "0B 05 10 00 02 'A' 00" into bytes.
std::string Bytes(const std::string& text)
{
    std::string bytes;
    for (std::size_t at = 0; at < text.size();) {
        if (text[at] == ' ' || text[at] == '\n') {
            ++at;
        } else if (text[at] == '\'') {
            bytes += text[at + 1];
            at += 3;
        } else {
            bytes += static_cast<char>(std::stoi(text.substr(at, 2), nullptr, 16));
            at += 2;
        }
    }
    return bytes;
}

// The entries of every type in table order, one after the other: "11:5 [A|B]", with the bytes that are there when they are fewer.
std::string Describe(const Blob& blob)
try {
    const SmBiosTable table(blob);
    std::string all;
    for (int type = 0; type < 256; ++type) {
        for (const auto& entry : table.GetEntryList(static_cast<std::uint8_t>(type))) {
            all += (all.empty() ? "" : " ") + std::to_string(entry->type) + ":" + std::to_string(entry->length);
            all += entry->data.size() == entry->length ? "" : "/" + std::to_string(entry->data.size());
            std::string strings;
            for (const std::string& text : entry->strings) {
                strings += (strings.empty() ? "" : "|") + text;
            }
            all += " [" + strings + "]";
        }
    }
    return all;
} catch (const std::runtime_error& failure) {
    return failure.what();
}

const std::string kOem = "0B 05 10 00 02 'A' 00 'B' 00 00";  // OEM Strings, handle 16, two strings
const std::string kEnd = "7F 04 FE FF 00 00";

TEST(SmBiosTable, FramesWholeAndBrokenTables)
{
    struct Case {
        std::string name, structures, expected;
    };
    const std::vector<Case> cases{
        {"two strings, then the end", kOem + kEnd, "11:5 [A|B] 127:4 []"},
        {"no strings: two zeros", "02 06 01 00 AA BB 00 00" + kEnd, "2:6 [] 127:4 []"},
        {"what follows the end is not read", kEnd + kOem, "127:4 []"},
        {"no end", kOem, "11:5 [A|B]"},
        {"two of a type, in order", "0B 04 01 00 'X' 00 00" + kOem, "11:4 [X] 11:5 [A|B]"},
        {"an empty string before others is not stored", "0B 04 01 00 00 'X' 00 00" + kEnd, "11:4 [X] 127:4 []"},
        {"length 3", kOem + "0B 03 00 00 00 00", "invalid entry length (3). DMI table is broken"},
        {"length 0", "0B 00 00 00 00 00", "invalid entry length (0). DMI table is broken"},
        {"fewer than four bytes left", kOem + "0B 05 00", "11:5 [A|B]"},
        {"fewer than four bytes at all", "7F 04 00", ""},
        {"nothing", "", ""},
        {"formatted area reaches past the table", kOem + "01 FF 00 00 AA BB", "1:255/6 [] 11:5 [A|B]"},
        {"formatted area ends with the table", "01 06 00 00 AA BB", "1:6 []"},
        {"string set cut in a string", "0B 05 10 00 02 'A' 00 'B'", "11:5 [A]"},
        {"string set cut between its two zeros", "0B 05 10 00 02 'A' 00", "11:5 [A]"},
    };
    for (const auto& [name, structures, expected] : cases) {
        EXPECT_EQ(Describe(MakeBlob(Bytes(structures))), expected) << name;
    }
}

// A whole table, as QEMU's q35 machine with SeaBIOS 1.16.2 has it.
constexpr const char* kRealTable = R"(
    00180000010200E80300080000000000000000040000FFFF53656142494F5300312E31362E322D64656269616E2D312E31362E322D310030342F3031
    2F323031340000
    011B000101020304000000000000000000000000000000000600004C61620047756573740070632D7133352D372E32004C41422D4D414348494E452D
    310000
    0316000301010200000303030200000000000000000051454D550070632D7133352D372E320000
    042A000401030102B10F0600FDFB8B0703000000D007D0074101FFFFFFFFFFFF0000000101010200010043505520300051454D550070632D7133352D
    372E320000
    0B05000E036669727374204F454D20737472696E67004C41422D53595354454D2D49442D30303432007468697264204F454D20737472696E670000
    1017001001030600000800FEFF010000000000000000000000
    112800110010FEFFFFFFFFFF0002090001000702000000020000000000000000000000000000000044494D4D20300051454D550000
    131F001300000000FFFF0700001001000000000000000000000000000000000000
    200B0020000000000000000000
    7F04007F0000)";

TEST(SmBiosTable, FramesARealTable)
{
    EXPECT_EQ(Describe(MakeBlob(Bytes(kRealTable))),
              "0:24 [SeaBIOS|1.16.2-debian-1.16.2-1|04/01/2014] 1:27 [Lab|Guest|pc-q35-7.2|LAB-MACHINE-1] 3:22 [QEMU|pc-q35-7.2] "
              "4:42 [CPU 0|QEMU|pc-q35-7.2] 11:5 [first OEM string|LAB-SYSTEM-ID-0042|third OEM string] 16:23 [] "
              "17:40 [DIMM 0|QEMU] 19:31 [] 32:11 [] 127:4 []");
}

TEST(SmBiosTable, TrustsNeitherTheTableLengthNorTheBlob)
{
    const std::string structures = Bytes(kOem + kEnd);
    EXPECT_EQ(Describe(MakeBlob(structures, 0xFFFFFFFF)), "11:5 [A|B] 127:4 []") << "more than there is";
    EXPECT_EQ(Describe(MakeBlob(structures, 10)), "11:5 [A|B]") << "less than there is: the rest is not the table's";
    EXPECT_EQ(Describe(MakeBlob(structures, 3)), "");
    for (std::size_t size = 0; size < 8; ++size) {
        EXPECT_EQ(Describe(Blob(size, 0xFF)), "") << "header of " << size << " bytes";
    }
}

TEST(SmBiosTable, EntriesGiveOnlyWhatLiesInsideThem)
{
    std::shared_ptr<const SmBiosEntry> entry;
    {
        const Blob blob = MakeBlob(Bytes("0B 08 10 20 02 03 80 01 'A' 00 'B' 'C' 00 00" + kEnd));
        entry = SmBiosTable(blob).GetEntryList(11).at(0);
    }
    ASSERT_EQ(entry.use_count(), 1) << "the entry outlives its table";
    struct Case {
        std::int32_t offset;
        std::int64_t u8, u16, u32;  // -1: not inside
        std::string text;
    };
    for (const auto& [offset, u8, u16, u32, text] : std::vector<Case>{
             {0, 0x0B, 0x080B, 0x2010080B, "-"},
             {2, 0x10, 0x2010, 0x03022010, "-"},
             {4, 0x02, 0x0302, 0x01800302, "BC"},
             {5, 0x03, 0x8003, -1, "-"},  // number 3 of two strings
             {6, 0x80, 0x0180, -1, "-"},
             {7, 0x01, -1, -1, "A"},
             {8, -1, -1, -1, "-"},
             {-1, -1, -1, -1, "-"},
             {INT32_MAX, -1, -1, -1, "-"},
             {INT32_MIN, -1, -1, -1, "-"},
         }) {
        std::uint8_t byte = 0x55;
        std::uint16_t word = 0x5555;
        std::uint32_t dword = 0x55555555;
        std::string string = "-";
        EXPECT_EQ(entry->GetU8(offset, byte) ? byte : -1, u8) << offset;
        EXPECT_EQ(entry->GetU16(offset, word) ? word : -1, u16) << offset;
        EXPECT_EQ(entry->GetU32(offset, dword) ? std::int64_t{dword} : -1, u32) << offset;
        EXPECT_EQ(entry->GetString(offset, string), text != "-") << offset;
        EXPECT_EQ(string, text) << offset << ": untouched when there is none";
        EXPECT_TRUE(u8 != -1 || byte == 0x55) << offset;
    }
}

}  // namespace
}  // namespace Veyra::Orbis::Cpp::Common
