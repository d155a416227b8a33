#include "views/Units.h"

#include <fmt/format.h>
#include <array>
#include <cmath>
#include <numeric>

namespace orbis::host {
namespace {

// Digits in groups of three, separated by commas.
std::string Parted(std::string digits)
{
    for (std::ptrdiff_t at = std::ssize(digits) - 3; at > 0; at -= 3) {
        digits.insert(static_cast<std::size_t>(at), 1, ',');
    }
    return digits;
}

}  // namespace

std::string Bytes(double bytes)
{
    static constexpr std::array<std::string_view, 9> kNames{"B", "kB", "MB", "GB", "TB", "PB", "EB", "ZB", "YB"};
    std::size_t unit = 0;
    while (bytes >= 1000 && unit + 1 < kNames.size()) {
        bytes /= 1000;
        ++unit;
    }
    return fmt::format("{:.{}f} {}", bytes, unit == 0 ? 0 : 2, kNames[unit]);
}

std::string Mebibytes(double count) { return Bytes(count * 1048576); }

std::string Grouped(double whole) { return Parted(fmt::format("{:.0f}", whole)); }

std::string Grouped(std::uint64_t whole) { return Parted(fmt::format("{}", whole)); }

std::string Times(std::uint64_t count) { return count == 1 ? "once" : Grouped(count) + " times"; }

std::string Hex(std::uint32_t value, int digits) { return fmt::format("0x{:0{}X}", value, digits); }

double LittleEndian(std::string_view bytes)
{
    return std::accumulate(bytes.rbegin(), bytes.rend(), 0.0,
                           [](double value, char byte) { return value * 256 + static_cast<unsigned char>(byte); });
}

}  // namespace orbis::host
