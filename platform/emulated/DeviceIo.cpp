#include "emulated/DeviceIo.h"

#include <algorithm>
#include <new>
#include <utility>

#include "emulated/CaseFolding.h"
#include "emulated/Guid.h"
#include "platform/Text.h"

namespace orbis::platform::emulated {
namespace {

// Rights that a control code demands (CTL_CODE bits 15:14) against those of the handle.
bool IsAllowed(std::uint32_t code, std::uint32_t access) noexcept
{
    const bool mayRead = (access & (kGenericRead | kGenericAll | kFileReadData)) != 0;
    const bool mayWrite = (access & (kGenericWrite | kGenericAll | kFileWriteData)) != 0;
    const std::uint32_t demanded = code >> 14 & 3;
    return ((demanded & kFileReadData) == 0 || mayRead) && ((demanded & kFileWriteData) == 0 || mayWrite);
}

}  // namespace

NativeHandle DeviceIo::Open(const char16_t* path, std::uint32_t access, std::uint32_t /*share*/, void* /*security*/,
                            std::uint32_t disposition, std::uint32_t /*flags*/, NativeHandle /*templateFile*/)
{
    if (path == nullptr || disposition != kOpenExisting) {
        return FailWith(path == nullptr ? win32::kPathNotFound : win32::kInvalidParameter, kInvalidHandle);
    }
    try {
        auto [error, device] = OpenPath(Utf16ToUtf8(path), access);
        return error == win32::kSuccess ? m_Handles.Add(std::make_shared<OpenDevice>(OpenDevice{std::move(device), access}))
                                        : FailWith(error, kInvalidHandle);
    } catch (const std::bad_alloc&) {
        return FailWith(win32::kNotEnoughMemory, kInvalidHandle);
    }
}

bool DeviceIo::Control(NativeHandle device, std::uint32_t code, void* in, std::uint32_t inSize, void* out, std::uint32_t outSize,
                       std::uint32_t* returned, void* /*overlapped*/)
{
    *returned = 0;
    Win32Error error = win32::kInvalidHandle;
    try {
        if (const std::shared_ptr<OpenDevice> open = m_Handles.Find(device)) {
            ControlBuffers buffers{{static_cast<const std::byte*>(in), in != nullptr ? inSize : 0},
                                   {static_cast<std::byte*>(out), out != nullptr ? outSize : 0}};
            error = IsAllowed(code, open->access) ? open->device->Control(code, buffers) : win32::kAccessDenied;
            *returned = buffers.returned;
        }
    } catch (const std::bad_alloc&) {
        error = win32::kNotEnoughMemory;
    }
    return error == win32::kSuccess || FailWith(error, false);
}

bool DeviceIo::Close(NativeHandle device) noexcept
{
    return m_Handles.Remove(device) != nullptr || FailWith(win32::kInvalidHandle, false);
}

PowerState DeviceIo::DiskPowerState(const char16_t* path)
{
    if (path == nullptr) {
        return FailWith(win32::kPathNotFound, PowerState::Unknown);
    }
    try {
        const std::optional<PowerState> state = PowerOfPath(Utf16ToUtf8(path));
        SetLastError(state ? win32::kSuccess : win32::kFileNotFound);
        return state.value_or(PowerState::Unknown);
    } catch (const std::bad_alloc&) {
        return FailWith(win32::kNotEnoughMemory, PowerState::Unknown);
    }
}

std::uint32_t DeviceIo::LogicalDriveStrings(std::uint32_t characters, char16_t* buffer)
{
    std::u16string strings;
    for (const char letter : DriveLetters()) {
        strings.append({static_cast<char16_t>(letter), u':', u'\\', u'\0'});
    }
    const auto written = static_cast<std::uint32_t>(strings.size());
    if (buffer == nullptr || characters < written + 1) {
        return written + 1;
    }
    std::copy_n(strings.c_str(), written + 1, buffer);
    return written;
}

std::string DiskInterfacePath(std::string instanceId)
{
    std::ranges::replace(instanceId, '\\', '#');
    return R"(\\?\)" + LowerAscii(std::move(instanceId)) + "#{" + GuidText(kDiskInterfaceGuid) + "}";
}

std::string VolumeName(const Guid& guid) { return R"(\\?\Volume{)" + GuidText(guid) + "}\\"; }

}  // namespace orbis::platform::emulated
