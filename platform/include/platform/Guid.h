#pragma once

#include <array>
#include <cstdint>

namespace orbis::platform {

// A GUID in memory as Windows lays it out: the first three members in the machine's (little-endian) order.
struct Guid {
    std::uint32_t data1 = 0;
    std::uint16_t data2 = 0;
    std::uint16_t data3 = 0;
    std::array<std::uint8_t, 8> data4{};

    friend constexpr bool operator==(const Guid&, const Guid&) = default;
};
static_assert(sizeof(Guid) == 16);

// GUID_DEVINTERFACE_DISK {53F56307-B6BF-11D0-94F2-00A0C91EFB8B}
inline constexpr Guid kDiskInterfaceGuid{0x53F56307, 0xB6BF, 0x11D0, {0x94, 0xF2, 0x00, 0xA0, 0xC9, 0x1E, 0xFB, 0x8B}};

}  // namespace orbis::platform
