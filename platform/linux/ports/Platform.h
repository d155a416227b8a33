#pragma once

#include <memory>

#include "linux/kernel/Kernel.h"
#include "platform/Export.h"
#include "platform/Platform.h"

namespace orbis::platform {

// A running Linux kernel as a machine: the ports' requests, answered from its file systems and devices.
class ORBIS_PLATFORM_EXPORT LinuxPlatform final : public Platform {
public:
    explicit LinuxPlatform(Roots roots = {}, KernelCalls calls = {});
    LinuxPlatform(const LinuxPlatform&) = delete;
    LinuxPlatform& operator=(const LinuxPlatform&) = delete;
    ~LinuxPlatform() override;

    DeviceIo& DeviceIoPort() noexcept override;
    Setup& SetupPort() noexcept override;
    Wmi& WmiPort() noexcept override;
    Firmware& FirmwarePort() noexcept override;
    Pdh& PdhPort() noexcept override;
    Time& TimePort() noexcept override;
    Text& TextPort() noexcept override;

private:
    struct Ports;
    std::unique_ptr<Ports> m_Ports;
};

}  // namespace orbis::platform
