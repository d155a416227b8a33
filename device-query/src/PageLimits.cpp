// Compile-time checks: accesses outside a page do not compile.
#include "Page.h"

#include <cstdint>
#include <type_traits>

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

// Bytes 257:256 of a structure.
using TwoBytes = Page<2, 256>;
static_assert(HasBit<TwoBytes, 0> && HasBit<TwoBytes, 15> && !HasBit<TwoBytes, 16>);
static_assert(HasBits<TwoBytes, 15, 0> && HasBits<TwoBytes, 9, 7> && !HasBits<TwoBytes, 16, 0> && !HasBits<TwoBytes, 3, 4>);
static_assert(HasBits<Page<32>, 255, 224> && !HasBits<Page<32>, 32, 0>);
static_assert(HasWord<TwoBytes, 256, std::uint16_t> && !HasWord<TwoBytes, 257, std::uint16_t> &&
              !HasWord<TwoBytes, 256, std::uint32_t>);
static_assert(HasBytes<TwoBytes, 256, 2> && !HasBytes<TwoBytes, 256, 3> && !HasBytes<TwoBytes, 255, 1>);
static_assert(std::is_constructible_v<TwoBytes, const Page<4096>&>);
static_assert(!std::is_constructible_v<TwoBytes, const Page<257>&> && !std::is_constructible_v<Page<2, 2>, const TwoBytes&>);

}  // namespace
}  // namespace veyra::sondix
