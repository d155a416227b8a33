#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace orbis::host {

// "1.00 TB" from a number of bytes: decimal, as drives are sold.
[[nodiscard]] std::string Bytes(double bytes);
// The same from a number of 2^20 bytes.
[[nodiscard]] std::string Mebibytes(double count);
// "1,234,567"
[[nodiscard]] std::string Grouped(double whole);
[[nodiscard]] std::string Grouped(std::uint64_t whole);
// "once", "5 times"
[[nodiscard]] std::string Times(std::uint64_t count);
// "0x1D97"
[[nodiscard]] std::string Hex(std::uint32_t value, int digits);
// A little-endian byte string as a number; exact to 53 bits.
[[nodiscard]] double LittleEndian(std::string_view bytes);

}  // namespace orbis::host
