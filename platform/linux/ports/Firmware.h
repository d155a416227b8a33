#pragma once

#include "linux/kernel/Machine.h"
#include "platform/Firmware.h"

namespace orbis::platform::linux_system {

// SMBIOS from /sys/firmware/dmi/tables, in the layout of RawSMBIOSData. The kernel shows it to root alone.
class Firmware final : public platform::Firmware {
public:
    explicit Firmware(const Machine& machine) : m_Machine(machine) {}

    std::uint32_t SystemFirmwareTable(std::uint32_t provider, std::uint32_t table, void* buffer, std::uint32_t size) override;
    std::uint32_t LastError() const noexcept override;

private:
    const Machine& m_Machine;
};

}  // namespace orbis::platform::linux_system
