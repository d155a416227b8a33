#include "linux/ports/Platform.h"

#include <algorithm>
#include <utility>

#include "emulated/Firmware.h"
#include "emulated/Pdh.h"
#include "emulated/Setup.h"
#include "emulated/Text.h"
#include "linux/kernel/Machine.h"
#include "linux/ports/DeviceIo.h"
#include "linux/ports/DiskCounters.h"
#include "linux/ports/Firmware.h"
#include "linux/ports/Time.h"
#include "linux/ports/WmiRows.h"
#include "platform/SystemPath.h"

namespace orbis::platform {
namespace linux_system {

namespace {

// A picture of the moment in which the walk begins.
emulated::DeviceSet WalkDisks(Machine& machine)
{
    emulated::DeviceSet set;
    for (const Disk& disk : machine.inventory.Disks()) {
        set.interfaces.push_back({Utf8ToUtf16(emulated::DiskInterfacePath(disk.instanceId))});
        set.devices.push_back({Utf8ToUtf16(disk.instanceId)});
    }
    return set;
}

}  // namespace

struct Platform::Ports {
    Ports(Roots roots, KernelCalls calls)
        : machine(std::move(roots), std::move(calls)),
          deviceIo(machine),
          setup([this] { return WalkDisks(machine); }),
          facts(machine),
          wmi(emulated::MakeWmi(facts)),
          firmware([this](std::uint32_t provider, std::uint32_t /*table*/) { return ReadFirmwareTable(machine.roots, provider); }),
          counters(machine),
          pdh(counters)
    {}

    Machine machine;
    DeviceIo deviceIo;
    emulated::Setup setup;
    KernelFacts facts;
    std::unique_ptr<Wmi> wmi;
    emulated::Firmware firmware;
    DiskCounters counters;
    emulated::Pdh pdh;
    Time time;
    emulated::Text text{Utf8ToUtf16};  // the default code page is UTF-8, whatever the locale
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

std::optional<std::uint32_t> Platform::DriveNumberOf(const std::string& path)
{
    const std::string name = BaseName(RealPath(path));
    if (name.empty()) {
        return std::nullopt;
    }
    for (const Disk& disk : m_Ports->machine.inventory.Disks()) {
        const bool isPartition = std::any_of(disk.partitions.begin(), disk.partitions.end(),
                                             [&](const Partition& partition) { return partition.name == name; });
        // "nvme0" is the controller of "nvme0n1".
        const bool isController = name.starts_with("nvme") && disk.name.starts_with(name + 'n');
        if (disk.name == name || isPartition || isController) {
            return disk.number;
        }
    }
    return std::nullopt;
}

std::string Platform::PathOf(std::uint32_t number)
{
    const auto disk = m_Ports->machine.inventory.Find(number);
    return disk ? PathIn(m_Ports->machine.roots.dev, disk->name) : std::string();
}

namespace {

// Never destroyed: a host's threads may still be collecting while the process ends.
Platform& SystemMachine()
{
    static Platform& machine = *std::make_unique<Platform>().release();
    return machine;
}

}  // namespace
}  // namespace linux_system

Platform& Platform::System() noexcept { return linux_system::SystemMachine(); }

std::optional<std::uint32_t> DriveNumberOfSystemPath(const std::string& path)
{
    return linux_system::SystemMachine().DriveNumberOf(path);
}
std::string SystemPathOfDrive(std::uint32_t number) { return linux_system::SystemMachine().PathOf(number); }

}  // namespace orbis::platform
