#include "linux/ports/Platform.h"

#include <algorithm>
#include <thread>
#include <utility>

#include "emulated/DeviceIo.h"
#include "emulated/Setup.h"
#include "emulated/Text.h"
#include "linux/kernel/Machine.h"
#include "linux/ports/Ports.h"
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

class SystemTime final : public Time {
public:
    std::chrono::system_clock::time_point UtcNow() override { return std::chrono::system_clock::now(); }
    void Sleep(std::uint32_t milliseconds) override { std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds)); }
};

}  // namespace

Platform::Platform(Roots roots, KernelCalls calls)
    : m_Machine(std::make_unique<Machine>(std::move(roots), std::move(calls))),
      m_Facts(MakeWmiFacts(*m_Machine)),
      m_Counters(MakeDiskCounters(*m_Machine))
{
    Machine& machine = *m_Machine;
    deviceIo = MakeDeviceIo(machine);
    setup = emulated::MakeSetup([&machine] { return WalkDisks(machine); });
    wmi = emulated::MakeWmi(*m_Facts);
    firmware = std::make_unique<emulated::Firmware>(
        [&machine](std::uint32_t provider, std::uint32_t /*table*/) { return ReadFirmwareTable(machine.roots, provider); });
    pdh = emulated::MakePdh(*m_Counters);
    time = std::make_unique<SystemTime>();
    text = std::make_unique<emulated::Text>(Utf8ToUtf16);  // the default code page is UTF-8 in every locale
}
Platform::~Platform() = default;

std::optional<std::uint32_t> Platform::DriveNumberOf(const std::string& path)
{
    const std::string name = BaseName(RealPath(path));
    if (name.empty()) {
        return std::nullopt;
    }
    for (const Disk& disk : m_Machine->inventory.Disks()) {
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
    const auto disk = m_Machine->inventory.Find(number);
    return disk ? PathIn(m_Machine->roots.dev, disk->name) : std::string();
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
