#pragma once

#include <cstdint>
#include <span>

#include "sondix/Enums.h"

// Physical drives through the platform's device requests. Each function opens the drive, asks and closes it again; nothing is kept,
// so all are safe to call from several threads at once.
//
// What a driver returns is checked (returned length, version, size, offset and length of the data) before a byte of it is read; an
// answer that is short or contradicts itself counts as none.
namespace veyra::sondix {

// The drive is there, even when it refuses to be opened.
[[nodiscard]] bool DriveExists(std::int32_t drive);

// BusTypeUnknown when the drive does not answer.
[[nodiscard]] StorageBusType QueryBusType(std::int32_t drive);

// Identify Controller (CNS 01h) into `page`.
[[nodiscard]] bool ReadIdentifyController(std::int32_t drive, std::span<std::uint8_t, 4096> page);

// The log page of the controller into `page`.
[[nodiscard]] bool ReadLogPage(std::int32_t drive, std::uint8_t identifier, std::span<std::uint8_t, 512> page);

// The same for a log of the vendor's. Windows serves those as a property only where the driver knows them; a driver that does not
// refuses the function, and the log is then asked for with the admin command itself.
[[nodiscard]] bool ReadMakerLogPage(std::int32_t drive, std::uint8_t identifier, std::span<std::uint8_t, 512> page);

}  // namespace veyra::sondix
