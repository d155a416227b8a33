# Writes the text file INPUT as a C++ header OUTPUT: one raw string literal for each line, since compilers limit the length of one.
file(READ ${INPUT} text)
string(REPLACE "\n" "\n)~\"\n    R\"~(" text "${text}")
file(WRITE ${OUTPUT} "#pragma once

#include <string_view>

namespace orbis::insight {

inline constexpr std::string_view kSourcesText =
    R\"~(${text})~\";

}  // namespace orbis::insight
")
