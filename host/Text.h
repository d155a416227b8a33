#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

// Text on a terminal: its width, and the characters that may be sent. All texts are UTF-8.
namespace orbis::host {

// The columns of a text: none for combining marks, two for most East Asian letters.
[[nodiscard]] std::size_t DisplayWidth(std::string_view utf8);
// The text in at most `width` columns. When it is longer its middle is replaced by an ellipsis: names differ at their ends.
[[nodiscard]] std::string Fit(std::string_view utf8, std::size_t width);
// The text in pieces of at most `width` columns, broken at blanks where possible.
[[nodiscard]] std::vector<std::string> Wrap(std::string_view utf8, std::size_t width);
// The text without characters that would control the terminal: control characters and bytes that are not UTF-8 become \xNN, line
// separators and invisible formatting characters \uNNNN. Device text may contain any of them.
[[nodiscard]] std::string Printable(std::string_view utf8);
// The text without leading and trailing blanks.
[[nodiscard]] std::string Trimmed(std::string_view utf8);
// Printable text in ASCII: equivalents for the symbols that this program uses, \uNNNN for every other character.
[[nodiscard]] std::string Ascii(std::string_view utf8);

}  // namespace orbis::host
