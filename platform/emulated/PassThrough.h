#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "emulated/LastError.h"
#include "platform/Requests.h"

// The form of requests that carry a command to a drive, checked before a driver looks at the command. Each gives a Win32 error,
// kSuccess for a request that is well formed. Nothing is a request whose input is too short.
namespace orbis::platform::emulated {

[[nodiscard]] Win32Error CheckPassThrough(const std::optional<AtaPassThroughDirect>& request, std::size_t outputSize) noexcept;
// The sense area, if there is one, is behind the structure and inside the output.
[[nodiscard]] Win32Error CheckPassThrough(const std::optional<ScsiPassThroughDirect>& request, std::size_t outputSize) noexcept;
// A protocol-specific property query of an NVMe disk: an Identify structure, or a log page in whole double words.
[[nodiscard]] Win32Error CheckProtocolQuery(const std::optional<StorageProtocolQuery>& query, std::size_t outputSize) noexcept;
// IOCTL_STORAGE_PROTOCOL_COMMAND of an NVMe disk. A command that the controller fails is a request that succeeds: its status is in
// the answer.
[[nodiscard]] Win32Error CheckProtocolCommand(const std::optional<StorageProtocolCommandHead>& head, std::size_t inputSize,
                                              std::size_t outputSize) noexcept;
// In bytes. No request that is let through moves more; larger ones are refused before anything is allocated.
inline constexpr std::uint32_t kLargestTransfer = 1U << 20;
// Where the bytes of a command's data may begin: behind the command.
inline constexpr std::uint32_t kProtocolCommandEnd = sizeof(StorageProtocolCommandHead) + kProtocolCommandLengthNvme;

// The error of a property query whose NVMe command ended with this status.
[[nodiscard]] Win32Error Win32FromNvmeStatus(std::uint32_t status) noexcept;

}  // namespace orbis::platform::emulated
