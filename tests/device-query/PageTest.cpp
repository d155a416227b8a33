// Accesses outside a page do not compile. Every value that is read goes through the walking bits of the NVMe pages.
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

// Two bytes that stand at bytes 257:256 of a structure.
using Part = Page<2, 256>;
static_assert(HasBit<Part, 0> && HasBit<Part, 15> && !HasBit<Part, 16>);
static_assert(HasBits<Part, 15, 0> && HasBits<Part, 9, 7> && !HasBits<Part, 16, 0> && !HasBits<Part, 3, 4>);
static_assert(HasBits<Page<32>, 255, 224> && !HasBits<Page<32>, 32, 0>);
static_assert(HasWord<Part, 256, std::uint16_t> && !HasWord<Part, 257, std::uint16_t> && !HasWord<Part, 256, std::uint32_t>);
static_assert(HasBytes<Part, 256, 2> && !HasBytes<Part, 256, 3> && !HasBytes<Part, 255, 1>);
static_assert(std::is_constructible_v<Part, const Page<4096>&>);
static_assert(!std::is_constructible_v<Part, const Page<257>&> && !std::is_constructible_v<Page<2, 2>, const Part&>);

}  // namespace
}  // namespace veyra::sondix
