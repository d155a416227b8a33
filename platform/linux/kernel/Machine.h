#pragma once

#include <cstdint>
#include <mutex>
#include <set>
#include <utility>

#include "linux/disks/Inventory.h"
#include "linux/kernel/Files.h"
#include "linux/kernel/Kernel.h"
#include "linux/volumes/Volumes.h"

namespace orbis::platform::linux_system {

// Paths below /sys are compared with what its links lead to, so it must not be a link itself.
[[nodiscard]] inline Roots Canonical(Roots roots)
{
    std::string sys = RealPath(roots.sys);
    roots.sys = sys.empty() ? roots.sys : std::move(sys);
    return roots;
}

// Numbers of the disks that were asleep when they were asked last. What this system reads from a disk unasked, such as the serial
// number of a volume, is left out for these.
class Sleepers {
public:
    void Set(std::uint32_t number, bool isAsleep)
    {
        const std::scoped_lock lock(m_Lock);
        if (isAsleep) {
            m_Numbers.insert(number);
        } else {
            m_Numbers.erase(number);
        }
    }
    [[nodiscard]] bool Has(std::uint32_t number) const
    {
        const std::scoped_lock lock(m_Lock);
        return m_Numbers.contains(number);
    }

private:
    mutable std::mutex m_Lock;
    std::set<std::uint32_t> m_Numbers;
};

// Shared by all ports of one Linux machine.
struct Machine {
    Machine(Roots machineRoots, KernelCalls kernelCalls)
        : roots(Canonical(std::move(machineRoots))), calls(std::move(kernelCalls)), inventory(roots), volumes(roots, inventory)
    {}

    const Roots roots;
    const KernelCalls calls;
    Inventory inventory;
    Volumes volumes;
    Sleepers sleepers;
};

}  // namespace orbis::platform::linux_system
