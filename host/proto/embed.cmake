# Writes the bytes of the file INPUT as a C++ header OUTPUT.
file(READ ${INPUT} bytes HEX)
string(REGEX REPLACE "(................................)" "\\1\n    " bytes "${bytes}")
string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${bytes}")
file(WRITE ${OUTPUT} "#pragma once

namespace orbis::host {

inline constexpr unsigned char kSchemaFiles[] = {
    ${bytes}};

}  // namespace orbis::host
")
