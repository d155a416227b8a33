#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

// Text on a terminal: how wide it is, and what it may contain. All of it is UTF-8.
namespace orbis::host {

// Columns that a text takes: none for combining marks, two for most of East Asia's letters.
[[nodiscard]] std::size_t DisplayWidth(std::string_view utf8);
// The text in at most `width` columns. When it is longer its middle is replaced by an ellipsis: names differ at their ends.
[[nodiscard]] std::string Fit(std::string_view utf8, std::size_t width);
// The text in pieces of at most `width` columns, parted at blanks where there are some.
[[nodiscard]] std::vector<std::string> Wrap(std::string_view utf8, std::size_t width);
// The text with everything shown that would drive the terminal or its reader: control characters and what is no UTF-8 as \xNN, line
// separators and invisible formatting characters as \uNNNN. Device text may hold any of them.
[[nodiscard]] std::string Printable(std::string_view utf8);
// The text without blanks at its ends.
[[nodiscard]] std::string Trimmed(std::string_view utf8);
// Printable text in ASCII: an equivalent for the signs that this program uses, \uNNNN for every other character.
[[nodiscard]] std::string Ascii(std::string_view utf8);

}  // namespace orbis::host
