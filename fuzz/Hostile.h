#pragma once

#include <chrono>
#include <cstdint>
#include <memory>

#include "Input.h"
#include "orbis/simulated/machine.pb.h"
#include "platform/Forwarding.h"
#include "simulated/Machine.h"

namespace orbis::fuzz {

// Gives a property a value of any type: texts with lone surrogates, arrays with any lower bound and length, failures.
void MakeHostile(simulated::description::WmiProperty& property, Input& input);

// A simulated machine, in force for the life of this object, whose devices and firmware answer as the input chooses: correctly,
// with the input's data in place of the device's, with a few words changed (lengths, offsets, counts, versions), with fewer or more
// bytes, or with an error. When the input is used up, answers are correct. At the end nothing may be open.
class HostileMachine final : public platform::ForwardingPlatform,
                             private platform::ForwardingDeviceIo,
                             private platform::ForwardingFirmware {
public:
    // With hostile rows in every WMI class that the plug-in reads, or with those that belong to the disks.
    enum class WmiRows { Hostile, True };
    HostileMachine(Input& input, WmiRows rows);
    ~HostileMachine() override;
    HostileMachine(const HostileMachine&) = delete;
    HostileMachine& operator=(const HostileMachine&) = delete;

    // Advances the clock by a second: rates need two samples.
    void Wait() { m_Machine->AdvanceClock(std::chrono::seconds(1)); }

    platform::DeviceIo& DeviceIoPort() noexcept override { return *this; }
    platform::Firmware& FirmwarePort() noexcept override { return *this; }

private:
    HostileMachine(Input& input, std::shared_ptr<simulated::Machine> machine);
    bool Control(platform::NativeHandle device, std::uint32_t code, void* in, std::uint32_t inSize, void* out,
                 std::uint32_t outSize, std::uint32_t* returned, void* overlapped) override;
    std::uint32_t SystemFirmwareTable(std::uint32_t provider, std::uint32_t table, void* buffer, std::uint32_t size) override;

    void Fill(void* data, std::uint32_t size);
    void Scatter(void* data, std::uint32_t size);

    Input& m_Input;
    std::shared_ptr<simulated::Machine> m_Machine;
};

}  // namespace orbis::fuzz
