#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>

#include "Input.h"
#include "orbis/simulated/machine.pb.h"
#include "platform/Platform.h"
#include "simulated/Machine.h"

namespace orbis::fuzz {

// Gives a property a value of any type: texts with lone surrogates, arrays that begin anywhere and claim any length, failures.
void MakeHostile(simulated::description::WmiProperty& property, Input& input);

// A simulated machine, in force for the life of this object, whose devices and firmware answer as the input chooses: the truth, the
// truth with the input's data or with a few words changed (lengths, offsets, counts, versions), less or more bytes than there are,
// or an error. An input that is used up chooses the truth. At the end nothing may be open.
class HostileMachine final : public platform::Platform, private platform::DeviceIo, private platform::Firmware {
public:
    // With hostile rows in every WMI class that the plug-in reads, or with those that belong to the disks.
    enum class WmiRows { Hostile, True };
    HostileMachine(Input& input, WmiRows rows);
    ~HostileMachine() override;
    HostileMachine(const HostileMachine&) = delete;
    HostileMachine& operator=(const HostileMachine&) = delete;

    // Lets a second pass: counters of rates have no value without.
    void Wait() { m_Machine->AdvanceClock(std::chrono::seconds(1)); }

    DeviceIo& DeviceIoPort() noexcept override { return *this; }
    platform::Setup& SetupPort() noexcept override { return m_Machine->SetupPort(); }
    platform::Wmi& WmiPort() noexcept override { return m_Machine->WmiPort(); }
    Firmware& FirmwarePort() noexcept override { return *this; }
    platform::Pdh& PdhPort() noexcept override { return m_Machine->PdhPort(); }
    platform::Time& TimePort() noexcept override { return m_Machine->TimePort(); }
    platform::Text& TextPort() noexcept override { return m_Machine->TextPort(); }

private:
    platform::NativeHandle Open(const char16_t* path, std::uint32_t access, std::uint32_t share, void* security,
                                std::uint32_t disposition, std::uint32_t flags, platform::NativeHandle templateFile) override;
    bool Control(platform::NativeHandle device, std::uint32_t code, void* in, std::uint32_t inSize, void* out,
                 std::uint32_t outSize, std::uint32_t* returned, void* overlapped) override;
    bool Close(platform::NativeHandle device) noexcept override { return m_Devices.Close(device); }
    std::uint32_t LogicalDriveStrings(std::uint32_t characters, char16_t* buffer) override;
    std::uint32_t SystemFirmwareTable(std::uint32_t provider, std::uint32_t table, void* buffer, std::uint32_t size) override;
    std::uint32_t LastError() const noexcept override { return m_Error.value_or(m_Devices.LastError()); }

    void Fill(void* data, std::uint32_t size);
    void Scatter(void* data, std::uint32_t size);

    Input& m_Input;
    std::shared_ptr<simulated::Machine> m_Machine;
    platform::DeviceIo& m_Devices = m_Machine->DeviceIoPort();
    std::optional<std::uint32_t> m_Error;  // of the failure that the input chose last
};

}  // namespace orbis::fuzz
