#pragma once

#include <memory>

#include "MachineState.h"

namespace orbis::simulated {

// Decorators that count what is open, see what no correct user does, and keep the journal of device requests.
[[nodiscard]] std::unique_ptr<platform::DeviceIo> WatchDeviceIo(MachineState& machine, std::unique_ptr<platform::DeviceIo> port);
[[nodiscard]] std::unique_ptr<platform::Setup> WatchSetup(MachineState& machine, std::unique_ptr<platform::Setup> port);
[[nodiscard]] std::unique_ptr<platform::Pdh> WatchPdh(MachineState& machine, std::unique_ptr<platform::Pdh> port);

}  // namespace orbis::simulated
