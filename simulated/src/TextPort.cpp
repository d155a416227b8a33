#include "emulated/Text.h"

#include <algorithm>
#include <array>

#include "MachineState.h"

namespace orbis::simulated {
namespace {

constexpr std::uint32_t kUsAscii = 20127;
constexpr std::uint32_t kUtf8 = 65001;
constexpr char16_t kReplacement = 0xFFFD;

using UpperHalf = std::array<char16_t, 128>;

// Bytes 0x80 to 0x9F of Windows-1252; the five undefined ones are control characters, as on Windows.
constexpr std::array<char16_t, 32> kWindows1252{
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
    0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

// Bytes 0x80 to 0xFF of the first PCs' character set.
constexpr UpperHalf kOem437{
    0x00C7, 0x00FC, 0x00E9, 0x00E2, 0x00E4, 0x00E0, 0x00E5, 0x00E7, 0x00EA, 0x00EB, 0x00E8, 0x00EF, 0x00EE, 0x00EC, 0x00C4, 0x00C5,
    0x00C9, 0x00E6, 0x00C6, 0x00F4, 0x00F6, 0x00F2, 0x00FB, 0x00F9, 0x00FF, 0x00D6, 0x00DC, 0x00A2, 0x00A3, 0x00A5, 0x20A7, 0x0192,
    0x00E1, 0x00ED, 0x00F3, 0x00FA, 0x00F1, 0x00D1, 0x00AA, 0x00BA, 0x00BF, 0x2310, 0x00AC, 0x00BD, 0x00BC, 0x00A1, 0x00AB, 0x00BB,
    0x2591, 0x2592, 0x2593, 0x2502, 0x2524, 0x2561, 0x2562, 0x2556, 0x2555, 0x2563, 0x2551, 0x2557, 0x255D, 0x255C, 0x255B, 0x2510,
    0x2514, 0x2534, 0x252C, 0x251C, 0x2500, 0x253C, 0x255E, 0x255F, 0x255A, 0x2554, 0x2569, 0x2566, 0x2560, 0x2550, 0x256C, 0x2567,
    0x2568, 0x2564, 0x2565, 0x2559, 0x2558, 0x2552, 0x2553, 0x256B, 0x256A, 0x2518, 0x250C, 0x2588, 0x2584, 0x258C, 0x2590, 0x2580,
    0x03B1, 0x00DF, 0x0393, 0x03C0, 0x03A3, 0x03C3, 0x00B5, 0x03C4, 0x03A6, 0x0398, 0x03A9, 0x03B4, 0x221E, 0x03C6, 0x03B5, 0x2229,
    0x2261, 0x00B1, 0x2265, 0x2264, 0x2320, 0x2321, 0x00F7, 0x2248, 0x00B0, 0x2219, 0x00B7, 0x221A, 0x207F, 0x00B2, 0x25A0, 0x00A0};

char16_t Latin1(std::uint8_t byte) { return byte; }
char16_t Windows1252(std::uint8_t byte) { return byte >= 0x80 && byte < 0xA0 ? kWindows1252[byte - 0x80U] : byte; }
char16_t Oem437(std::uint8_t byte) { return byte < 0x80 ? byte : kOem437[byte - 0x80U]; }
char16_t UsAscii(std::uint8_t byte) { return byte < 0x80 ? byte : kReplacement; }

struct SingleByteCodePage {
    std::uint32_t number;
    char16_t (*decode)(std::uint8_t byte);
};
constexpr std::array<SingleByteCodePage, 4> kCodePages{{{437, Oem437}, {1252, Windows1252}, {kUsAscii, UsAscii}, {28591, Latin1}}};

const SingleByteCodePage* FindCodePage(std::uint32_t number)
{
    const auto found =
        std::find_if(kCodePages.begin(), kCodePages.end(), [&](const SingleByteCodePage& page) { return page.number == number; });
    return found != kCodePages.end() ? &*found : nullptr;
}

}  // namespace

bool IsKnownCodePage(std::uint32_t codePage) { return codePage == kUtf8 || FindCodePage(codePage) != nullptr; }

std::u16string DecodeCodePage(std::uint32_t codePage, std::string_view text)
{
    const SingleByteCodePage* page = FindCodePage(codePage);
    if (page == nullptr) {
        return platform::Utf8ToUtf16(text);
    }
    std::u16string wide;
    wide.reserve(text.size());
    std::transform(text.begin(), text.end(), std::back_inserter(wide),
                   [&](char c) { return page->decode(static_cast<std::uint8_t>(c)); });
    return wide;
}

std::unique_ptr<platform::Text> MakeTextPort(MachineState& machine)
{
    return std::make_unique<platform::emulated::Text>(
        [codePage = machine.codePage](std::string_view text) { return DecodeCodePage(codePage, text); });
}

}  // namespace orbis::simulated
