#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "linux/kernel/Kernel.h"
#include "platform/Export.h"
#include "platform/Platform.h"

namespace orbis::platform::linux_system {

// A running Linux kernel as a machine: the ports' requests, answered from its file systems and devices.
class ORBIS_PLATFORM_EXPORT Platform final : public platform::Platform {
public:
    explicit Platform(Roots roots = {}, KernelCalls calls = {});
    Platform(const Platform&) = delete;
    Platform& operator=(const Platform&) = delete;
    ~Platform() override;

    platform::DeviceIo& DeviceIoPort() noexcept override;
    platform::Setup& SetupPort() noexcept override;
    platform::Wmi& WmiPort() noexcept override;
    platform::Firmware& FirmwarePort() noexcept override;
    platform::Pdh& PdhPort() noexcept override;
    platform::Time& TimePort() noexcept override;
    platform::Text& TextPort() noexcept override;

    // See platform/SystemPath.h.
    [[nodiscard]] std::optional<std::uint32_t> DriveNumberOf(const std::string& path);
    [[nodiscard]] std::string PathOf(std::uint32_t number);

private:
    struct Ports;
    std::unique_ptr<Ports> m_Ports;
};

}  // namespace orbis::platform::linux_system
