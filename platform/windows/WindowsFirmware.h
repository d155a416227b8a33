#pragma once

#include "platform/Firmware.h"

namespace orbis::platform {

// Kernel32's firmware tables.
class WindowsFirmware final : public Firmware {
public:
    std::uint32_t SystemFirmwareTable(std::uint32_t provider, std::uint32_t table, void* buffer, std::uint32_t size) override;
    std::uint32_t LastError() const noexcept override;
};

}  // namespace orbis::platform
