#pragma once

#include <memory>

#include "platform/Platform.h"

namespace orbis::platform {

// A machine that owns its ports. The code that creates the machine fills them in. The members of a class that derives from this end
// before the ports, which must not use them when they end.
class OwnedPorts : public Platform {
public:
    DeviceIo& DeviceIoPort() noexcept override { return *deviceIo; }
    Setup& SetupPort() noexcept override { return *setup; }
    Wmi& WmiPort() noexcept override { return *wmi; }
    Firmware& FirmwarePort() noexcept override { return *firmware; }
    Pdh& PdhPort() noexcept override { return *pdh; }
    Time& TimePort() noexcept override { return *time; }
    Text& TextPort() noexcept override { return *text; }

    std::unique_ptr<DeviceIo> deviceIo;
    std::unique_ptr<Setup> setup;
    std::unique_ptr<Wmi> wmi;
    std::unique_ptr<Firmware> firmware;
    std::unique_ptr<Pdh> pdh;
    std::unique_ptr<Time> time;
    std::unique_ptr<Text> text;
};

}  // namespace orbis::platform
