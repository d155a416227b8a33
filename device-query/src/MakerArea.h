#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "MakerSignature.h"
#include "Page.h"
#include "sondix/Enums.h"

// The maker's layout of the vendor specific area of Identify Controller (bytes 4095:3072 of it). This one is the project's own
// example. A maker replaces this file by one with its layout; no other file has an offset of it.
//
// Layout, version 1. Bytes count from the start of the area (byte 0 is byte 3072 of the Identify data), numbers are little-endian.
//
//   byte  length  holds
//      0       8  signature, the ASCII text VEYRA-ID
//      8       2  version of the layout, 1
//     10       1  length of the layout in bytes, 96
//     11       1  checksum: makes the sum of bytes 0 to 95 a multiple of 256
//     12       4  nominal form factor, numbered as in NominalFormFactor
//     16      32  EPPID, electronic part identifier, text padded with spaces or zeros
//     48      16  drive GUID, raw
//     64       8  component identifier, text padded with spaces or zeros
//     72       2  device category class 0
//     74       2  device category class 1
//     76       2  device category class 2
//     78       2  device category class 11
//     80       1  bit 0: system crash protection; bit 1: host-metadata log; bits 7:2 reserved
//     81      15  reserved, zero
//     96     928  free
//
// A drive with this layout is one of the maker's, and only these are asked for the log of MakerHealthLog.h.
namespace veyra::sondix::maker {

class MakerArea : private Page<1024> {
public:
    // Offset of the area in Identify Controller, length of the layout, and the checksum byte.
    static constexpr std::size_t kFirst = 3072;
    static constexpr std::size_t kWhole = 1024;
    static constexpr std::size_t kLength = 96;
    static constexpr std::size_t kChecksum = 11;
    // Values that identify a drive or a part of it.
    struct Identifier {
        std::size_t first;
        std::size_t length;
        bool isText;
    };
    static constexpr std::array<Identifier, 3> kIdentifiers{{{16, 32, true}, {48, 16, false}, {64, 8, true}}};

    // The area of a whole Identify Controller structure.
    explicit MakerArea(const Page<4096>& identify) noexcept : Page(identify.element<3072, 1024, 1>(0)) {}

    // Whether signature, version, length and checksum are correct. Otherwise the other accessors are meaningless.
    [[nodiscard]] bool IsRecognised() const noexcept { return HasSignature<kLength>(Bytes(), "VEYRA-ID", 1); }

    [[nodiscard]] nvme::NominalFormFactor FormFactor() const noexcept
    {
        return static_cast<nvme::NominalFormFactor>(word<12, std::uint32_t>());
    }
    [[nodiscard]] const Carray<32>& Eppid() const noexcept { return bytes<16, 32>(); }
    [[nodiscard]] const Carray<16>& Guid() const noexcept { return bytes<48, 16>(); }
    [[nodiscard]] const Carray<8>& ComponentId() const noexcept { return bytes<64, 8>(); }
    [[nodiscard]] std::uint16_t Class0() const noexcept { return word<72, std::uint16_t>(); }
    [[nodiscard]] std::uint16_t Class1() const noexcept { return word<74, std::uint16_t>(); }
    [[nodiscard]] std::uint16_t Class2() const noexcept { return word<76, std::uint16_t>(); }
    [[nodiscard]] std::uint16_t Class11() const noexcept { return word<78, std::uint16_t>(); }
    [[nodiscard]] bool SystemCrashProtection() const noexcept { return bit<80 * 8>(); }
    [[nodiscard]] bool HostMetadataLog() const noexcept { return bit<80 * 8 + 1>(); }
};

}  // namespace veyra::sondix::maker
