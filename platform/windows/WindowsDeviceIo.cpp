#include "WindowsPorts.h"

#include "WindowsHeaders.h"

namespace orbis::platform {
namespace {

static_assert(kInvalidHandle == -1, "INVALID_HANDLE_VALUE");

// Kernel32's device calls.
class WindowsDeviceIo final : public DeviceIo {
public:
    NativeHandle Open(const char16_t* path, std::uint32_t access, std::uint32_t share, void* security, std::uint32_t disposition,
                      std::uint32_t flags, NativeHandle templateFile) override
    {
        return FromHandle(::CreateFileW(AsWide(path), access, share, static_cast<SECURITY_ATTRIBUTES*>(security), disposition,
                                        flags, AsHandle(templateFile)));
    }

    bool Control(NativeHandle device, std::uint32_t code, void* in, std::uint32_t inSize, void* out, std::uint32_t outSize,
                 std::uint32_t* returned, void* overlapped) override
    {
        DWORD written = 0;
        const bool done = ::DeviceIoControl(AsHandle(device), code, in, inSize, out, outSize, &written,
                                            static_cast<OVERLAPPED*>(overlapped)) != FALSE;
        *returned = written;
        return done;
    }

    bool Close(NativeHandle device) noexcept override { return ::CloseHandle(AsHandle(device)) != FALSE; }

    PowerState DiskPowerState(const char16_t* path) override
    {
        // Neither an open without access nor the question reaches the device.
        const DeviceHandle device(*this, Open(path, 0, kFileShareRead | kFileShareWrite, nullptr, kOpenExisting, 0, 0));
        BOOL isOn = TRUE;
        if (!device.IsValid() || ::GetDevicePowerState(AsHandle(device.Get()), &isOn) == FALSE) {
            return PowerState::Unknown;
        }
        return isOn != FALSE ? PowerState::Awake : PowerState::Asleep;
    }

    std::uint32_t LogicalDriveStrings(std::uint32_t characters, char16_t* buffer) override
    {
        return ::GetLogicalDriveStringsW(characters, AsWide(buffer));
    }

    std::uint32_t LastError() const noexcept override { return ::GetLastError(); }
};

}  // namespace

std::unique_ptr<DeviceIo> MakeWindowsDeviceIo() { return std::make_unique<WindowsDeviceIo>(); }

}  // namespace orbis::platform
