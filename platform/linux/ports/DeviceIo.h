#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "emulated/DeviceIo.h"
#include "linux/kernel/Machine.h"

namespace orbis::platform::linux_system {

// Disks ("\\.\PhysicalDrive0", a device interface path) and volumes ("\\.\C:") over block devices. A device is opened for reading
// only, whatever access was asked. What the kernel tells everybody (number, size, descriptor, activity, partitions) is told to
// everybody here: a device that may not be opened gets a handle all the same, and each request that needs the device itself is
// refused with kAccessDenied. So a user without rights still sees the disks.
class DeviceIo final : public emulated::DeviceIo {
public:
    explicit DeviceIo(Machine& machine) : m_Machine(machine) {}

protected:
    Opened OpenPath(const std::string& path, std::uint32_t access) override;
    // What the kernel has suspended is not opened. Without the rights to open it a disk's state is unknown.
    std::optional<PowerState> PowerOfPath(const std::string& path) override;
    std::string DriveLetters() override;

private:
    Machine& m_Machine;
};

}  // namespace orbis::platform::linux_system
