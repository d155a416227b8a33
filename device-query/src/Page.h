#pragma once

#include <algorithm>
#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <new>
#include <span>
#include <type_traits>

#include "sondix/Types.h"

namespace veyra::sondix {

// The smallest unsigned type that holds `Bits` bits.
template <std::size_t Bits>
using UnsignedOf = std::conditional_t<Bits <= 8, std::uint8_t, std::conditional_t<Bits <= 16, std::uint16_t, std::uint32_t>>;

// `Size` bytes of an NVMe structure, from byte `First` on. Bytes are numbered as in the structure, in a part
// of it too, and words are little-endian on every machine. An access outside the bytes or outside the word does not compile.
template <std::size_t Size, std::size_t First = 0>
class Page {
public:
    static constexpr std::size_t kSize = Size;

    // Whether `length` bytes at byte `byte` are inside this page.
    static constexpr bool Holds(std::size_t byte, std::size_t length) { return First <= byte && byte + length <= First + Size; }

    explicit Page(std::span<const std::uint8_t, Size> bytes) noexcept { std::copy_n(bytes.data(), Size, m_Bytes.data()); }

    // The part of `whole` at the same bytes.
    template <std::size_t WholeSize, std::size_t WholeFirst>
    requires(WholeFirst <= First && First + Size <= WholeFirst + WholeSize &&
             WholeSize != Size) explicit Page(const Page<WholeSize, WholeFirst>& whole) noexcept
        : Page(std::span<const std::uint8_t, Size>(whole.Bytes().data() + (First - WholeFirst), Size))
    {}

    [[nodiscard]] const std::array<std::uint8_t, Size>& Bytes() const noexcept { return m_Bytes; }

    // Bit `Bit` of the page, counted as the standard counts the bits of a register: little-endian, from the page's first byte.
    template <std::size_t Bit>
    requires(Bit < Size * 8) [[nodiscard]] bool bit() const noexcept { return (m_Bytes[Bit / 8] & (1U << (Bit % 8))) != 0; }

    // Bits `High`:`Low` of the page, counted in the same way.
    template <std::size_t High, std::size_t Low>
    requires(Low <= High && High < Size * 8 && High - Low < 32) [[nodiscard]] UnsignedOf<High - Low + 1> bits() const noexcept
    {
        std::uint64_t value = 0;
        for (std::size_t byte = High / 8 + 1; byte-- > Low / 8;) {
            value = value << 8U | m_Bytes[byte];
        }
        constexpr std::uint64_t kMask = (std::uint64_t{1} << (High - Low + 1)) - 1;
        return static_cast<UnsignedOf<High - Low + 1>>(value >> Low % 8 & kMask);
    }

    // The word of type `T` at byte `Byte`.
    template <std::size_t Byte, std::unsigned_integral T>
    requires(Holds(Byte, sizeof(T))) [[nodiscard]] T word() const noexcept
    {
        std::uint64_t value = 0;
        for (std::size_t index = sizeof(T); index-- > 0;) {
            value = (value << 8U) | m_Bytes[Byte - First + index];
        }
        return static_cast<T>(value);
    }

    // `Length` bytes at byte `Byte`, unchanged; valid while the page lives.
    template <std::size_t Byte, std::size_t Length>
    requires(Holds(Byte, Length)) [[nodiscard]] const Carray<Length>& bytes() const noexcept
    {
        return View<Byte, Carray<Length>>();
    }

    // The three bytes of an IEEE OUI at byte `Byte`.
    template <std::size_t Byte>
    requires(Holds(Byte, 3)) [[nodiscard]] const Array<unsigned char, 3>& oui() const noexcept
    {
        return View<Byte, Array<unsigned char, 3>>();
    }

    // Element `index` of `Count` elements of `Length` bytes that begin at byte `Byte`; `index` is below `Count`.
    template <std::size_t Byte, std::size_t Length, std::size_t Count>
    requires(Holds(Byte, Length* Count))
        [[nodiscard]] std::span<const std::uint8_t, Length> element(std::size_t index) const noexcept
    {
        return std::span<const std::uint8_t, Length>(m_Bytes.data() + (Byte - First) + index * Length, Length);
    }

private:
    // An array of bytes implicitly creates the trivial objects that are read from it (C++20, implicit object creation).
    template <std::size_t Byte, class T>
    [[nodiscard]] const T& View() const noexcept
    {
        static_assert(std::is_trivially_copyable_v<T> && alignof(T) == 1);
        return *std::launder(reinterpret_cast<const T*>(m_Bytes.data() + (Byte - First)));
    }

    std::array<std::uint8_t, Size> m_Bytes{};
};

}  // namespace veyra::sondix
