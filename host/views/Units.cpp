#include "views/Units.h"

#include <fmt/format.h>
#include <array>
#include <cmath>
#include <numeric>

namespace orbis::host {
namespace {

std::string Scaled(double value, double step, const auto& names, int decimals)
{
    std::size_t unit = 0;
    while (value >= step && unit + 1 < names.size()) {
        value /= step;
        ++unit;
    }
    return fmt::format("{:.{}f} {}", value, unit == 0 ? 0 : decimals, names[unit]);
}

}  // namespace

std::string Mebibytes(std::uint64_t count)
{
    static constexpr std::array<std::string_view, 5> kNames{"MiB", "GiB", "TiB", "PiB", "EiB"};
    return Scaled(static_cast<double>(count), 1024, kNames, 1);
}

std::string Bytes(double bytes)
{
    static constexpr std::array<std::string_view, 9> kNames{"B", "kB", "MB", "GB", "TB", "PB", "EB", "ZB", "YB"};
    return Scaled(bytes, 1000, kNames, 2);
}

std::string Grouped(double whole)
{
    std::string digits = fmt::format("{:.0f}", whole);
    for (std::ptrdiff_t at = std::ssize(digits) - 3; at > 0; at -= 3) {
        digits.insert(static_cast<std::size_t>(at), 1, ',');
    }
    return digits;
}

std::string Hex(std::uint32_t value, int digits) { return fmt::format("0x{:0{}X}", value, digits); }

double LittleEndian(std::string_view bytes)
{
    return std::accumulate(bytes.rbegin(), bytes.rend(), 0.0,
                           [](double value, char byte) { return value * 256 + static_cast<unsigned char>(byte); });
}

}  // namespace orbis::host
