#pragma once

#include <cstdint>

#include "emulated/Firmware.h"
#include "linux/kernel/Kernel.h"

namespace orbis::platform::linux_system {

// The SMBIOS tables in /sys/firmware/dmi/tables, behind the header of RawSMBIOSData.
[[nodiscard]] emulated::FirmwareTable ReadFirmwareTable(const Roots& roots, std::uint32_t provider);

}  // namespace orbis::platform::linux_system
