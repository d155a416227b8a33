#include "AccessWatch.h"

#include <utility>

#include "platform/Errors.h"

namespace orbis::host {

std::set<std::u16string> AccessWatch::TakeDenied()
{
    const std::lock_guard lock(m_Lock);
    m_Taken.insert(m_Denied.begin(), m_Denied.end());
    return std::exchange(m_Denied, {});
}

platform::NativeHandle AccessWatch::Open(const char16_t* path, std::uint32_t access, std::uint32_t share, void* security,
                                         std::uint32_t disposition, std::uint32_t flags, platform::NativeHandle templateFile)
{
    const platform::NativeHandle handle = ForwardingDeviceIo::Open(path, access, share, security, disposition, flags, templateFile);
    if (handle == platform::kInvalidHandle) {
        NoteIfDenied(path);
    } else {
        const std::lock_guard lock(m_Lock);
        m_Open[handle] = path;
    }
    return handle;
}

bool AccessWatch::Control(platform::NativeHandle device, std::uint32_t code, void* in, std::uint32_t inSize, void* out,
                          std::uint32_t outSize, std::uint32_t* returned, void* overlapped)
{
    if (ForwardingDeviceIo::Control(device, code, in, inSize, out, outSize, returned, overlapped)) {
        return true;
    }
    std::u16string path;
    {
        const std::lock_guard lock(m_Lock);
        if (const auto found = m_Open.find(device); found != m_Open.end()) {
            path = found->second;
        }
    }
    NoteIfDenied(path);
    return false;
}

bool AccessWatch::Close(platform::NativeHandle device) noexcept
{
    {
        const std::lock_guard lock(m_Lock);
        m_Open.erase(device);
    }
    return ForwardingDeviceIo::Close(device);
}

void AccessWatch::NoteIfDenied(const std::u16string& path)
{
    if (LastError() == platform::win32::kAccessDenied) {
        const std::lock_guard lock(m_Lock);
        if (!m_Taken.contains(path)) {
            m_Denied.insert(path);
        }
    }
}

}  // namespace orbis::host
