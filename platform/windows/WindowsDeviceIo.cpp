#include "WindowsDeviceIo.h"

#include "WindowsHeaders.h"

namespace orbis::platform {

NativeHandle WindowsDeviceIo::Open(const char16_t* path, std::uint32_t access, std::uint32_t share, void* security,
                                   std::uint32_t disposition, std::uint32_t flags, NativeHandle templateFile)
{
    return FromHandle(::CreateFileW(AsWide(path), access, share, static_cast<SECURITY_ATTRIBUTES*>(security), disposition, flags,
                                    AsHandle(templateFile)));
}

bool WindowsDeviceIo::Control(NativeHandle device, std::uint32_t code, void* in, std::uint32_t inSize, void* out,
                              std::uint32_t outSize, std::uint32_t* returned, void* overlapped)
{
    DWORD written = 0;
    const bool done = ::DeviceIoControl(AsHandle(device), code, in, inSize, out, outSize, &written,
                                        static_cast<OVERLAPPED*>(overlapped)) != FALSE;
    *returned = written;
    return done;
}

bool WindowsDeviceIo::Close(NativeHandle device) noexcept { return ::CloseHandle(AsHandle(device)) != FALSE; }

PowerState WindowsDeviceIo::DiskPowerState(const char16_t* path)
{
    // Neither an open without access nor the question reaches the device.
    const DeviceHandle device(*this, Open(path, 0, kFileShareRead | kFileShareWrite, nullptr, kOpenExisting, 0, 0));
    BOOL isOn = TRUE;
    if (!device.IsValid() || ::GetDevicePowerState(AsHandle(device.Get()), &isOn) == FALSE) {
        return PowerState::Unknown;
    }
    return isOn != FALSE ? PowerState::Awake : PowerState::Asleep;
}

std::uint32_t WindowsDeviceIo::LogicalDriveStrings(std::uint32_t characters, char16_t* buffer)
{
    return ::GetLogicalDriveStringsW(characters, AsWide(buffer));
}

std::uint32_t WindowsDeviceIo::LastError() const noexcept { return ::GetLastError(); }

static_assert(kInvalidHandle == -1, "INVALID_HANDLE_VALUE");
static_assert(kFileReadAttributes == FILE_READ_ATTRIBUTES && kGenericRead == GENERIC_READ && kGenericWrite == GENERIC_WRITE);
static_assert(kFileShareRead == FILE_SHARE_READ && kFileShareWrite == FILE_SHARE_WRITE && kOpenExisting == OPEN_EXISTING);

}  // namespace orbis::platform
