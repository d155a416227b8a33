#pragma once

#include <map>
#include <mutex>
#include <set>
#include <string>

#include "platform/Forwarding.h"

namespace orbis::host {

// A decorator over a machine that notes which devices refused for want of rights. The collectors do not report this (a disk that
// cannot be read is skipped), so the host observes the port. Thread-safe.
class AccessWatch final : public platform::ForwardingPlatform, private platform::ForwardingDeviceIo {
public:
    explicit AccessWatch(platform::Platform& machine) : ForwardingPlatform(machine), ForwardingDeviceIo(machine.DeviceIoPort()) {}

    // Paths that were refused and not taken before, in order: a watch that tells of them does so once.
    [[nodiscard]] std::set<std::u16string> TakeDenied();

    platform::DeviceIo& DeviceIoPort() noexcept override { return *this; }

private:
    platform::NativeHandle Open(const char16_t* path, std::uint32_t access, std::uint32_t share, void* security,
                                std::uint32_t disposition, std::uint32_t flags, platform::NativeHandle templateFile) override;
    bool Control(platform::NativeHandle device, std::uint32_t code, void* in, std::uint32_t inSize, void* out,
                 std::uint32_t outSize, std::uint32_t* returned, void* overlapped) override;
    bool Close(platform::NativeHandle device) noexcept override;

    void NoteIfDenied(const std::u16string& path);

    std::mutex m_Lock;
    std::set<std::u16string> m_Denied;
    std::set<std::u16string> m_Taken;
    std::map<platform::NativeHandle, std::u16string> m_Open;
};

}  // namespace orbis::host
