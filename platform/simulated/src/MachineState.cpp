#include "MachineState.h"

#include <array>
#include <cstdio>

#include "platform/Errors.h"

namespace orbis::simulated {
namespace {

constexpr std::uint32_t kUtf8 = 65001;
constexpr const char* kDefaultStart = "2024-01-01T00:00:00Z";

thread_local std::uint32_t t_LastError = platform::win32::kSuccess;

}  // namespace

std::uint32_t LastError() noexcept { return t_LastError; }
void SetLastError(std::uint32_t error) noexcept { t_LastError = error; }

std::optional<std::chrono::system_clock::time_point> ParseUtcTime(const std::string& text)
{
    int year = 0;
    unsigned month = 0;
    unsigned day = 0;
    int hour = 0;
    int minute = 0;
    int second = 0;
    char zone = 0;
    char rest = 0;
    if (std::sscanf(text.c_str(), "%4d-%2u-%2uT%2d:%2d:%2d%c%c", &year, &month, &day, &hour, &minute, &second, &zone, &rest) != 7 ||
        zone != 'Z' || hour > 23 || minute > 59 || second > 59 || hour < 0 || minute < 0 || second < 0) {
        return std::nullopt;
    }
    // A clock of 64-bit nanoseconds ends in 2262; these years leave room for what passes after the start.
    if (year < 1970 || year > 2199) {
        return std::nullopt;
    }
    const std::chrono::year_month_day date{std::chrono::year(year), std::chrono::month(month), std::chrono::day(day)};
    if (!date.ok()) {
        return std::nullopt;
    }
    return std::chrono::sys_days(date) + std::chrono::hours(hour) + std::chrono::minutes(minute) + std::chrono::seconds(second);
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
    deviceIo = MakeDeviceIoPort(*this);
    setup = MakeSetupPort(*this);
    wmi = MakeWmiPort(*this);
    firmware = MakeFirmwarePort(*this);
    pdh = MakePdhPort(*this);
    time = MakeTimePort(*this);
    text = MakeTextPort(*this);
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

void MachineState::Record(const std::function<JournalEntry()>& entry)
{
    if (m_KeepJournal) {
        JournalEntry made = entry();
        const std::lock_guard lock(m_Mutex);
        m_Journal.push_back(std::move(made));
    }
}

std::vector<JournalEntry> MachineState::TakeJournal()
{
    const std::lock_guard lock(m_Mutex);
    return std::exchange(m_Journal, {});
}

}  // namespace orbis::simulated
