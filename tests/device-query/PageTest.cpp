// Bytes and bits of a page: values that are read, and accesses that do not compile.
#include "Page.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <span>

namespace veyra::sondix {
namespace {

template <class P, std::size_t Byte, unsigned Bit>
concept HasBit = requires(const P& page)
{
    page.template bit<Byte, Bit>();
};
template <class P, std::size_t Byte, class T, unsigned High, unsigned Low>
concept HasField = requires(const P& page)
{
    page.template field<Byte, T, High, Low>();
};
template <class P, std::size_t Byte, class T>
concept HasWord = requires(const P& page)
{
    page.template word<Byte, T>();
};
template <class P, std::size_t Byte, std::size_t Length>
concept HasBytes = requires(const P& page)
{
    page.template bytes<Byte, Length>();
};

// Two bytes that stand at bytes 257:256 of a structure.
using Part = Page<2, 256>;
static_assert(HasBit<Part, 256, 0> && HasBit<Part, 256, 15> && HasBit<Part, 257, 7>);
static_assert(!HasBit<Part, 256, 16> && !HasBit<Part, 255, 8> && !HasBit<Part, 0, 0> && !HasBit<Part, 258, 0>);
static_assert(HasField<Part, 256, std::uint16_t, 15, 0> && HasField<Part, 257, std::uint8_t, 7, 7>);
static_assert(!HasField<Part, 256, std::uint8_t, 8, 0> && !HasField<Part, 256, std::uint16_t, 3, 4>);
static_assert(!HasField<Part, 256, std::uint32_t, 7, 0> && !HasField<Part, 257, std::uint16_t, 7, 0>);
static_assert(HasWord<Part, 256, std::uint16_t> && !HasWord<Part, 257, std::uint16_t> && !HasWord<Part, 256, std::uint32_t>);
static_assert(HasBytes<Part, 256, 2> && !HasBytes<Part, 256, 3> && !HasBytes<Part, 255, 1>);
static_assert(std::is_constructible_v<Part, const Page<4096>&>);
static_assert(!std::is_constructible_v<Part, const Page<257>&> && !std::is_constructible_v<Page<2, 2>, const Part&>);

TEST(PageTest, WordsAreLittleEndianAndAPartKeepsItsNumbers)
{
    std::array<std::uint8_t, 16> bytes{};
    for (std::size_t index = 0; index < bytes.size(); ++index) {
        bytes[index] = static_cast<std::uint8_t>(0xF0 + index);
    }
    const Page<16> page{std::span<const std::uint8_t, 16>(bytes)};
    EXPECT_EQ((page.word<1, std::uint16_t>()), 0xF2F1);
    EXPECT_EQ((page.word<2, std::uint32_t>()), 0xF5F4F3F2U);
    EXPECT_EQ((page.word<8, std::uint64_t>()), 0xFFFEFDFCFBFAF9F8U);
    EXPECT_EQ((page.bytes<14, 2>().bytes[1]), 0xFF);

    const Page<4, 8> part(page);
    EXPECT_EQ((part.word<8, std::uint32_t>()), 0xFBFAF9F8U);
    EXPECT_EQ((part.field<8, std::uint32_t, 31, 0>()), 0xFBFAF9F8U);
    EXPECT_EQ((part.field<8, std::uint32_t, 23, 16>()), 0xFA);
    EXPECT_EQ((part.field<8, std::uint32_t, 18, 15>()), 0x5);  // ...1010 1...
    EXPECT_EQ((part.field<9, std::uint8_t, 0, 0>()), 1);
    EXPECT_TRUE((part.bit<8, 8>()));   // bit 0 of byte 9, F9h
    EXPECT_FALSE((part.bit<8, 9>()));  // bit 1
    EXPECT_EQ((page.element<0, 4, 4>(3)[0]), 0xFC);
}

}  // namespace
}  // namespace veyra::sondix
