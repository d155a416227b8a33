#include "MachineState.h"

#include <algorithm>
#include <future>
#include <numeric>
#include <string_view>

#include <fmt/format.h>

namespace orbis::simulated {
namespace {

constexpr std::uint32_t kUtf8 = 65001;
constexpr const char* kDefaultStart = "2024-01-01T00:00:00Z";

}  // namespace

std::optional<std::chrono::system_clock::time_point> ParseUtcTime(const std::string& text)
{
    constexpr std::string_view kForm = "0000-00-00T00:00:00Z";
    const auto fits = [](char character, char form) {
        return form == '0' ? character >= '0' && character <= '9' : character == form;
    };
    if (!std::ranges::equal(text, kForm, fits)) {
        return std::nullopt;
    }
    const auto number = [&text](std::size_t at, std::size_t digits) {
        return std::accumulate(&text[at], &text[at] + digits, 0, [](int value, char digit) { return value * 10 + (digit - '0'); });
    };
    const int year = number(0, 4);
    const std::chrono::year_month_day date{std::chrono::year(year), std::chrono::month(static_cast<unsigned>(number(5, 2))),
                                           std::chrono::day(static_cast<unsigned>(number(8, 2)))};
    const std::chrono::hours hours(number(11, 2));
    const std::chrono::minutes minutes(number(14, 2));
    const std::chrono::seconds seconds(number(17, 2));
    // A clock of 64-bit nanoseconds ends in 2262; these years leave room for what passes after the start.
    if (year < 1970 || year > 2199 || !date.ok() || hours.count() > 23 || minutes.count() > 59 || seconds.count() > 59) {
        return std::nullopt;
    }
    return std::chrono::sys_days(date) + hours + minutes + seconds;
}

MachineState::MachineState(const description::Machine& machine)
    : description(machine),
      codePage(machine.has_code_page() ? machine.code_page() : kUtf8),
      clock(
          ParseUtcTime(machine.start().empty() ? kDefaultStart : machine.start()).value_or(std::chrono::system_clock::time_point{}))
{
    std::uint32_t position = 0;
    for (const description::Disk& disk : description.disk()) {
        disks.push_back(BuildDisk(disk, position++));
    }
}

void MachineState::MakePorts(platform::OwnedPorts& ports)
{
    if (description.has_recording()) {
        tape = std::make_unique<Tape>(description.recording());
        ports.deviceIo = WatchDeviceIo(*this, MakeRecordedDeviceIo(*tape));
        ports.setup = WatchSetup(*this, MakeRecordedSetup(*tape));
        wmiFacts = MakeRecordedWmiFacts(*tape);
        emulatedWmi = platform::emulated::MakeWmi(*wmiFacts);
        recordedWmi = MakeRecordedWmi(*emulatedWmi, *tape);
        ports.wmi = MakeCheckedWmi(*this, *recordedWmi);
        ports.firmware = MakeRecordedFirmware(*tape);
        ports.pdh = WatchPdh(*this, MakeRecordedPdh(*tape));
        ports.time = MakeTimePort(*this);
        ports.text = MakeRecordedText(*tape);
        return;
    }
    ports.deviceIo = WatchDeviceIo(*this, MakeDeviceIoPort(*this));
    ports.setup = WatchSetup(*this, MakeSetupPort(*this));
    wmiFacts = MakeWmiFacts(*this);
    emulatedWmi = platform::emulated::MakeWmi(*wmiFacts);
    ports.wmi = MakeCheckedWmi(*this, *emulatedWmi);
    ports.firmware = MakeFirmwarePort(*this);
    diskCounters = MakeDiskCounters(*this);
    ports.pdh = WatchPdh(*this, platform::emulated::MakePdh(*diskCounters));
    ports.time = MakeTimePort(*this);
    ports.text = MakeTextPort(*this);
}

std::vector<const DiskModel*> MachineState::PresentDisks() const
{
    std::vector<const DiskModel*> present;
    const double now = clock.Seconds();
    for (const auto& disk : disks) {
        if (disk->PresentAt(now)) {
            present.push_back(disk.get());
        }
    }
    return present;
}

std::vector<const description::LooseVolume*> MachineState::PresentLooseVolumes() const
{
    std::vector<const description::LooseVolume*> present;
    for (const description::LooseVolume& volume : description.volume()) {
        const DiskModel* const disk = DiskOf(volume);
        if (disk == nullptr || disk->PresentAt(clock.Seconds())) {
            present.push_back(&volume);
        }
    }
    return present;
}

const DiskModel* MachineState::DiskOf(const description::LooseVolume& volume) const
{
    const auto found = std::ranges::find_if(disks, [&](const auto& disk) { return disk->number == volume.disk(); });
    return volume.has_disk() && found != disks.end() ? found->get() : nullptr;
}

void MachineState::Delay(double seconds, bool never) const
{
    if (!never && seconds <= 0) {
        return;
    }
    const auto time = std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::duration<double>(never ? 0 : seconds));
    if (wait) {
        wait(never ? Machine::kNever : time);
    } else if (!never) {
        clock.Advance(time);
    } else {
        std::promise<void>().get_future().wait();  // nothing ever sets it
    }
}

void MachineState::Reach(const DiskModel* disk, std::string_view what)
{
    if (disk == nullptr || !disk->AsleepAt(clock.Seconds())) {
        return;
    }
    disk->isWoken = true;
    if (disk->isKnownAsleep) {
        ReportMisuse(fmt::format("{} wakes DISK{}, which is asleep", what, disk->number));
    }
}

void MachineState::ReportMisuse(std::string what)
{
    const std::lock_guard lock(m_Mutex);
    m_Misuses.push_back(std::move(what));
}

std::vector<std::string> MachineState::Misuses() const
{
    const std::lock_guard lock(m_Mutex);
    return m_Misuses;
}

}  // namespace orbis::simulated
