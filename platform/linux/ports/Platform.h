#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "linux/kernel/Kernel.h"
#include "platform/Export.h"
#include "platform/OwnedPorts.h"

namespace orbis::platform::emulated {
class PdhFacts;
class WmiFacts;
}  // namespace orbis::platform::emulated

namespace orbis::platform::linux_system {

struct Machine;

// A running Linux kernel as a machine: the ports' requests, answered from its file systems and devices.
class ORBIS_PLATFORM_EXPORT Platform final : public OwnedPorts {
public:
    explicit Platform(Roots roots = {}, KernelCalls calls = {});
    Platform(const Platform&) = delete;
    Platform& operator=(const Platform&) = delete;
    ~Platform() override;

    // See platform/SystemPath.h.
    [[nodiscard]] std::optional<std::uint32_t> DriveNumberOf(const std::string& path);
    [[nodiscard]] std::string PathOf(std::uint32_t number);

private:
    std::unique_ptr<Machine> m_Machine;
    std::unique_ptr<emulated::WmiFacts> m_Facts;
    std::unique_ptr<emulated::PdhFacts> m_Counters;
};

}  // namespace orbis::platform::linux_system
