#include <map>
#include <optional>

#include "linux/disks/DiskStats.h"
#include "linux/ports/Ports.h"
#include "linux/requests/Control.h"

namespace orbis::platform::linux_system {
namespace {

class DiskCounters final : public emulated::PdhFacts {
public:
    explicit DiskCounters(Machine& machine) : m_Machine(machine) {}

    std::vector<std::string> DiskInstances() override
    {
        std::vector<std::string> names;
        const VolumeSet volumes = m_Machine.volumes.Current();
        for (const Disk& disk : m_Machine.inventory.Disks()) {
            names.push_back(PerformanceInstance(disk, volumes));
        }
        return names;
    }

    emulated::DiskSample SampleDisks() override
    {
        // The kernel prints times as 32-bit milliseconds; they start again every 50 days.
        emulated::DiskSample sample;
        sample.timesPerSecond = 1000;
        sample.timesEndAt = 0x1p32;
        const std::vector<Disk> disks = m_Machine.inventory.Disks();
        const VolumeSet volumes = m_Machine.volumes.Current();
        const std::map<std::string, DiskStats> all = ReadAllDiskStats(m_Machine.roots);
        sample.seconds = std::chrono::duration<double>(MonotonicClock(m_Machine.calls)).count();
        for (const Disk& disk : disks) {
            if (const std::optional<DiskStats> stats = StatsOfDisk(all, disk.name)) {
                const auto milliseconds = [](std::uint64_t time) { return static_cast<double>(static_cast<std::uint32_t>(time)); };
                sample.disks.emplace_back(PerformanceInstance(disk, volumes),
                                          emulated::DiskTotals{.reads = static_cast<double>(stats->reads),
                                                               .writes = static_cast<double>(stats->writes),
                                                               .bytesRead = static_cast<double>(stats->readBytes),
                                                               .bytesWritten = static_cast<double>(stats->writtenBytes),
                                                               .readTime = milliseconds(stats->readMilliseconds),
                                                               .writeTime = milliseconds(stats->writeMilliseconds),
                                                               .busyTime = milliseconds(stats->busyMilliseconds)});
            }
        }
        return sample;
    }

private:
    Machine& m_Machine;
};

}  // namespace

std::unique_ptr<emulated::PdhFacts> MakeDiskCounters(Machine& machine) { return std::make_unique<DiskCounters>(machine); }

}  // namespace orbis::platform::linux_system
