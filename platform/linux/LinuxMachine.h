#pragma once

#include <utility>

#include "LinuxInventory.h"
#include "LinuxKernel.h"
#include "LinuxVolumes.h"

namespace orbis::platform {

// What all ports of one Linux machine share.
struct LinuxMachine {
    LinuxMachine(Roots machineRoots, KernelCalls kernelCalls)
        : roots(std::move(machineRoots)), calls(std::move(kernelCalls)), inventory(roots), volumes(roots, inventory)
    {}

    const Roots roots;
    const KernelCalls calls;
    LinuxInventory inventory;
    LinuxVolumes volumes;
};

}  // namespace orbis::platform
