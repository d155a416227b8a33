#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>

struct stat;

namespace orbis::platform::linux_system {

// Mount points of the kernel's file systems; a test sets them to a captured tree.
struct Roots {
    std::string sys = "/sys";
    std::string proc = "/proc";
    std::string dev = "/dev";
};

// System calls that a captured tree cannot answer: rights, requests to a driver, and time. An empty member means the kernel's own.
struct KernelCalls {
    std::function<int(const char* path, int flags)> open;                             // of a device node, as open(2): -1 with errno
    std::function<int(int descriptor, unsigned long request, void* argument)> ioctl;  // as ioctl(2): -1 with errno
    std::function<int(int descriptor, struct stat* status)> fstat;                    // as fstat(2)
    std::function<std::chrono::nanoseconds()> monotonicClock;
};

// The Win32 error that a Windows user would see for the same cause as this errno.
[[nodiscard]] std::uint32_t Win32FromErrno(int error) noexcept;

}  // namespace orbis::platform::linux_system
