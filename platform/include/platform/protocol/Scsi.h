#pragma once

#include <cstddef>
#include <cstdint>

// SCSI Primary Commands 4 (SPC-4), SCSI Block Commands 3 (SBC-3) and SCSI/ATA Translation 3 (SAT-3).
namespace orbis::protocol::scsi {

// Operation codes
inline constexpr std::uint8_t kTestUnitReady = 0x00;
inline constexpr std::uint8_t kRequestSense = 0x03;
inline constexpr std::uint8_t kInquiry = 0x12;
inline constexpr std::uint8_t kModeSense6 = 0x1A;
inline constexpr std::uint8_t kReadCapacity10 = 0x25;
inline constexpr std::uint8_t kLogSense = 0x4D;
inline constexpr std::uint8_t kModeSense10 = 0x5A;
inline constexpr std::uint8_t kAtaPassThrough16 = 0x85;
inline constexpr std::uint8_t kServiceActionIn16 = 0x9E;
inline constexpr std::uint8_t kReadCapacity16 = 0x10;  // service action of the one above
inline constexpr std::uint8_t kReportLuns = 0xA0;
inline constexpr std::uint8_t kAtaPassThrough12 = 0xA1;

// Peripheral device types
inline constexpr std::uint8_t kDirectAccess = 0x00;
inline constexpr std::uint8_t kZonedBlock = 0x14;  // host-managed

// Status codes
inline constexpr std::uint8_t kGood = 0x00;
inline constexpr std::uint8_t kCheckCondition = 0x02;

// Sense data: response codes (current errors), sense keys, additional sense codes
inline constexpr std::uint8_t kSenseFixed = 0x70;
inline constexpr std::uint8_t kSenseDescriptor = 0x72;
inline constexpr std::uint8_t kSenseNotReady = 0x2;
inline constexpr std::uint8_t kSenseIllegalRequest = 0x5;
inline constexpr std::uint8_t kSenseAbortedCommand = 0xB;
inline constexpr std::uint8_t kInvalidOperationCode = 0x20;
inline constexpr std::uint8_t kInvalidFieldInCdb = 0x24;
inline constexpr std::uint8_t kAtaPassThroughInformation = 0x1D;  // qualifier of additional sense code 0
inline constexpr std::uint8_t kAtaStatusReturn = 0x09;            // type of a sense data descriptor
inline constexpr std::uint8_t kAtaStatusReturnSize = 14;

// ATA PASS-THROUGH (SAT-3, 12.2): protocols, in bits 4:1 of byte 1, and the transfer described by byte 2
namespace ata_pass_through {
inline constexpr std::uint8_t kNonData = 3;
inline constexpr std::uint8_t kPioDataIn = 4;
inline constexpr std::uint8_t kDma = 6;
inline constexpr std::uint8_t kExtend = 0x01;          // byte 1: the registers' previous halves count too
inline constexpr std::uint8_t kCheckCondition = 0x20;  // the registers are wanted in sense data
inline constexpr std::uint8_t kFromDevice = 0x08;
inline constexpr std::uint8_t kBlocks = 0x04;
inline constexpr std::uint8_t kLengthMask = 0x03;
inline constexpr std::uint8_t kLengthInCount = 0x02;

// Registers by their byte in the 16-byte command; a register's previous half is in the byte before it.
inline constexpr std::size_t kFeatures16 = 4;
inline constexpr std::size_t kCount16 = 6;
inline constexpr std::size_t kLbaLow16 = 8;
inline constexpr std::size_t kLbaMid16 = 10;
inline constexpr std::size_t kLbaHigh16 = 12;
inline constexpr std::size_t kCommand16 = 14;
// The same in the 12-byte command.
inline constexpr std::size_t kFeatures12 = 3;
inline constexpr std::size_t kCommand12 = 9;
}  // namespace ata_pass_through

}  // namespace orbis::protocol::scsi
