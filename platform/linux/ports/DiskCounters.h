#pragma once

#include "emulated/Pdh.h"
#include "linux/kernel/Machine.h"

namespace orbis::platform::linux_system {

// What the counters of PhysicalDisk are computed from: the activity in /proc/diskstats.
class DiskCounters final : public emulated::PdhFacts {
public:
    explicit DiskCounters(Machine& machine) : m_Machine(machine) {}

    std::vector<std::string> DiskInstances() override;
    emulated::DiskSample SampleDisks() override;

private:
    Machine& m_Machine;
};

}  // namespace orbis::platform::linux_system
