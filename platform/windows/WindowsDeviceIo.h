#pragma once

#include "platform/DeviceIo.h"

namespace orbis::platform {

// Kernel32's device calls.
class WindowsDeviceIo final : public DeviceIo {
public:
    NativeHandle Open(const char16_t* path, std::uint32_t access, std::uint32_t share, void* security, std::uint32_t disposition,
                      std::uint32_t flags, NativeHandle templateFile) override;
    bool Control(NativeHandle device, std::uint32_t code, void* in, std::uint32_t inSize, void* out, std::uint32_t outSize,
                 std::uint32_t* returned, void* overlapped) override;
    bool Close(NativeHandle device) noexcept override;
    PowerState DiskPowerState(const char16_t* path) override;
    std::uint32_t LogicalDriveStrings(std::uint32_t characters, char16_t* buffer) override;
    std::uint32_t LastError() const noexcept override;
};

}  // namespace orbis::platform
