#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "DiskWatch.h"
#include "insight/Findings.h"
#include "insight/HiddenDisks.h"
#include "insight/Journal.h"
#include "insight/Recording.h"
#include "insight/SleepingDisks.h"
#include "platform/Platform.h"

namespace orbis::host {

// The machine to collect from, with the decorators that observe it. It is installed for the life of this object.
class MachineInForce {
public:
    // The simulated machine of a file, or this machine when the path is empty; without sleeping disks if `skipSleeping`. Throws
    // MachineFileError.
    explicit MachineInForce(const std::filesystem::path& file, bool skipSleeping = false);
    MachineInForce(const MachineInForce&) = delete;
    MachineInForce& operator=(const MachineInForce&) = delete;
    ~MachineInForce();

    [[nodiscard]] DiskWatch& Disks() { return *m_Disks; }
    // The name of the computer or of the simulated machine's file.
    [[nodiscard]] const std::string& Name() const noexcept { return m_Name; }
    // The drive number of one of the system's own paths (/dev/nvme0); empty on a simulated machine.
    [[nodiscard]] std::optional<std::uint32_t> DriveNumberOf(const std::string& path) const;
    // The calls since the last one of this function; they are added to the findings. Throws std::runtime_error when the journal had
    // no room for all of them.
    [[nodiscard]] insight::Extract TakeCalls();
    // Fills in title, system, code page and rights of a recording.
    void Describe(insight::Recording& recording) const;
    // Ends a pass. Returns its new findings: what the collections left out, and why.
    [[nodiscard]] std::vector<insight::Finding> TakeFindings();
    // All findings at the end of the pass, including those that were reported before.
    [[nodiscard]] std::vector<insight::Finding> CurrentFindings() const;

    // Disks that did not answer in time, by number, each with the reason.
    [[nodiscard]] std::map<std::uint32_t, std::string> LateDisks() const;
    // Disks that are left out, with all their known names.
    [[nodiscard]] std::vector<insight::HiddenDisk> Hidden() const;

    // Begins a later pass of a watch. Returns whether disks have fallen asleep or woken up since the last pass.
    [[nodiscard]] bool BeginPass();
    // Disks that are left out because they are asleep, with what is known of them; all have a number.
    [[nodiscard]] std::vector<Disk> Asleep() const;

    // Waits between two passes; the time of a simulated machine passes as well. Ends early when interrupted.
    void Wait(double seconds);
    // Waits for counters that are rates; on a simulated machine only its own time passes.
    void LetRatesBuildUp(double seconds);

private:
    // The decorators of a supervised process.
    struct Guard;

    // Requests that a recording lacks.
    [[nodiscard]] std::vector<insight::Finding> MissingAnswers() const;
    void Advance(double seconds);

    std::string m_Name;
    std::unique_ptr<platform::Platform> m_Simulated;
    std::unique_ptr<Guard> m_Guard;                   // null in a process that may wait without limit
    std::unique_ptr<insight::SleepingDisks> m_Sleep;  // null when sleeping disks are collected like others
    std::unique_ptr<insight::Journal> m_Journal;
    insight::Findings m_Findings;
    std::set<std::string> m_ReportedMissing;
    std::unique_ptr<DiskWatch> m_Disks;
};

// From now on SIGINT and SIGTERM end waits and the watch; a second signal terminates the process.
void InterruptWaits();
[[nodiscard]] bool IsInterrupted();

}  // namespace orbis::host
