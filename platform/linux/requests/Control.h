#pragma once

#include <chrono>
#include <cstdint>

#include "emulated/Control.h"
#include "linux/kernel/Kernel.h"

// Shared by the handlers of control requests, in addition to the emulation.
namespace orbis::platform::linux_system {

using emulated::ControlBuffers;
using emulated::Win32Error;

// An open device and the kernel's way into it.
struct KernelDevice {
    const KernelCalls& calls;
    int descriptor = -1;

    // ioctl(2); -1 with errno.
    int Ioctl(unsigned long request, void* argument) const;
};

[[nodiscard]] std::chrono::nanoseconds MonotonicClock(const KernelCalls& calls);
// A request's time-out in the milliseconds that the kernel takes.
[[nodiscard]] std::uint32_t KernelTimeout(std::uint32_t seconds) noexcept;

}  // namespace orbis::platform::linux_system
