#include "WindowsHeaders.h"
#include "WindowsPorts.h"
#include "platform/OwnedPorts.h"
#include "platform/SystemPath.h"

namespace orbis::platform {
namespace {

// Kernel32's firmware tables.
class WindowsFirmware final : public Firmware {
public:
    std::uint32_t SystemFirmwareTable(std::uint32_t provider, std::uint32_t table, void* buffer, std::uint32_t size) override
    {
        return ::GetSystemFirmwareTable(provider, table, buffer, size);
    }
    std::uint32_t LastError() const noexcept override { return ::GetLastError(); }
};

class WindowsTime final : public Time {
public:
    std::chrono::system_clock::time_point UtcNow() override { return std::chrono::system_clock::now(); }
    void Sleep(std::uint32_t milliseconds) override { ::Sleep(milliseconds); }
};

// Kernel32's conversions; the system default code page is the active ANSI one.
class WindowsText final : public Text {
public:
    std::int32_t WideToUtf8(const char16_t* text, std::int32_t characters, char* out, std::int32_t outBytes) override
    {
        return ::WideCharToMultiByte(CP_UTF8, 0, AsWide(text), characters, out, outBytes, nullptr, nullptr);
    }
    std::int32_t DefaultToWide(const char* text, std::int32_t bytes, char16_t* out, std::int32_t outCharacters) override
    {
        return ::MultiByteToWideChar(CP_ACP, 0, text, bytes, AsWide(out), outCharacters);
    }
};

OwnedPorts& MakeMachine()
{
    auto& machine = *new OwnedPorts;
    machine.deviceIo = MakeWindowsDeviceIo();
    machine.setup = MakeWindowsSetup();
    machine.wmi = MakeWindowsWmi();
    machine.firmware = std::make_unique<WindowsFirmware>();
    machine.pdh = MakeWindowsPdh();
    machine.time = std::make_unique<WindowsTime>();
    machine.text = std::make_unique<WindowsText>();
    return machine;
}

}  // namespace

// Never destroyed: a host's threads may still be collecting while the process ends.
Platform& Platform::System() noexcept
{
    static OwnedPorts& machine = MakeMachine();
    return machine;
}

std::optional<std::uint32_t> DriveNumberOfSystemPath(const std::string&) { return std::nullopt; }
std::string SystemPathOfDrive(std::uint32_t) { return {}; }

}  // namespace orbis::platform
