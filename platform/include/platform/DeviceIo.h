#pragma once

#include <cstdint>

#include "platform/Export.h"
#include "platform/Owned.h"

namespace orbis::platform {

using NativeHandle = std::intptr_t;
inline constexpr NativeHandle kInvalidHandle = -1;

// Arguments of Open, numbered as in winnt.h and fileapi.h.
inline constexpr std::uint32_t kFileReadAttributes = 0x80;
inline constexpr std::uint32_t kGenericRead = 0x80000000;
inline constexpr std::uint32_t kGenericWrite = 0x40000000;
inline constexpr std::uint32_t kFileShareRead = 1;
inline constexpr std::uint32_t kFileShareWrite = 2;
inline constexpr std::uint32_t kOpenExisting = 3;

// Whether a disk is awake, as far as this can be determined without waking it.
enum class PowerState : std::uint8_t {
    Unknown,  // there is no such disk, or a driver or bridge does not forward the request; callers treat it as awake
    Awake,
    Asleep,  // any other request may wake it
};

// Kernel32's device calls. Every operation that fails leaves its Win32 error in LastError() of the calling thread.
// All operations block for as long as the device takes; requests that carry a time-out end after it.
// Safe to call from several threads at once.
class DeviceIo {
public:
    virtual ~DeviceIo() = default;

    // CreateFileW. `path` is zero-terminated ("\\.\PhysicalDrive0", "\\.\C:", or a device interface path). The caller owns the
    // result and closes it with Close; kInvalidHandle on failure. Absent: kFileNotFound or kPathNotFound. Denied: kAccessDenied.
    [[nodiscard]] virtual NativeHandle Open(const char16_t* path, std::uint32_t access, std::uint32_t share, void* security,
                                            std::uint32_t disposition, std::uint32_t flags, NativeHandle templateFile) = 0;

    // DeviceIoControl. `in` and `out` may be the same buffer or null with size 0; `returned` receives the number of bytes written
    // to `out` and is never null here. Unsupported: kInvalidFunction or kNotSupported. If `out` is too small: kInsufficientBuffer
    // or kMoreData. A device may also succeed with fewer bytes than requested: check `returned` before reading.
    [[nodiscard]] virtual bool Control(NativeHandle device, std::uint32_t code, void* in, std::uint32_t inSize, void* out,
                                       std::uint32_t outSize, std::uint32_t* returned, void* overlapped) = 0;

    // CloseHandle.
    virtual bool Close(NativeHandle device) noexcept = 0;

    // GetDevicePowerState of a device that is opened without any access, and its like elsewhere. The only operation here that never
    // wakes the disk behind `path`, which is one that Open takes. The disk may fall asleep or wake up at any time after the answer.
    // Unknown with kFileNotFound or kPathNotFound: there is none.
    [[nodiscard]] virtual PowerState DiskPowerState(const char16_t* path) = 0;

    // GetLogicalDriveStringsW: "C:\", zero, "D:\", zero, zero. Returns the number of characters written without the last zero, the
    // number needed with it when `characters` is too small, and 0 on failure.
    [[nodiscard]] virtual std::uint32_t LogicalDriveStrings(std::uint32_t characters, char16_t* buffer) = 0;

    // GetLastError of the calling thread.
    [[nodiscard]] virtual std::uint32_t LastError() const noexcept = 0;

    // The port that is in force now (see Platform::Current).
    [[nodiscard]] ORBIS_PLATFORM_EXPORT static DeviceIo& Current() noexcept;
};

// An open device.
using DeviceHandle = Owned<DeviceIo, NativeHandle, &DeviceIo::Close, kInvalidHandle>;

}  // namespace orbis::platform
