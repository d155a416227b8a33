#pragma once

#include <cstdint>

// NVM Express Base Specification 1.4: admin commands and their status.
namespace orbis::protocol::nvme {

// Admin command opcodes (figure 139)
inline constexpr std::uint8_t kGetLogPage = 0x02;
inline constexpr std::uint8_t kIdentify = 0x06;
inline constexpr std::uint8_t kGetFeatures = 0x0A;

inline constexpr std::uint32_t kAllNamespaces = 0xFFFFFFFF;
inline constexpr std::uint32_t kIdentifySize = 4096;  // of every Identify data structure

// Identify: controller or namespace structure (figure 244)
inline constexpr std::uint8_t kCnsNamespace = 0x00;
inline constexpr std::uint8_t kCnsController = 0x01;

// Log page identifiers (figure 191)
inline constexpr std::uint8_t kLogSmartHealth = 0x02;

// Status as in a completion without its phase bit: status code in bits 7:0, its type in bits 10:8 (figures 126 to 129)
inline constexpr std::uint32_t kStatusMask = 0x7FF;
inline constexpr std::uint32_t kInvalidOpcode = 0x001;
inline constexpr std::uint32_t kInvalidField = 0x002;
inline constexpr std::uint32_t kInvalidNamespace = 0x00B;  // or format
inline constexpr std::uint32_t kCommandSequenceError = 0x00C;
inline constexpr std::uint32_t kOperationDenied = 0x015;
inline constexpr std::uint32_t kInvalidLogPage = 0x109;

}  // namespace orbis::protocol::nvme
