#pragma once

#include <cstddef>
#include <cstdint>

// ATA/ATAPI Command Set 4 (ACS-4) and ATA-3's SMART: commands, subcommands and registers.
namespace orbis::protocol::ata {

inline constexpr std::uint32_t kSectorSize = 512;

// Commands (ACS-4, 7)
inline constexpr std::uint8_t kReadLogExt = 0x2F;
inline constexpr std::uint8_t kReadLogDmaExt = 0x47;
inline constexpr std::uint8_t kIdentifyPacketDevice = 0xA1;
inline constexpr std::uint8_t kSmart = 0xB0;
inline constexpr std::uint8_t kCheckPowerMode = 0xE5;
inline constexpr std::uint8_t kIdentifyDevice = 0xEC;

// Subcommands of SMART, in the features register, and the signature that each of them carries in LBA mid and high
inline constexpr std::uint8_t kSmartReadData = 0xD0;
inline constexpr std::uint8_t kSmartReadThresholds = 0xD1;
inline constexpr std::uint8_t kSmartReadLog = 0xD5;
inline constexpr std::uint8_t kSmartReturnStatus = 0xDA;
inline constexpr std::uint8_t kSmartLbaMid = 0x4F;
inline constexpr std::uint8_t kSmartLbaHigh = 0xC2;

// Log address in the host-specific range (80h to 9Fh) where makers keep a part identifier, 20 bytes of text
inline constexpr std::uint8_t kPartIdentifierLog = 0x9A;

// Answers of CHECK POWER MODE, in the count register, of a drive whose medium does not turn; every other answer is of one that is
// active or idle
inline constexpr std::uint8_t kPowerStandby = 0x00;
inline constexpr std::uint8_t kPowerStandbyY = 0x01;
inline constexpr std::uint8_t kPowerSpunDown = 0x40;  // active, from its non-volatile cache
inline constexpr std::uint8_t kPowerActive = 0xFF;

// Registers by their position in the task files of ATA_PASS_THROUGH_DIRECT; two of them mean something else in an answer.
namespace task_file {
inline constexpr std::size_t kFeatures = 0;
inline constexpr std::size_t kError = 0;
inline constexpr std::size_t kCount = 1;
inline constexpr std::size_t kLbaLow = 2;
inline constexpr std::size_t kLbaMid = 3;
inline constexpr std::size_t kLbaHigh = 4;
inline constexpr std::size_t kDevice = 5;
inline constexpr std::size_t kCommand = 6;
inline constexpr std::size_t kStatus = 6;
}  // namespace task_file

// Bits of the status register, and of the error register where the status has its error bit set
inline constexpr std::uint8_t kStatusError = 0x01;
inline constexpr std::uint8_t kStatusReady = 0x50;  // device ready, seek complete
inline constexpr std::uint8_t kErrorAborted = 0x04;

}  // namespace orbis::protocol::ata
