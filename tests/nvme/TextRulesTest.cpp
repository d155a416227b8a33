// Rules for drive texts and raw numbers before they go into a message.
#include <cmath>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "NvmeDataGetter.h"
#include "StorageHelper.h"
#include "sondix/Types.h"

namespace Veyra::Orbis::Plugins {
namespace {

using namespace std::string_literals;

TEST(TextRules, TrimTakesZerosThenSpaceThenBackspacesOffBothEndsOnce)
{
    struct Case {
        std::string text;
        std::string zeros, space, backspaces, all;
    };
    const std::vector<Case> cases{
        {"", "", "", "", ""},
        {"\0\0"s, "", "\0\0"s, "\0\0"s, ""},
        {"  ", "  ", "", "  ", ""},
        {"\b\b", "\b\b", "\b\b", "", ""},
        {" \t\n\v\f\rA\r\f\v\n\t ", " \t\n\v\f\rA\r\f\v\n\t ", "A", " \t\n\v\f\rA\r\f\v\n\t ", "A"},
        {"\0\0 AB C \0"s, " AB C ", "\0\0 AB C \0"s, "\0\0 AB C \0"s, "AB C"},
        {"AB \b", "AB \b", "AB \b", "AB ", "AB "},                      // the backspace shields the space
        {" \0AB\0 "s, " \0AB\0 "s, "\0AB\0"s, " \0AB\0 "s, "\0AB\0"s},  // and the space the zeros
        {"\b AB", "\b AB", "\b AB", " AB", " AB"},
        {"\xA0\x85Z\xFF", "\xA0\x85Z\xFF", "\xA0\x85Z\xFF", "\xA0\x85Z\xFF", "\xA0\x85Z\xFF"},  // no white space in the "C" locale
    };
    for (const auto& [text, zeros, space, backspaces, all] : cases) {
        SCOPED_TRACE(::testing::PrintToString(text));
        EXPECT_EQ(StorageHelper::TrimZeros(text), zeros);
        EXPECT_EQ(StorageHelper::TrimSpace(text), space);
        EXPECT_EQ(StorageHelper::TrimInvalidChar(text), backspaces);
        EXPECT_EQ(StorageHelper::Trim(text), all);
    }
}

TEST(TextRules, FixedArraysAsText)
{
    EXPECT_EQ((veyra::Carray<8>{{0, 'A', 'B', 'C', 0, 0, 0, 0}}).Str(), "") << "a zero first byte hides the rest";
    EXPECT_EQ((veyra::Carray<8>{{'A', 'B', 0, 'C', 0, 0, 0, 0}}).Str(), "AB\0C\0\0\0\0"s) << "all bytes, no terminator";

    struct Case {
        veyra::Array<unsigned char, 3> bytes;  // least significant first
        std::string_view hex;
    };
    for (const auto& [bytes, hex] : std::vector<Case>{{{{0x38, 0x25, 0x00}}, "2538"},
                                                      {{{0x44, 0x1B, 0x00}}, "1B44"},
                                                      {{{0x00, 0x00, 0x00}}, "00"},
                                                      {{{0x01, 0x02, 0x03}}, "030201"},
                                                      {{{0x05, 0x00, 0x00}}, "05"},
                                                      {{{0x00, 0x00, 0x05}}, "050000"},
                                                      {{{0x00, 0xF0, 0x00}}, "F000"}}) {
        EXPECT_EQ(bytes.Hex(), hex);
    }
}

TEST(TextRules, BuffersAsBytesAndNumbers)
{
    const std::string bytes = "\0\xFFz"s;
    EXPECT_EQ(StorageHelper::RawBufferToByteString(reinterpret_cast<const std::uint8_t*>(bytes.data()), 3), bytes);
    EXPECT_EQ(StorageHelper::RawBufferToByteString(nullptr, 0), "");

    struct Case {
        std::string bytes;
        bool bigEndian;
        double value;
    };
    for (const auto& [raw, bigEndian, value] : std::vector<Case>{
             {"", false, 0.0},
             {"\x01\0"s, false, 1.0},
             {"\x01\0"s, true, 256.0},
             {"\x80\xFF"s, false, 65408.0},  // bytes are unsigned
             {"\x01\x02"s + std::string(14, '\0'), false, 513.0},
             {std::string(15, '\0') + "\x01", false, std::ldexp(1.0, 120)},
             // Folded from the top: 2^53 + 1 is rounded to 2^53 before its last byte comes, though 2^61 + 512 would be nearer.
             {"\xFF\x01\0\0\0\0\0\x20"s, false, std::ldexp(1.0, 61)},
             {"\x20\0\0\0\0\0\x01\xFF"s, true, std::ldexp(1.0, 61)},
         }) {
        EXPECT_EQ(NvmeDataGetter::RawBufferToDouble(raw.data(), static_cast<std::int32_t>(raw.size()), bigEndian), value)
            << ::testing::PrintToString(raw);
    }
    EXPECT_EQ(NvmeDataGetter::RawBufferToDouble(nullptr, -1, false), 0.0);

    for (const auto& [celsius, valid] : std::vector<std::pair<int, int>>{{-273, 0}, {-274, -274}, {-272, -272}, {0, 0}, {35, 35}}) {
        EXPECT_EQ(NvmeDataGetter::ToValidTemperature(celsius), valid);
    }
}

}  // namespace
}  // namespace Veyra::Orbis::Plugins
