#include "insight/Pseudonyms.h"

#include <algorithm>
#include <bit>
#include <optional>
#include <random>
#include <utility>

#include "platform/Text.h"

namespace orbis::insight {
namespace {

constexpr std::size_t kShortest = 6;  // letters and digits of a value that is searched for
constexpr std::size_t kShortestBeginning = 8;

char Lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }
bool IsUpper(char c) { return c >= 'A' && c <= 'Z'; }
char Upper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }
bool IsPrintable(char c) { return c >= ' ' && c <= '~'; }
bool IsAlnum(char c) { return (c >= '0' && c <= '9') || (Lower(c) >= 'a' && Lower(c) <= 'z'); }
unsigned char Byte(char c) { return static_cast<unsigned char>(c); }

std::string Lower(std::string_view text)
{
    std::string lower(text);
    std::ranges::transform(lower, lower.begin(), [](char c) { return Lower(c); });
    return lower;
}

std::string_view Trim(std::string_view text)
{
    constexpr std::string_view kPadding(" \t\0", 3);
    const std::size_t first = text.find_first_not_of(kPadding);
    return first == text.npos ? std::string_view() : text.substr(first, text.find_last_not_of(kPadding) - first + 1);
}

// The letters and digits in lower case.
std::string Core(std::string_view text)
{
    std::string core;
    std::ranges::copy_if(Lower(text), std::back_inserter(core), IsAlnum);
    return core;
}

// Text has no control characters except those that pad fields.
bool IsControl(char c) { return Byte(c) < 0x20 && c != 0 && (c < '\b' || c > '\r'); }

// A value that identifies nothing: empty, or one character repeated.
bool IsBlank(std::string_view text)
{
    std::string marks;
    std::ranges::copy_if(Lower(text), std::back_inserter(marks),
                         [](char c) { return IsAlnum(c) || IsControl(c) || Byte(c) >= 0x80; });
    return std::ranges::all_of(marks, [&](char c) { return c == marks.front(); });
}

std::string Hex(std::string_view bytes)
{
    constexpr std::string_view kDigits = "0123456789abcdef";
    std::string hex;
    for (const char byte : bytes) {
        hex += {kDigits[Byte(byte) >> 4U], kDigits[Byte(byte) & 15U]};
    }
    return hex;
}

std::optional<std::string> FromHex(std::string_view hex)
{
    std::string bytes;
    for (std::size_t at = 0; at < hex.size(); ++at) {
        const char c = hex[at];
        if (!(c >= '0' && c <= '9') && !(c >= 'a' && c <= 'f')) {
            return std::nullopt;
        }
        const int digit = c <= '9' ? c - '0' : c - 'a' + 10;
        if (at % 2 == 0) {
            bytes += static_cast<char>(digit << 4);
        } else {
            bytes.back() = static_cast<char>(Byte(bytes.back()) | digit);
        }
    }
    return hex.size() % 2 == 0 ? std::optional(bytes) : std::nullopt;
}

std::string SwappedPairs(std::string text)
{
    text.append(text.size() % 2, ' ');
    for (std::size_t at = 0; at + 1 < text.size(); at += 2) {
        std::swap(text[at], text[at + 1]);
    }
    return text;
}

std::string Reversed(std::string_view bytes) { return {bytes.rbegin(), bytes.rend()}; }

// A GUID's bytes in the order of its text, and back.
std::string GuidOrder(std::string bytes)
{
    std::reverse(bytes.begin(), bytes.begin() + 4);
    std::reverse(bytes.begin() + 4, bytes.begin() + 6);
    std::reverse(bytes.begin() + 6, bytes.begin() + 8);
    return bytes;
}

std::string Utf16(std::string_view text)
{
    std::string bytes;
    for (const char16_t unit : platform::Utf8ToUtf16(text)) {
        bytes += {static_cast<char>(unit & 0xFFU), static_cast<char>(unit >> 8U)};
    }
    return bytes;
}

// Digits in groups: "0025_385B", "00-25-38".
std::string Grouped(std::string_view hex, std::size_t digits, char separator)
{
    std::string text;
    for (std::size_t at = 0; at < hex.size(); at += digits) {
        text += (at == 0 ? "" : std::string(1, separator)) + std::string(hex.substr(at, digits));
    }
    return text;
}

std::string GuidText(std::string_view hex)
{
    std::string text(hex);
    for (const std::size_t dash : {20U, 16U, 12U, 8U}) {
        text.insert(dash, "-");
    }
    return text;
}

// The base64 of a value that begins at byte `shift` of three, without the digits that other bytes share.
std::string Base64(std::string_view bytes, std::size_t shift)
{
    constexpr std::string_view kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    const std::string padded = std::string(shift, '\0') + std::string(bytes);
    std::string text;
    for (std::size_t bit = 0; bit + 6 <= padded.size() * 8; bit += 6) {
        const std::uint32_t next = bit / 8 + 1 < padded.size() ? Byte(padded[bit / 8 + 1]) : 0U;
        const std::uint32_t pair = (std::uint32_t{Byte(padded[bit / 8])} << 8U) | next;
        text += bit < shift * 8 ? std::string() : std::string(1, kDigits[pair >> (10U - bit % 8) & 63U]);
    }
    return text;
}

}  // namespace

Pseudonyms::Pseudonyms()
{
    std::random_device random;
    for (std::uint64_t& half : m_Key) {
        half = (std::uint64_t{random()} << 32U) | random();
    }
}

// SipHash-2-4 by Aumasson and Bernstein.
std::uint64_t Pseudonyms::Hash(std::string_view text) const
{
    std::array<std::uint64_t, 4> v{m_Key[0] ^ 0x736f6d6570736575U, m_Key[1] ^ 0x646f72616e646f6dU, m_Key[0] ^ 0x6c7967656e657261U,
                                   m_Key[1] ^ 0x7465646279746573U};
    const auto rounds = [&v](int count) {
        for (int round = 0; round < count; ++round) {
            v[0] += v[1];
            v[2] += v[3];
            v[1] = std::rotl(v[1], 13) ^ v[0];
            v[3] = std::rotl(v[3], 16) ^ v[2];
            v[0] = std::rotl(v[0], 32);
            v[2] += v[1];
            v[0] += v[3];
            v[1] = std::rotl(v[1], 17) ^ v[2];
            v[3] = std::rotl(v[3], 21) ^ v[0];
            v[2] = std::rotl(v[2], 32);
        }
    };
    for (std::size_t at = 0; at <= text.size(); at += 8) {
        std::uint64_t word = text.size() - at < 8 ? std::uint64_t{text.size()} << 56U : 0;
        for (std::size_t byte = 0; byte < std::min<std::size_t>(8, text.size() - at); ++byte) {
            word |= std::uint64_t{Byte(text[at + byte])} << (8 * byte);
        }
        v[3] ^= word;
        rounds(2);
        v[0] ^= word;
    }
    v[2] ^= 0xFF;
    rounds(4);
    return v[0] ^ v[1] ^ v[2] ^ v[3];
}

std::string Pseudonyms::Replaced(std::string_view utf8) const
{
    std::string result;
    std::string before;  // letters and digits so far
    std::vector<bool> isKnown;
    const std::string known = Substituted(utf8, isKnown);
    const bool isUtf8 = platform::Utf16ToUtf8(platform::Utf8ToUtf16(utf8)) == utf8;
    const auto isContinuation = [&](std::size_t at) { return at < utf8.size() && (Byte(utf8[at]) & 0xC0U) == 0x80; };
    for (std::size_t at = 0; at < utf8.size(); ++at) {
        const char c = utf8[at];
        const char lower = Lower(c);
        const auto turned = [&](char first, std::uint64_t count) {
            const auto place = static_cast<std::uint64_t>(lower - first);
            return static_cast<char>(first + static_cast<char>((place + 1 + Hash(before) % (count - 1)) % count));
        };
        // Leading zeros are kept, and no others are added, because an identifier whose first byte is zero counts as absent.
        const bool isLeading = before.find_first_not_of('0') == before.npos;
        char other = c;
        if (isLeading && lower >= '0' && lower <= '9') {
            other = lower == '0' ? c : turned('1', 9);
        } else if (lower >= '0' && lower <= '9') {
            other = turned('0', 10);
        } else if (lower >= 'a' && lower <= 'f') {
            other = turned('a', 6);
        } else if (lower >= 'g' && lower <= 'z') {
            other = turned('g', 20);
        } else if (IsControl(c)) {
            other = c < '\b' ? turned('\1', 7) : turned('\16', 18);
        } else if (!isUtf8 && Byte(c) >= 0x80) {
            other = static_cast<char>((Byte(c) + 1 + Hash(before) % 7) | 0xF8U);  // never part of UTF-8
        } else if (isContinuation(at) && !isContinuation(at + 1)) {
            // The last bits of a character beyond ASCII, so that its script is kept.
            other = static_cast<char>((Byte(c) & 0xE0U) | ((Byte(c) + 1 + Hash(before) % 31) & 0x1FU));
        } else {
            result += known[at];
            continue;
        }
        before += lower;
        result += isKnown[at] ? known[at] : IsUpper(c) ? Upper(other) : other;
    }
    return result;
}

void Pseudonyms::KeepWords(std::string_view words) { m_Words += Lower(words) + '\n'; }
void Pseudonyms::KeepName(std::string_view name) { m_Names += Lower(name) + '\n'; }

std::string Pseudonyms::Text(std::string_view utf8) { return Text(utf8, m_Words + m_Names); }
std::string Pseudonyms::Serial(std::string_view text) { return Text(text, m_Words); }

std::string Pseudonyms::Text(std::string_view utf8, std::string_view words)
{
    if (IsBlank(utf8)) {
        return std::string(utf8);
    }
    const std::string_view value = Trim(utf8);
    // Some drivers report a serial number as hexadecimal text; it is the same value.
    if (const auto decoded = FromHex(Lower(value));
        decoded && IsBlank(*decoded) == false && std::ranges::all_of(*decoded, IsPrintable)) {
        static_cast<void>(Text(*decoded, words));
    }
    std::string replaced = Replaced(utf8);
    Learn(value, std::string_view(replaced).substr(static_cast<std::size_t>(value.data() - utf8.data()), value.size()), words);
    return replaced;
}

std::u16string Pseudonyms::Text(std::u16string_view text)
{
    std::u16string replaced = platform::Utf8ToUtf16(Text(platform::Utf16ToUtf8(text)));
    return replaced.size() == text.size() ? replaced : std::u16string(text.size(), u'x');  // it was no UTF-16
}

void Pseudonyms::Bytes(std::span<std::uint8_t> bytes)
{
    const std::string replaced = Text(Hex({reinterpret_cast<const char*>(bytes.data()), bytes.size()}));
    std::ranges::copy(FromHex(replaced).value_or(std::string()), bytes.begin());
}

void Pseudonyms::Guid(std::span<std::uint8_t> bytes)
{
    constexpr std::size_t kSize = 16;
    const std::string raw(bytes.begin(), bytes.end());
    if (raw.size() != kSize) {
        return;
    }
    std::ranges::copy(GuidOrder(FromHex(Text(Hex(GuidOrder(raw)))).value_or(raw)), bytes.begin());
}

// A recording also contains texts in UTF-16.
void Pseudonyms::AddText(const std::string& from, const std::string& to, std::size_t shortest)
{
    const bool isAscii = std::ranges::all_of(from, [](char c) { return Byte(c) < 0x80; });
    Add({from, to, true, shortest});
    Add({Utf16(from), Utf16(to), isAscii, shortest * 2});
}

void Pseudonyms::Add(const Pattern& pattern)
{
    const char first = pattern.from.front();
    m_Patterns[Byte(pattern.isText ? Lower(first) : first)].push_back(pattern);
    if (pattern.isText && Upper(Lower(first)) != Lower(first)) {
        m_Patterns[Byte(Upper(Lower(first)))].push_back(pattern);
    }
}

void Pseudonyms::LearnBytes(const std::string& from, const std::string& to)
{
    Add({from, to, false, 0});
    Add({Reversed(from), Reversed(to), false, 0});
    AddText(Hex(Reversed(from)), Hex(Reversed(to)));
    constexpr std::array<std::pair<std::size_t, char>, 5> kGroups{{{2, '-'}, {2, ':'}, {2, ' '}, {4, '_'}, {4, '-'}}};
    for (const auto& [digits, separator] : kGroups) {
        AddText(Grouped(Hex(from), digits, separator), Grouped(Hex(to), digits, separator));
    }
    constexpr std::size_t kGuid = 16;
    if (from.size() == kGuid) {
        Add({GuidOrder(from), GuidOrder(to), false, 0});
        AddText(GuidText(Hex(from)), GuidText(Hex(to)));
    }
}

void Pseudonyms::Learn(std::string_view from, std::string_view to, std::string_view words)
{
    const std::string core = Core(from);
    const std::string lower = Lower(from);
    if (core.size() < kShortest || words.find(lower) != words.npos || !m_Learnt.insert(lower).second) {
        return;
    }
    // A prefix that is a word, or almost only zeros, does not indicate the value.
    const std::string beginning = lower.substr(0, kShortestBeginning);
    const bool hasDigit = std::ranges::any_of(beginning, [](char c) { return c >= '0' && c <= '9'; });
    const std::size_t shortest = hasDigit && std::set(beginning.begin(), beginning.end()).size() >= 4 ? kShortestBeginning : 0;
    AddText(std::string(from), std::string(to), shortest);
    AddText(SwappedPairs(std::string(from)), SwappedPairs(std::string(to)));
    AddText(Hex(from), Hex(to));
    AddText(Hex(Utf16(from)), Hex(Utf16(to)));
    AddText(Hex(SwappedPairs(std::string(from))), Hex(SwappedPairs(std::string(to))));
    const std::string coreTo = Core(to);
    const auto bytes = FromHex(core);
    constexpr std::size_t kLongestBytes = 32;
    const auto isZero = [](char c) { return c == 0; };
    if (bytes && bytes->size() <= kLongestBytes &&
        static_cast<std::ptrdiff_t>(bytes->size()) - std::ranges::count_if(*bytes, isZero) >= 3) {
        if (core != lower) {
            AddText(core, coreTo);
        }
        LearnBytes(*bytes, FromHex(coreTo).value_or(*bytes));
    }
    for (const std::size_t shift : {0U, 1U, 2U}) {
        Add({Base64(from, shift), {}, false, 0, true});
        Add({Utf16(Base64(from, shift)), {}, false, 0, true});
        Add({Base64(Utf16(from), shift), {}, false, 0, true});
    }
}

std::size_t Pseudonyms::Match(const Pattern& pattern, std::string_view text)
{
    const std::size_t most = std::min(pattern.from.size(), text.size());
    std::size_t length = 0;
    while (length < most &&
           (pattern.isText ? Lower(pattern.from[length]) == Lower(text[length]) : pattern.from[length] == text[length])) {
        ++length;
    }
    return length == pattern.from.size() || (pattern.shortest != 0 && length >= pattern.shortest) ? length : 0;
}

std::string Pseudonyms::In(std::string_view content) const
{
    std::vector<bool> isKnown;
    return Substituted(content, isKnown);
}

std::string Pseudonyms::Substituted(std::string_view content, std::vector<bool>& isKnown) const
{
    std::string result(content);
    isKnown.assign(content.size(), false);
    for (std::size_t at = 0; at < content.size();) {
        const Pattern* best = nullptr;
        std::size_t length = 0;
        for (const Pattern& pattern : m_Patterns[Byte(content[at])]) {
            const std::size_t match = pattern.isOnlySought ? 0 : Match(pattern, content.substr(at));
            if (match > length) {
                best = &pattern;
                length = match;
            }
        }
        for (std::size_t one = 0; one < length; ++one) {
            const char to = best->to[one];
            isKnown[at + one] = true;
            result[at + one] = best->isText && IsUpper(content[at + one]) ? Upper(to) : best->isText ? Lower(to) : to;
        }
        at += std::max<std::size_t>(length, 1);
    }
    return result;
}

bool Pseudonyms::IsFoundIn(std::string_view content) const
{
    for (std::size_t at = 0; at < content.size(); ++at) {
        for (const Pattern& pattern : m_Patterns[Byte(content[at])]) {
            if (Match(pattern, content.substr(at)) == pattern.from.size()) {
                return true;
            }
        }
    }
    return false;
}

}  // namespace orbis::insight
