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

struct LinuxPlatform::Ports {
    Ports(Roots roots, KernelCalls calls)
        : machine(std::move(roots), std::move(calls)),
          deviceIo(machine),
          setup(machine),
          rows(machine),
          wmi(MakeRowWmi(rows)),
          firmware(machine),
          pdh(machine)
    {}

    LinuxMachine machine;
    LinuxDeviceIo deviceIo;
    LinuxSetup setup;
    LinuxWmiRows rows;
    std::unique_ptr<Wmi> wmi;
    LinuxFirmware firmware;
    LinuxPdh pdh;
    LinuxTime time;
    LinuxText text;
};

LinuxPlatform::LinuxPlatform(Roots roots, KernelCalls calls) : m_Ports(std::make_unique<Ports>(std::move(roots), std::move(calls)))
{}
LinuxPlatform::~LinuxPlatform() = default;

DeviceIo& LinuxPlatform::DeviceIoPort() noexcept { return m_Ports->deviceIo; }
Setup& LinuxPlatform::SetupPort() noexcept { return m_Ports->setup; }
Wmi& LinuxPlatform::WmiPort() noexcept { return *m_Ports->wmi; }
Firmware& LinuxPlatform::FirmwarePort() noexcept { return m_Ports->firmware; }
Pdh& LinuxPlatform::PdhPort() noexcept { return m_Ports->pdh; }
Time& LinuxPlatform::TimePort() noexcept { return m_Ports->time; }
Text& LinuxPlatform::TextPort() noexcept { return m_Ports->text; }

// Never destroyed: a host's threads may still be collecting while the process ends.
Platform& Platform::System() noexcept
{
    static LinuxPlatform& machine = *std::make_unique<LinuxPlatform>().release();
    return machine;
}

}  // namespace orbis::platform
