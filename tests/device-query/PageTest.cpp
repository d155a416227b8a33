// Bytes and bits of a page: values that are read, and accesses that do not compile.
#include "Page.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <span>

namespace veyra::sondix {
namespace {

template <class P, std::size_t Bit>
concept HasBit = requires(const P& page)
{
    page.template bit<Bit>();
};
template <class P, std::size_t High, std::size_t Low>
concept HasBits = requires(const P& page)
{
    page.template bits<High, Low>();
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
static_assert(HasBit<Part, 0> && HasBit<Part, 15> && !HasBit<Part, 16>);
static_assert(HasBits<Part, 15, 0> && HasBits<Part, 9, 7> && !HasBits<Part, 16, 0> && !HasBits<Part, 3, 4>);
static_assert(HasBits<Page<32>, 255, 224> && !HasBits<Page<32>, 32, 0>);
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
    EXPECT_EQ((part.bits<31, 0>()), 0xFBFAF9F8U);
    EXPECT_EQ((part.bits<23, 16>()), 0xFA);
    EXPECT_EQ((part.bits<18, 15>()), 0x5);  // ...1010 1...
    EXPECT_TRUE(part.bit<8>());             // bit 0 of byte 9, F9h
    EXPECT_FALSE(part.bit<9>());
    EXPECT_EQ((page.element<0, 4, 4>(3)[0]), 0xFC);
}

}  // namespace
}  // namespace veyra::sondix
