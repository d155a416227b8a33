#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "linux/kernel/Machine.h"
#include "platform/DeviceIo.h"

namespace orbis::platform::linux_system {

// Disks ("\\.\PhysicalDrive0", a device interface path) and volumes ("\\.\C:") over block devices. A device is opened for reading
// only, whatever access was asked. What the kernel tells everybody (number, size, descriptor, activity, partitions) is told to
// everybody here: a device that may not be opened gets a handle all the same, and each request that needs the device itself is
// refused with kAccessDenied. So a user without rights still sees the disks.
class DeviceIo final : public platform::DeviceIo {
public:
    explicit DeviceIo(Machine& machine) : m_Machine(machine) {}
    ~DeviceIo() override;

    NativeHandle Open(const char16_t* path, std::uint32_t access, std::uint32_t share, void* security, std::uint32_t disposition,
                      std::uint32_t flags, NativeHandle templateFile) override;
    bool Control(NativeHandle device, std::uint32_t code, void* in, std::uint32_t inSize, void* out, std::uint32_t outSize,
                 std::uint32_t* returned, void* overlapped) override;
    bool Close(NativeHandle device) noexcept override;
    std::uint32_t LogicalDriveStrings(std::uint32_t characters, char16_t* buffer) override;
    std::uint32_t LastError() const noexcept override;

private:
    struct OpenTarget;

    [[nodiscard]] std::shared_ptr<OpenTarget> Find(NativeHandle device);

    Machine& m_Machine;
    std::mutex m_Lock;
    NativeHandle m_LastHandle = 0;
    std::map<NativeHandle, std::shared_ptr<OpenTarget>> m_Open;
};

}  // namespace orbis::platform::linux_system
