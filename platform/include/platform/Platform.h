#pragma once

#include "platform/DeviceIo.h"
#include "platform/Export.h"
#include "platform/Firmware.h"
#include "platform/Pdh.h"
#include "platform/Setup.h"
#include "platform/Text.h"
#include "platform/Time.h"
#include "platform/Wmi.h"

namespace orbis::platform {

// One machine: all ports together. Users of a port take that port alone (DeviceIo::Current and so on).
class Platform {
public:
    virtual ~Platform() = default;

    [[nodiscard]] virtual DeviceIo& DeviceIoPort() noexcept = 0;
    [[nodiscard]] virtual Setup& SetupPort() noexcept = 0;
    [[nodiscard]] virtual Wmi& WmiPort() noexcept = 0;
    [[nodiscard]] virtual Firmware& FirmwarePort() noexcept = 0;
    [[nodiscard]] virtual Pdh& PdhPort() noexcept = 0;
    [[nodiscard]] virtual Time& TimePort() noexcept = 0;
    [[nodiscard]] virtual Text& TextPort() noexcept = 0;

    // The current machine of the whole process: the operating system's own until Replace installs another one.
    [[nodiscard]] ORBIS_PLATFORM_EXPORT static Platform& Current() noexcept;
    // The operating system's own.
    [[nodiscard]] ORBIS_PLATFORM_EXPORT static Platform& System() noexcept;
    // Installs `machine` (not owned; null: the system's own again) and returns the previous one. Call it before a plug-in object is
    // created; `machine` must outlive every such object.
    ORBIS_PLATFORM_EXPORT static Platform& Replace(Platform* machine) noexcept;
};

}  // namespace orbis::platform
