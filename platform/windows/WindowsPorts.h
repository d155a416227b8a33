#pragma once

#include <memory>

#include "platform/Platform.h"

// The ports over the running Windows. They have no state of their own.
namespace orbis::platform {

[[nodiscard]] std::unique_ptr<DeviceIo> MakeWindowsDeviceIo();
[[nodiscard]] std::unique_ptr<Setup> MakeWindowsSetup();
[[nodiscard]] std::unique_ptr<Wmi> MakeWindowsWmi();
[[nodiscard]] std::unique_ptr<Pdh> MakeWindowsPdh();

}  // namespace orbis::platform
