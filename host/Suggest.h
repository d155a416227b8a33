#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace orbis::host {

// Returns the word of `known` that equals `given` in upper or lower case. Otherwise throws std::invalid_argument ("no such
// datatype: X") with the nearest word, or with all words when none is near.
[[nodiscard]] std::string FindWord(const std::vector<std::string>& known, std::string_view given, std::string_view what);
// The word of `known` that is most similar to `given`; empty when none is similar.
[[nodiscard]] std::string Nearest(const std::vector<std::string>& known, std::string_view given);

}  // namespace orbis::host
