#pragma once

#include <memory>

#include "MachineState.h"
#include "RecordedTape.h"

// The ports of a machine that is a recording.
namespace orbis::simulated {

[[nodiscard]] std::unique_ptr<platform::DeviceIo> MakeRecordedDeviceIo(Tape& tape);
[[nodiscard]] std::unique_ptr<platform::Setup> MakeRecordedSetup(Tape& tape);
[[nodiscard]] std::unique_ptr<platform::Firmware> MakeRecordedFirmware(Tape& tape);
[[nodiscard]] std::unique_ptr<platform::Pdh> MakeRecordedPdh(Tape& tape);
[[nodiscard]] std::unique_ptr<platform::Time> MakeRecordedTime(Clock& clock, Tape& tape);
[[nodiscard]] std::unique_ptr<platform::Text> MakeRecordedText(Tape& tape);

// WMI: the recorded rows as facts of the emulated port, and the recorded outcomes of the calls before them over that port.
[[nodiscard]] std::unique_ptr<platform::emulated::WmiFacts> MakeRecordedWmiFacts(Tape& tape);
[[nodiscard]] std::unique_ptr<platform::Wmi> MakeRecordedWmi(platform::Wmi& inner, Tape& tape);

}  // namespace orbis::simulated
