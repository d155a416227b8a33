#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "DiskModel.h"
#include "RecordedTape.h"
#include "emulated/Pdh.h"
#include "emulated/WmiFacts.h"
#include "simulated/Machine.h"

namespace orbis::simulated {

// Each port keeps what it needs behind its own interface.
[[nodiscard]] std::unique_ptr<platform::DeviceIo> MakeDeviceIoPort(MachineState& machine);
[[nodiscard]] std::unique_ptr<platform::Setup> MakeSetupPort(MachineState& machine);
[[nodiscard]] std::unique_ptr<platform::Firmware> MakeFirmwarePort(MachineState& machine);
[[nodiscard]] std::unique_ptr<platform::emulated::PdhFacts> MakeDiskCounters(MachineState& machine);
[[nodiscard]] std::unique_ptr<platform::Time> MakeTimePort(MachineState& machine);
[[nodiscard]] std::unique_ptr<platform::Text> MakeTextPort(MachineState& machine);

// WMI: the file's and the disks' rows, and what is between the emulated port over them and its users.
[[nodiscard]] std::unique_ptr<platform::emulated::WmiFacts> MakeWmiFacts(const MachineState& machine);
[[nodiscard]] std::unique_ptr<platform::Wmi> MakeCheckedWmi(MachineState& machine, platform::Wmi& inner);

// Decorators that count what is open and see what no correct user does.
[[nodiscard]] std::unique_ptr<platform::DeviceIo> WatchDeviceIo(MachineState& machine, std::unique_ptr<platform::DeviceIo> port);
[[nodiscard]] std::unique_ptr<platform::Setup> WatchSetup(MachineState& machine, std::unique_ptr<platform::Setup> port);
[[nodiscard]] std::unique_ptr<platform::Pdh> WatchPdh(MachineState& machine, std::unique_ptr<platform::Pdh> port);

// The machine's clock, in nanoseconds after the start.
class Clock {
public:
    explicit Clock(std::chrono::system_clock::time_point start) : m_Start(start) {}

    [[nodiscard]] std::chrono::system_clock::time_point UtcNow() const
    {
        return m_Start +
               std::chrono::duration_cast<std::chrono::system_clock::duration>(std::chrono::nanoseconds(m_Elapsed.load()));
    }
    [[nodiscard]] double Seconds() const { return static_cast<double>(m_Elapsed.load()) / 1e9; }
    void Advance(std::chrono::nanoseconds time) { m_Elapsed += time.count(); }

private:
    std::chrono::system_clock::time_point m_Start;
    std::atomic<std::int64_t> m_Elapsed{0};
};

// Everything that the ports of one machine share. The model never changes after construction.
class MachineState {
public:
    explicit MachineState(const description::Machine& machine);

    const description::Machine description;
    std::vector<std::unique_ptr<DiskModel>> disks;
    std::uint32_t codePage;
    mutable Clock clock;
    OpenCountsOf<std::atomic<std::int64_t>> open;

    // Disks that are plugged in now, in the order of the file.
    [[nodiscard]] std::vector<const DiskModel*> PresentDisks() const;
    // Drive letters without a partition, except those of disks that are not plugged in now.
    [[nodiscard]] std::vector<const description::LooseVolume*> PresentLooseVolumes() const;
    // The disk that answers for such a letter, or null.
    [[nodiscard]] const DiskModel* DiskOf(const description::LooseVolume& volume) const;

    // Lets the time of a delayed answer pass.
    void Delay(double seconds, bool never) const;
    std::function<void(std::chrono::nanoseconds)> wait;  // Machine::OnDelay

    // A request reaches the disk, which may be null.
    void Reach(const DiskModel* disk, std::string_view what);

    void ReportMisuse(std::string what);
    [[nodiscard]] std::vector<std::string> Misuses() const;

    // Makes the machine's ports over this state.
    void MakePorts(platform::OwnedPorts& ports);
    std::unique_ptr<Tape> tape;  // of a machine that is a recording
    std::unique_ptr<platform::emulated::WmiFacts> wmiFacts;
    std::unique_ptr<platform::Wmi> emulatedWmi;
    std::unique_ptr<platform::Wmi> recordedWmi;
    std::unique_ptr<platform::emulated::PdhFacts> diskCounters;

private:
    mutable std::mutex m_Mutex;
    std::vector<std::string> m_Misuses;
};

// The ports of a machine that is a recording.
[[nodiscard]] std::unique_ptr<platform::DeviceIo> MakeRecordedDeviceIo(Tape& tape);
[[nodiscard]] std::unique_ptr<platform::Setup> MakeRecordedSetup(Tape& tape);
[[nodiscard]] std::unique_ptr<platform::Firmware> MakeRecordedFirmware(Tape& tape);
[[nodiscard]] std::unique_ptr<platform::Pdh> MakeRecordedPdh(Tape& tape);
[[nodiscard]] std::unique_ptr<platform::Text> MakeRecordedText(Tape& tape);
// WMI: the recorded rows as facts of the emulated port, and the recorded outcomes of the calls before them over that port.
[[nodiscard]] std::unique_ptr<platform::emulated::WmiFacts> MakeRecordedWmiFacts(Tape& tape);
[[nodiscard]] std::unique_ptr<platform::Wmi> MakeRecordedWmi(platform::Wmi& inner, Tape& tape);

// Text of a machine file's start, or nothing.
[[nodiscard]] std::optional<std::chrono::system_clock::time_point> ParseUtcTime(const std::string& text);

// Code pages: whether one is known, and its narrow text as UTF-16.
[[nodiscard]] bool IsKnownCodePage(std::uint32_t codePage);
[[nodiscard]] std::u16string DecodeCodePage(std::uint32_t codePage, std::string_view text);

// SMBIOS data as GetSystemFirmwareTable gives it for 'RSMB'.
[[nodiscard]] ByteVector BuildSmbios(const description::Smbios& smbios);

}  // namespace orbis::simulated
