#pragma once

#include <map>
#include <mutex>
#include <set>
#include <string>

#include "platform/Platform.h"

namespace orbis::host {

// A decorator over a machine that notes which devices refused for want of rights. The collectors stay silent about it (a disk that
// cannot be read is skipped), so the host listens at the door. Thread-safe.
class AccessWatch final : public platform::Platform, private platform::DeviceIo {
public:
    explicit AccessWatch(platform::Platform& machine) : m_Machine(machine), m_Devices(machine.DeviceIoPort()) {}

    // Paths that were refused and not taken before, in order: a watch that tells of them does so once.
    [[nodiscard]] std::set<std::u16string> TakeDenied();

    platform::DeviceIo& DeviceIoPort() noexcept override { return *this; }
    platform::Setup& SetupPort() noexcept override { return m_Machine.SetupPort(); }
    platform::Wmi& WmiPort() noexcept override { return m_Machine.WmiPort(); }
    platform::Firmware& FirmwarePort() noexcept override { return m_Machine.FirmwarePort(); }
    platform::Pdh& PdhPort() noexcept override { return m_Machine.PdhPort(); }
    platform::Time& TimePort() noexcept override { return m_Machine.TimePort(); }
    platform::Text& TextPort() noexcept override { return m_Machine.TextPort(); }

private:
    platform::NativeHandle Open(const char16_t* path, std::uint32_t access, std::uint32_t share, void* security,
                                std::uint32_t disposition, std::uint32_t flags, platform::NativeHandle templateFile) override;
    bool Control(platform::NativeHandle device, std::uint32_t code, void* in, std::uint32_t inSize, void* out,
                 std::uint32_t outSize, std::uint32_t* returned, void* overlapped) override;
    bool Close(platform::NativeHandle device) noexcept override;
    std::uint32_t LogicalDriveStrings(std::uint32_t characters, char16_t* buffer) override;
    std::uint32_t LastError() const noexcept override { return m_Devices.LastError(); }

    void NoteIfDenied(const std::u16string& path);

    platform::Platform& m_Machine;
    platform::DeviceIo& m_Devices;
    std::mutex m_Lock;
    std::set<std::u16string> m_Denied;
    std::set<std::u16string> m_Taken;
    std::map<platform::NativeHandle, std::u16string> m_Open;
};

}  // namespace orbis::host
