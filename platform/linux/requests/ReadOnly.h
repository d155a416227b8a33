#pragma once

#include <cstdint>
#include <span>

// The device commands that may be sent. This system only reads, so a command that could change a drive's data or state, and every
// unknown command, is refused before it reaches the kernel.
namespace orbis::platform::linux_system {

enum class Transfer : std::uint8_t { None, FromDevice };

// ATA command by its command and feature registers (ACS). READ LOG EXT and its like, IDENTIFY, SMART reads, CHECK POWER MODE.
[[nodiscard]] bool IsReadOnlyAta(std::uint8_t command, std::uint8_t features, Transfer transfer) noexcept;
// SCSI command descriptor block (SPC, SBC, SAT); an ATA command inside one is judged by its own registers.
[[nodiscard]] bool IsReadOnlyScsi(std::span<const std::uint8_t> cdb, Transfer transfer) noexcept;
// NVMe admin command by its opcode: Identify, Get Log Page, Get Features.
[[nodiscard]] bool IsReadOnlyNvmeAdmin(std::uint8_t opcode) noexcept;

}  // namespace orbis::platform::linux_system
