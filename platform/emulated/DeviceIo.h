#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "emulated/Control.h"
#include "emulated/Handles.h"
#include "platform/DeviceIo.h"
#include "platform/Guid.h"

namespace orbis::platform::emulated {

// The object behind an open handle.
class Device {
public:
    virtual ~Device() = default;
    // One request, which the handle's access allows.
    [[nodiscard]] virtual Win32Error Control(std::uint32_t code, ControlBuffers& buffers) = 0;
};

// CreateFileW and DeviceIoControl on devices, over a machine that finds them by their paths.
class DeviceIo : public platform::DeviceIo {
public:
    NativeHandle Open(const char16_t* path, std::uint32_t access, std::uint32_t share, void* security, std::uint32_t disposition,
                      std::uint32_t flags, NativeHandle templateFile) final;
    bool Control(NativeHandle device, std::uint32_t code, void* in, std::uint32_t inSize, void* out, std::uint32_t outSize,
                 std::uint32_t* returned, void* overlapped) final;
    bool Close(NativeHandle device) noexcept final;
    PowerState DiskPowerState(const char16_t* path) final;
    std::uint32_t LogicalDriveStrings(std::uint32_t characters, char16_t* buffer) final;
    std::uint32_t LastError() const noexcept final { return emulated::LastError(); }

protected:
    struct Opened {
        Win32Error error = win32::kSuccess;
        std::shared_ptr<Device> device;  // when there is no error
    };
    // The device of that path (UTF-8), opened.
    [[nodiscard]] virtual Opened OpenPath(const std::string& path, std::uint32_t access) = 0;
    // The power state of the disk behind that path (UTF-8), which this must not wake; nothing when there is none.
    [[nodiscard]] virtual std::optional<PowerState> PowerOfPath(const std::string& path) = 0;
    // Drive letters in use now, in upper case and ascending.
    [[nodiscard]] virtual std::string DriveLetters() = 0;

private:
    struct OpenDevice {
        std::shared_ptr<Device> device;
        std::uint32_t access = 0;
    };

    HandleTable<OpenDevice> m_Handles;
};

inline constexpr std::uint32_t kGenericAll = 0x10000000;
inline constexpr std::uint32_t kFileReadData = 1;
inline constexpr std::uint32_t kFileWriteData = 2;

// The device interface path of a disk's instance id: "\\?\scsi#disk&ven_...#...#{53f56307-b6bf-11d0-94f2-00a0c91efb8b}".
[[nodiscard]] std::string DiskInterfacePath(std::string instanceId);
// The name of a volume, which ends with a backslash: "\\?\Volume{...}\".
[[nodiscard]] std::string VolumeName(const Guid& guid);

}  // namespace orbis::platform::emulated
