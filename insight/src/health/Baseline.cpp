#include <fmt/format.h>
#include <algorithm>
#include <array>
#include <iterator>
#include <set>

#include "health/DiskJudge.h"
#include "health/Report.h"

namespace orbis::insight {
namespace {

// Rules that need a rise, and the counter that has to rise.
struct RisingRule {
    HealthRuleId rule;
    const char* counter;
    const char* text;
};
constexpr std::array<RisingRule, 4> kRisingRules{{
    {HealthRuleId::AtaCrcErrors, "attribute.199.raw", "CRC errors"},
    {HealthRuleId::NvmeUnsafeShutdowns, "unsafeShutdowns", "unsafe shutdowns"},
    {HealthRuleId::NvmeWarningTemperatureTime, "warningTemperatureTime", "minutes above the warning temperature"},
    {HealthRuleId::NvmeCriticalTemperatureTime, "criticalTemperatureTime", "minutes above the critical temperature"},
}};

// Rules that hold without a rise, and the counter whose rise is worth telling.
struct CountedRule {
    HealthRuleId rule;
    const char* counter;
};
constexpr std::array<CountedRule, 8> kCountedRules{{
    {HealthRuleId::NvmeMediaErrors, "mediaErrors"},
    {HealthRuleId::NvmeUsed, "percentageUsed"},
    {HealthRuleId::NvmeNearlyUsed, "percentageUsed"},
    {HealthRuleId::MakerReservedBlocks, "reservedBlocksUsed"},
    {HealthRuleId::AtaReallocated, "attribute.5.raw"},
    {HealthRuleId::AtaReportedUncorrectable, "attribute.187.raw"},
    {HealthRuleId::AtaPending, "attribute.197.raw"},
    {HealthRuleId::AtaOfflineUncorrectable, "attribute.198.raw"},
}};

// Counters that never fall on one and the same drive.
constexpr std::array<std::string_view, 4> kNeverFalling{"powerOnHours", "powerCycles", "dataUnitsWritten", "mediaErrors"};

std::optional<Unsigned128> CounterOf(const DiskHealth& disk, std::string_view name)
{
    for (const Counter& counter : disk.counter()) {
        if (counter.name() == name) {
            return Unsigned128::FromDecimal(counter.value());
        }
    }
    return std::nullopt;
}

// The rise of a counter, when both reports have it and it rose.
std::optional<Unsigned128> RiseOf(const DiskHealth& now, const DiskHealth& before, std::string_view counter)
{
    const auto latest = CounterOf(now, counter);
    const auto earlier = CounterOf(before, counter);
    if (!latest || !earlier || *latest <= *earlier) {
        return std::nullopt;
    }
    return *latest - *earlier;
}

bool IsReset(const DiskHealth& now, const DiskHealth& before)
{
    return std::any_of(kNeverFalling.begin(), kNeverFalling.end(), [&](std::string_view name) {
        const auto latest = CounterOf(now, name);
        const auto earlier = CounterOf(before, name);
        return latest && earlier && *latest < *earlier;
    });
}

void CompareDisk(DiskHealth& now, const DiskHealth& before, const google::protobuf::Timestamp& since,
                 std::span<const std::string> onlyWhenRising)
{
    if (IsReset(now, before)) {
        // The counters began anew: nothing can be said to have risen.
        now.set_change(RESET);
        return;
    }
    now.set_change(now.number() == before.number() ? SAME_PLACE : MOVED);
    for (Reason& reason : *now.mutable_reason()) {
        const auto counted = std::find_if(kCountedRules.begin(), kCountedRules.end(),
                                          [&](const CountedRule& rule) { return RuleOf(rule.rule).name == reason.rule(); });
        if (counted == kCountedRules.end()) {
            continue;
        }
        if (const auto rise = RiseOf(now, before, counted->counter)) {
            reason.set_rise(rise->ToDecimal());
            *reason.mutable_since() = since;
        } else if (std::find(onlyWhenRising.begin(), onlyWhenRising.end(), reason.rule()) != onlyWhenRising.end()) {
            reason.set_level(NOTICE);
        }
    }
    DiskJudge judge(now);
    for (const RisingRule& rising : kRisingRules) {
        if (const auto rise = RiseOf(now, before, rising.counter)) {
            const std::string value = CounterOf(now, rising.counter)->ToDecimal();
            judge.Say(rising.rule, fmt::format("{} {}", rising.text, value), value, {}, rising.counter);
            Reason& reason = *now.mutable_reason()->rbegin();
            reason.set_rise(rise->ToDecimal());
            *reason.mutable_since() = since;
        }
    }
    SettleVerdict(now);
}

bool IsSameDisk(const DiskHealth& left, const DiskHealth& right)
{
    return left.model() == right.model() && left.serial_number() == right.serial_number() &&
           (!left.serial_number().empty() || left.number() == right.number());
}

}  // namespace

void Compare(HealthReport& report, const HealthReport& baseline, std::span<const std::string> onlyWhenRising)
{
    std::set<const DiskHealth*> found;
    for (DiskHealth& disk : *report.mutable_disk()) {
        const auto before = std::find_if(baseline.disk().begin(), baseline.disk().end(), [&](const DiskHealth& other) {
            return !found.contains(&other) && IsSameDisk(disk, other);
        });
        if (before == baseline.disk().end()) {
            disk.set_change(NEW);
            continue;
        }
        found.insert(&*before);
        CompareDisk(disk, *before, baseline.time(), onlyWhenRising);
    }
    for (const DiskHealth& before : baseline.disk()) {
        if (!found.contains(&before)) {
            *report.add_gone() = before;
        }
    }
    SortWorstFirst(report);
}

}  // namespace orbis::insight
