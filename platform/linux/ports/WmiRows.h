#pragma once

#include "emulated/WmiFacts.h"
#include "linux/kernel/Machine.h"

namespace orbis::platform::linux_system {

// The kernel's knowledge as rows of WMI classes.
class KernelFacts final : public emulated::WmiFacts {
public:
    explicit KernelFacts(Machine& machine) : m_Machine(machine) {}

    emulated::WmiAnswer Query(const emulated::WmiQuery& query) override;

private:
    Machine& m_Machine;
};

// The name of a disk's instance in the PhysicalDisk performance object: its number and the letters on it ("0 C: D:").
[[nodiscard]] std::string PerformanceInstance(const Disk& disk, const VolumeSet& volumes);

}  // namespace orbis::platform::linux_system
