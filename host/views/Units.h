#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace orbis::host {

// "931.5 GiB" from a number of 2^20 bytes.
[[nodiscard]] std::string Mebibytes(std::uint64_t count);
// "4.00 TB", decimal as drives are sold.
[[nodiscard]] std::string Bytes(double bytes);
// "1,234,567"
[[nodiscard]] std::string Grouped(double whole);
// "0x1D97"
[[nodiscard]] std::string Hex(std::uint32_t value, int digits);
// A little-endian byte string as a number; exact to 53 bits.
[[nodiscard]] double LittleEndian(std::string_view bytes);

}  // namespace orbis::host
