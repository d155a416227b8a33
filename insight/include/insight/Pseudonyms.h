#pragma once

#include <array>
#include <cstdint>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "insight/Export.h"

namespace orbis::insight {

// Replaces identifying values. Each letter and digit becomes another one of its kind (0-9, a-f, g-z, in the same case). The
// replacement depends on a random key, which lives as long as the object, and on the letters and digits before it in the value. So
// the same value always gets the same replacement, of the same length and alphabet, whatever its case and separators ("\", "#",
// "-", "_"), and values with a common prefix get replacements with a common prefix. Leading zeros are kept, as are empty values and
// values of zeros, blanks or one repeated character.
class ORBIS_INSIGHT_EXPORT Pseudonyms {
public:
    Pseudonyms();

    // Words that are not identifiers: a value that occurs in them is replaced in its own field but not elsewhere. In names of
    // models a serial number is replaced nevertheless.
    void KeepWords(std::string_view words);
    void KeepName(std::string_view name);

    // The replacement of a value. Parts of it that are known already keep their replacements. The value is remembered, so that In
    // replaces it elsewhere too.
    [[nodiscard]] std::string Text(std::string_view utf8);
    [[nodiscard]] std::u16string Text(std::u16string_view text);
    [[nodiscard]] std::string Serial(std::string_view text);
    // In place; the hexadecimal text of the bytes, in their order, is the same value. A GUID's text has its first three numbers the
    // other way round.
    void Bytes(std::span<std::uint8_t> bytes);
    void Guid(std::span<std::uint8_t> bytes);

    // Text or bytes with every remembered value of at least six letters and digits replaced: in upper or lower case, as UTF-16,
    // with bytes swapped in pairs or all reversed, as hexadecimal text, and truncated to at least eight characters.
    [[nodiscard]] std::string In(std::string_view content) const;
    // Whether such a value, or its base64, occurs in the bytes.
    [[nodiscard]] bool IsFoundIn(std::string_view content) const;

private:
    struct Pattern {
        std::string from;
        std::string to;
        bool isText;           // letters match in either case, and keep theirs
        std::size_t shortest;  // a prefix of this length is a match
        bool isOnlySought = false;
    };

    [[nodiscard]] std::string Text(std::string_view utf8, std::string_view words);
    [[nodiscard]] std::string Replaced(std::string_view utf8) const;
    [[nodiscard]] std::uint64_t Hash(std::string_view text) const;
    // Implements In; `isKnown` has a mark for each character that it replaced.
    [[nodiscard]] std::string Substituted(std::string_view content, std::vector<bool>& isKnown) const;
    void Learn(std::string_view from, std::string_view to, std::string_view words);
    void LearnBytes(const std::string& from, const std::string& to);
    void Add(const Pattern& pattern);
    void AddText(const std::string& from, const std::string& to, std::size_t shortest = 0);
    // How much of `text` the pattern matches.
    [[nodiscard]] static std::size_t Match(const Pattern& pattern, std::string_view text);

    std::array<std::uint64_t, 2> m_Key;
    std::string m_Words;  // in lower case, as are the names
    std::string m_Names;
    std::set<std::string> m_Learnt;                    // in lower case
    std::array<std::vector<Pattern>, 256> m_Patterns;  // by their first byte, in lower case
};

}  // namespace orbis::insight
