#pragma once

#include <cstdint>

#include "MakerSignature.h"
#include "Page.h"

// The maker's health log page. This one is the project's own example. A maker replaces this file by one with its layout; no other
// file has an offset of it or its identifier.
//
// Log identifier D1h (vendor specific range C0h to FFh), 512 bytes, of the controller. Only drives whose Identify vendor area is in
// the maker's layout (MakerArea.h) are asked for it: for another maker's drive the identifier means something else, or is unknown,
// and then every collection would leave an entry in that drive's Error Information log.
//
// Layout, version 1. Numbers are little-endian.
//
//   byte  length  holds
//      0       8  signature, the ASCII text VEYRA-HL
//      8       2  version of the layout, 1
//     10       1  length of the layout in bytes, 64
//     11       1  checksum: makes the sum of bytes 0 to 63 a multiple of 256
//     12       1  wear-leveling count
//     13       1  used reserved block count, worst-case component
//     14       1  used reserved block count, SSD total
//     15       1  abnormal input Vcc voltage counter
//     16       4  reserved block count, SSD total
//     20       4  minimum temperature, degrees Celsius, signed
//     24       4  maximum temperature, degrees Celsius, signed
//     28       4  accumulated host active-idle counter
//     32      16  total data written by the controller, 128-bit
//     48       4  accumulated non-operational power state counter
//     52      12  reserved, zero
//     64     448  free
namespace veyra::sondix::maker {

inline constexpr std::uint8_t kHealthLogIdentifier = 0xD1;
inline constexpr std::size_t kHealthLogSize = 512;

class MakerHealthLog : private Page<kHealthLogSize> {
public:
    using Page::kSize;
    static constexpr std::size_t kLength = 64;  // of the layout
    using Page::Page;

    // Whether signature, version, length and checksum are correct. Otherwise the other accessors are meaningless.
    [[nodiscard]] bool IsRecognised() const noexcept { return HasSignature<kLength>(Bytes(), "VEYRA-HL", 1); }

    [[nodiscard]] std::uint8_t WearLevelingCount() const noexcept { return word<12, std::uint8_t>(); }
    [[nodiscard]] std::uint8_t UsedReservedBlockCountWorstCaseComponent() const noexcept { return word<13, std::uint8_t>(); }
    [[nodiscard]] std::uint8_t UsedReservedBlockCountSsdTotal() const noexcept { return word<14, std::uint8_t>(); }
    [[nodiscard]] std::uint8_t AbnormalInputVccVoltageCounter() const noexcept { return word<15, std::uint8_t>(); }
    [[nodiscard]] std::uint32_t ReservedBlockCountSsdTotal() const noexcept { return word<16, std::uint32_t>(); }
    [[nodiscard]] std::int32_t MinimumTemperature() const noexcept { return static_cast<std::int32_t>(word<20, std::uint32_t>()); }
    [[nodiscard]] std::int32_t MaximumTemperature() const noexcept { return static_cast<std::int32_t>(word<24, std::uint32_t>()); }
    [[nodiscard]] std::uint32_t AccumulatedHostActiveIdleCounter() const noexcept { return word<28, std::uint32_t>(); }
    [[nodiscard]] const Carray<16>& TotalDataWrittenByController() const noexcept { return bytes<32, 16>(); }
    [[nodiscard]] std::uint32_t AccumulatedNonOperationalPowerStateCounter() const noexcept { return word<48, std::uint32_t>(); }
};

}  // namespace veyra::sondix::maker
