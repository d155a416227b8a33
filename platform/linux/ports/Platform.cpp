#include "linux/ports/Platform.h"

#include <utility>

#include "linux/kernel/Machine.h"
#include "linux/ports/DeviceIo.h"
#include "linux/ports/Firmware.h"
#include "linux/ports/Pdh.h"
#include "linux/ports/Setup.h"
#include "linux/ports/Text.h"
#include "linux/ports/Time.h"
#include "linux/ports/WmiRows.h"

namespace orbis::platform {
namespace linux_system {

struct Platform::Ports {
    Ports(Roots roots, KernelCalls calls)
        : machine(std::move(roots), std::move(calls)),
          deviceIo(machine),
          setup(machine),
          facts(machine),
          wmi(emulated::MakeWmi(facts)),
          firmware(machine),
          pdh(machine)
    {}

    Machine machine;
    DeviceIo deviceIo;
    Setup setup;
    KernelFacts facts;
    std::unique_ptr<Wmi> wmi;
    Firmware firmware;
    Pdh pdh;
    Time time;
    Text text;
};

Platform::Platform(Roots roots, KernelCalls calls) : m_Ports(std::make_unique<Ports>(std::move(roots), std::move(calls))) {}
Platform::~Platform() = default;

platform::DeviceIo& Platform::DeviceIoPort() noexcept { return m_Ports->deviceIo; }
platform::Setup& Platform::SetupPort() noexcept { return m_Ports->setup; }
platform::Wmi& Platform::WmiPort() noexcept { return *m_Ports->wmi; }
platform::Firmware& Platform::FirmwarePort() noexcept { return m_Ports->firmware; }
platform::Pdh& Platform::PdhPort() noexcept { return m_Ports->pdh; }
platform::Time& Platform::TimePort() noexcept { return m_Ports->time; }
platform::Text& Platform::TextPort() noexcept { return m_Ports->text; }

}  // namespace linux_system

// Never destroyed: a host's threads may still be collecting while the process ends.
Platform& Platform::System() noexcept
{
    static linux_system::Platform& machine = *std::make_unique<linux_system::Platform>().release();
    return machine;
}

}  // namespace orbis::platform
