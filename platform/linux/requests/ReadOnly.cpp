#include "linux/requests/ReadOnly.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace orbis::platform::linux_system {
namespace {

bool IsReadOnlySmart(std::uint8_t features, Transfer transfer) noexcept
{
    switch (features) {
        case 0xD0:  // READ DATA
        case 0xD1:  // READ THRESHOLDS
        case 0xD5:
            return transfer == Transfer::FromDevice;  // READ LOG
        case 0xDA:
            return transfer == Transfer::None;  // RETURN STATUS
        default:
            return false;
    }
}

struct AtaPassThroughFields {
    std::uint8_t protocol;
    std::uint8_t flags;
    std::uint8_t features;
    std::uint8_t command;
};

bool IsReadOnlyAtaPassThrough(const AtaPassThroughFields& cdb, Transfer transfer) noexcept
{
    constexpr std::uint8_t kNonData = 3;
    constexpr std::uint8_t kPioIn = 4;
    constexpr std::uint8_t kDma = 6;
    constexpr std::uint8_t kFromDevice = 0x08;
    constexpr std::uint8_t kLengthMask = 0x03;
    const auto protocol = static_cast<std::uint8_t>(cdb.protocol >> 1 & 0x0F);
    const bool isNonData = protocol == kNonData && (cdb.flags & kLengthMask) == 0 && transfer == Transfer::None;
    const bool isDataIn =
        (protocol == kPioIn || protocol == kDma) && (cdb.flags & kFromDevice) != 0 && transfer == Transfer::FromDevice;
    // Bits 7:5 of the protocol byte repeat the transfer, bits 7:6 of the flags make the drive go off line.
    const bool isPlain = (cdb.protocol & 0xE0) == 0 && (cdb.flags & 0xC0) == 0;
    return isPlain && (isNonData || isDataIn) && IsReadOnlyAta(cdb.command, cdb.features, transfer);
}

}  // namespace

bool IsReadOnlyAta(std::uint8_t command, std::uint8_t features, Transfer transfer) noexcept
{
    switch (command) {
        case 0x2F:  // READ LOG EXT
        case 0x47:  // READ LOG DMA EXT
        case 0xA1:  // IDENTIFY PACKET DEVICE
        case 0xEC:
            return transfer == Transfer::FromDevice;  // IDENTIFY DEVICE
        case 0xE5:
            return transfer == Transfer::None;  // CHECK POWER MODE
        case 0xB0:
            return IsReadOnlySmart(features, transfer);
        default:
            return false;
    }
}

bool IsReadOnlyScsi(std::span<const std::uint8_t> cdb, Transfer transfer) noexcept
{
    if (cdb.empty()) {
        return false;
    }
    const auto byte = [&](std::size_t at) -> std::uint8_t { return at < cdb.size() ? cdb[at] : 0; };
    switch (byte(0)) {
        case 0x00:  // TEST UNIT READY
        case 0x03:  // REQUEST SENSE
        case 0x12:  // INQUIRY
        case 0x1A:  // MODE SENSE(6)
        case 0x25:  // READ CAPACITY(10)
        case 0x5A:  // MODE SENSE(10)
        case 0xA0:
            return true;  // REPORT LUNS
        case 0x4D:
            return (byte(1) & 0x01) == 0;  // LOG SENSE, but not with "save parameters"
        case 0x9E:
            return (byte(1) & 0x1F) == 0x10;  // SERVICE ACTION IN(16): READ CAPACITY(16)
        case 0x85:
            return cdb.size() == 16 && IsReadOnlyAtaPassThrough({byte(1), byte(2), byte(4), byte(14)}, transfer);
        case 0xA1:
            return cdb.size() == 12 && IsReadOnlyAtaPassThrough({byte(1), byte(2), byte(3), byte(9)}, transfer);
        default:
            return false;
    }
}

bool IsReadOnlyNvmeAdmin(std::uint8_t opcode) noexcept
{
    constexpr std::array<std::uint8_t, 3> kReading{0x02, 0x06, 0x0A};  // Get Log Page, Identify, Get Features
    return std::ranges::find(kReading, opcode) != kReading.end();
}

}  // namespace orbis::platform::linux_system
