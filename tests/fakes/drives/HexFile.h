#pragma once

#include <cstdint>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace orbis::tests {

// The bytes of a file of tests/data, read from its copy beside the program: lines of "offset: bytes", comments after "#". Empty
// when there is none.
inline std::vector<std::uint8_t> ReadHex(const std::string& file)
{
    std::vector<std::uint8_t> bytes;
    std::ifstream lines("testdata/" + file);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream row(line.starts_with('#') ? "" : line.substr(line.find(':') + 1));
        for (unsigned byte = 0; row >> std::hex >> byte;) {
            bytes.push_back(static_cast<std::uint8_t>(byte));
        }
    }
    return bytes;
}

}  // namespace orbis::tests
