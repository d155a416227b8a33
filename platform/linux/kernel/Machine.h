#pragma once

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

// What all ports of one Linux machine share.
struct Machine {
    Machine(Roots machineRoots, KernelCalls kernelCalls)
        : roots(Canonical(std::move(machineRoots))), calls(std::move(kernelCalls)), inventory(roots), volumes(roots, inventory)
    {}

    const Roots roots;
    const KernelCalls calls;
    Inventory inventory;
    Volumes volumes;
};

}  // namespace orbis::platform::linux_system
