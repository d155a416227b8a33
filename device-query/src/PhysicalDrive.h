#pragma once

#include <cstdint>
#include <span>

#include "sondix/Enums.h"

// Access to physical drives through the DeviceIo port. Each function opens the drive, sends its requests and closes it again. There
// is no state, so all functions may be called on several threads at once.
//
// Every answer of a driver is checked (returned length, version, size, offset and length of the data) before a byte of it is read;
// a short or inconsistent answer counts as none.
namespace veyra::sondix {

// Whether the drive exists, even if it cannot be opened.
[[nodiscard]] bool DriveExists(std::int32_t drive);

// BusTypeUnknown when the drive does not answer.
[[nodiscard]] StorageBusType QueryBusType(std::int32_t drive);

// Identify Controller (CNS 01h) into `page`.
[[nodiscard]] bool ReadIdentifyController(std::int32_t drive, std::span<std::uint8_t, 4096> page);

// The log page of the controller into `page`.
[[nodiscard]] bool ReadLogPage(std::int32_t drive, std::uint8_t identifier, std::span<std::uint8_t, 512> page);

// The same for a vendor specific log. Windows serves such a log as a property only if the driver knows it; otherwise the driver
// refuses the request, and the log is read with the admin command itself.
[[nodiscard]] bool ReadMakerLogPage(std::int32_t drive, std::uint8_t identifier, std::span<std::uint8_t, 512> page);

}  // namespace veyra::sondix
