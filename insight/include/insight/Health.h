#pragma once

#include <chrono>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "insight/Evidence.h"
#include "insight/Export.h"
#include "orbis/insight/health.pb.h"

// A verdict for each disk, from the exact bytes that the collections read, including values that no datatype can carry and SMART
// attributes that no datatype has.
namespace orbis::insight {

// When a rule applies.
enum class RuleScope {
    Always,          // whenever its condition holds
    OnlyWhenRising,  // only with a baseline, and only when the value rose
};

// One rule of the verdict. docs/HEALTH.md is made from this table.
struct HealthRule {
    std::string_view name;  // stable: programs match it
    Verdict level;          // FAIL, WARN or NOTICE
    RuleScope scope;
    std::string_view condition;  // for people
    std::string_view why;        // the reason for the rule and its level
    std::string_view document;   // the standard that defines the value
    std::string_view counter{};  // name of the counter that the condition looks at; empty: none
};

// A counter of the report as the rules use it: only the low 32 bits of a SMART attribute's raw value, because makers put further
// counters above them. Empty when the disk has no such counter.
[[nodiscard]] ORBIS_INSIGHT_EXPORT std::optional<std::string> RuleCounter(const DiskHealth& disk, std::string_view name);

[[nodiscard]] ORBIS_INSIGHT_EXPORT std::span<const HealthRule> HealthRules() noexcept;
// The table of docs/HEALTH.md.
[[nodiscard]] ORBIS_INSIGHT_EXPORT std::string HealthRulesAsMarkdown();

// The newest format of the report; a reader refuses a greater one.
inline constexpr std::uint32_t kHealthFormatVersion = 1;

// Judges one disk by its own values alone.
[[nodiscard]] ORBIS_INSIGHT_EXPORT DiskHealth Judge(const DiskEvidence& disk);

// Compares `report` with an earlier one: sets rises, adds the reasons that need a rise, and names disks that are new, gone or
// moved. Two disks are the same when model and serial number are equal; a disk without a serial number is compared by model and
// drive number. A reason of a rule in `onlyWhenRising` is at most a NOTICE when its counter did not rise.
ORBIS_INSIGHT_EXPORT void Compare(HealthReport& report, const HealthReport& baseline,
                                  std::span<const std::string> onlyWhenRising = {});

// For each disk of `report` the same disk in an earlier report, or null.
[[nodiscard]] ORBIS_INSIGHT_EXPORT std::vector<const DiskHealth*> MatchDisks(const HealthReport& report,
                                                                             const HealthReport& earlier);

// A report of all disks, worst first.
[[nodiscard]] ORBIS_INSIGHT_EXPORT HealthReport MakeReport(std::span<const DiskEvidence> disks, std::string_view host,
                                                           std::chrono::system_clock::time_point time);

// The verdict; for a sleeping disk its previous one, which may be unspecified.
[[nodiscard]] ORBIS_INSIGHT_EXPORT Verdict LastVerdict(const DiskHealth& disk) noexcept;
// Adds a disk that was not asked because it is asleep. `disk` has its number and whatever else is known. Its last verdict is that
// of the disk with this number in `earlier`, unless model or serial number differ.
ORBIS_INSIGHT_EXPORT void AddAsleep(HealthReport& report, const DiskHealth& disk, const HealthReport& earlier);

// The worst verdict of the report, without disks that are asleep; OK when there is no disk.
[[nodiscard]] ORBIS_INSIGHT_EXPORT Verdict WorstOf(const HealthReport& report) noexcept;

}  // namespace orbis::insight
