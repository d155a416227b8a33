#include "Common/Utilities.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace Veyra::Orbis::Cpp::Common {
namespace {

// Upper-case letters from `first` to `last`, every `step`-th character, with the distance to their lower-case letters.
struct CapitalLetters {
    char16_t first;
    char16_t last;
    std::uint8_t step;
    std::int16_t toLower;
};

constexpr std::array<CapitalLetters, 25> kCapitalLetters{{
    {u'A', u'Z', 1, 32},             // Basic Latin
    {0x00C0, 0x00D6, 1, 32},         // Latin-1, without the multiplication sign
    {0x00D8, 0x00DE, 1, 32},         //
    {0x0100, 0x012E, 2, 1},          // Latin Extended-A: capital and small letters alternate
    {0x0130, 0x0130, 1, 'i' - 304},  // I with dot above
    {0x0132, 0x0136, 2, 1},          //
    {0x0139, 0x0147, 2, 1},          //
    {0x014A, 0x0176, 2, 1},          //
    {0x0178, 0x0178, 1, -121},       // Y with diaeresis
    {0x0179, 0x017D, 2, 1},          //
    {0x0386, 0x0386, 1, 38},         // Greek
    {0x0388, 0x038A, 1, 37},         //
    {0x038C, 0x038C, 1, 64},         //
    {0x038E, 0x038F, 1, 63},         //
    {0x0391, 0x03A1, 1, 32},         //
    {0x03A3, 0x03AB, 1, 32},         //
    {0x0400, 0x040F, 1, 80},         // Cyrillic
    {0x0410, 0x042F, 1, 32},         //
    {0x0460, 0x0480, 2, 1},          //
    {0x048A, 0x04BE, 2, 1},          //
    {0x04C0, 0x04C0, 1, 15},         // palochka
    {0x04C1, 0x04CD, 2, 1},          //
    {0x04D0, 0x052E, 2, 1},          //
    {0x0531, 0x0556, 1, 48},         // Armenian
    {0xFF21, 0xFF3A, 1, 32},         // full-width Latin
}};

char16_t Lower(char16_t character) noexcept
{
    for (const CapitalLetters& letters : kCapitalLetters) {
        if (character < letters.first) {
            break;
        }
        if (character <= letters.last && (character - letters.first) % letters.step == 0) {
            return static_cast<char16_t>(character + letters.toLower);
        }
    }
    return character;
}

}  // namespace

std::u16string GetLower(std::u16string_view text)
{
    std::u16string lower(text);
    std::ranges::transform(lower, lower.begin(), Lower);
    return lower;
}

}  // namespace Veyra::Orbis::Cpp::Common
