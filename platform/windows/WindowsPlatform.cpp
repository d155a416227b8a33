#include "WindowsDeviceIo.h"
#include "WindowsFirmware.h"
#include "WindowsPdh.h"
#include "WindowsSetup.h"
#include "WindowsText.h"
#include "WindowsTime.h"
#include "WindowsWmi.h"
#include "platform/Platform.h"
#include "platform/SystemPath.h"

namespace orbis::platform {
namespace {

// The running Windows as a machine. The ports have no state of their own.
class WindowsPlatform final : public Platform {
public:
    DeviceIo& DeviceIoPort() noexcept override { return m_DeviceIo; }
    Setup& SetupPort() noexcept override { return m_Setup; }
    Wmi& WmiPort() noexcept override { return m_Wmi; }
    Firmware& FirmwarePort() noexcept override { return m_Firmware; }
    Pdh& PdhPort() noexcept override { return m_Pdh; }
    Time& TimePort() noexcept override { return m_Time; }
    Text& TextPort() noexcept override { return m_Text; }

private:
    WindowsDeviceIo m_DeviceIo;
    WindowsSetup m_Setup;
    WindowsWmi m_Wmi;
    WindowsFirmware m_Firmware;
    WindowsPdh m_Pdh;
    WindowsTime m_Time;
    WindowsText m_Text;
};

}  // namespace

// Never destroyed: a host's threads may still be collecting while the process ends.
Platform& Platform::System() noexcept
{
    static WindowsPlatform& machine = *new WindowsPlatform;
    return machine;
}

std::optional<std::uint32_t> DriveNumberOfSystemPath(const std::string&) { return std::nullopt; }
std::string SystemPathOfDrive(std::uint32_t) { return {}; }

}  // namespace orbis::platform
