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

// The machine to collect from, observed, in force for as long as this lives.
class MachineInForce {
public:
    // The simulated machine of a file, or this machine when the path is empty; without the disks that are asleep where these are to
    // be skipped. Throws MachineFileError.
    explicit MachineInForce(const std::filesystem::path& file, bool skipSleeping = false);
    MachineInForce(const MachineInForce&) = delete;
    MachineInForce& operator=(const MachineInForce&) = delete;
    ~MachineInForce();

    [[nodiscard]] DiskWatch& Disks() { return *m_Disks; }
    // Its name: that of the computer, or of the simulated machine's file.
    [[nodiscard]] const std::string& Name() const noexcept { return m_Name; }
    // The number of the drive that a path of this system's own names (/dev/nvme0); nothing on a simulated machine.
    [[nodiscard]] std::optional<std::uint32_t> DriveNumberOf(const std::string& path) const;
    // The calls since they were taken last, which the findings have read. Throws std::runtime_error when there were more than the
    // journal has room for.
    [[nodiscard]] insight::Extract TakeCalls();
    // Title, system, code page and rights for a recording of it.
    void Describe(insight::Recording& recording) const;
    // Ends a pass. Returns what its collections left out and was not reported before, with the reasons.
    [[nodiscard]] std::vector<insight::Finding> TakeFindings();
    // All findings at the end of the pass, including those that were reported before.
    [[nodiscard]] std::vector<insight::Finding> CurrentFindings() const;

    // Disks that did not answer in time, by number, and what they were asked.
    [[nodiscard]] std::map<std::uint32_t, std::string> LateDisks() const;
    // Disks that are left out, by the names that are known of them.
    [[nodiscard]] std::vector<insight::HiddenDisk> Hidden() const;

    // Begins a later pass of a watch, and says whether disks have fallen asleep since the last one, or woken up.
    [[nodiscard]] bool BeginPass();
    // Disks that are left out because they are asleep, as far as they are known; all have a number.
    [[nodiscard]] std::vector<Disk> Asleep() const;

    // Waits between two passes; on a simulated machine its own time passes as well. Ends early when interrupted.
    void Wait(double seconds);
    // Lets time pass for counters that are rates; on a simulated machine its own time alone.
    void LetRatesBuildUp(double seconds);

private:
    // The decorators of a supervised process; null in a process that may wait without limit.
    struct Guard;

    // Requests that a recording lacks.
    [[nodiscard]] std::vector<insight::Finding> MissingAnswers() const;
    void Advance(double seconds);

    std::string m_Name;
    std::unique_ptr<platform::Platform> m_Simulated;
    std::unique_ptr<Guard> m_Guard;
    std::unique_ptr<insight::SleepingDisks> m_Sleep;  // null where sleeping disks are asked like others
    std::unique_ptr<insight::Journal> m_Journal;
    insight::Findings m_Findings;
    std::set<std::string> m_ReportedMissing;
    std::unique_ptr<DiskWatch> m_Disks;
};

// From here on SIGINT and SIGTERM end waits, and the watch that waits; a second one terminates the process.
void InterruptWaits();
[[nodiscard]] bool IsInterrupted();

}  // namespace orbis::host
