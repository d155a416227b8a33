#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

// Value types that cross the library's border, and the base of every object that it returns. Their member functions are compiled
// into the including program, so no std::string crosses the border.
namespace veyra {

// N bytes of text or of a raw number exactly as the drive returned them: not zero-terminated, padded with spaces or zeros.
template <std::size_t N>
struct Carray {
    static constexpr std::size_t kSize = N;

    std::uint8_t bytes[N];

    // Empty when the first byte is zero, otherwise all N bytes, zeros inside or at the end included. Intentionally so for raw
    // numbers too, where it makes a number whose lowest byte is zero read as empty.
    [[nodiscard]] std::string Str() const { return std::string{View()}; }
    // The same without a copy; valid as long as the array.
    [[nodiscard]] std::string_view View() const
    {
        return bytes[0] == 0 ? std::string_view{} : std::string_view{reinterpret_cast<const char*>(bytes), N};
    }
};

template <class T, std::size_t N>
struct Array;

// Three bytes, least significant first, as Identify holds an IEEE OUI.
template <>
struct Array<unsigned char, 3> {
    unsigned char bytes[3];

    // Upper-case hexadecimal, most significant byte first, leading zero bytes dropped (the last one stays): 00 1B 44 reads
    // "441B00", 44 1B 00 reads "1B44", 00 00 00 reads "00".
    [[nodiscard]] std::string Hex() const
    {
        constexpr const char* kDigits = "0123456789ABCDEF";
        std::string text;
        for (std::size_t index = 3; index-- > 0;) {
            if (bytes[index] == 0 && text.empty() && index != 0) {
                continue;
            }
            text += kDigits[bytes[index] >> 4U];
            text += kDigits[bytes[index] & 0x0FU];
        }
        return text;
    }
};

static_assert(sizeof(Carray<256>) == 256 && alignof(Carray<256>) == 1);
static_assert(sizeof(Array<unsigned char, 3>) == 3);

namespace sondix {

// Base of every object that the library returns: virtual table slot 0.
//
// Slots are a binary contract: accessors keep their order, new ones are appended, none is overloaded. A virtual destructor would
// take two slots in the Itanium C++ ABI and one in the Microsoft ABI, so an ordinary function destroys the object and the
// destructors are neither virtual nor public.
class IObject {
public:
    // Destroys and frees the object. Call SXDelete, never this.
    virtual void Destroy() noexcept = 0;

protected:
    ~IObject() = default;
};

}  // namespace sondix
}  // namespace veyra
