#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace orbis::host {

// The word of `known` that `given` is, letters of either case. Throws std::invalid_argument ("no such datatype: X") with the
// nearest word, or with all of them where none is near.
[[nodiscard]] std::string FindWord(const std::vector<std::string>& known, std::string_view given, std::string_view what);
// The word of `known` that is most similar to `given`; empty when none is similar.
[[nodiscard]] std::string Nearest(const std::vector<std::string>& known, std::string_view given);

}  // namespace orbis::host
