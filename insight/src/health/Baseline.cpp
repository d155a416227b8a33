#include <fmt/format.h>
#include <algorithm>
#include <array>
#include <set>

#include "health/DiskJudge.h"
#include "health/Report.h"

namespace orbis::insight {
namespace {

// What a reason says that needs a rise.
std::string_view CounterText(std::string_view counter)
{
    constexpr std::array<std::pair<std::string_view, std::string_view>, 4> kTexts{{
        {"attribute.199.raw", "CRC errors"},
        {"unsafeShutdowns", "unsafe shutdowns"},
        {"warningTemperatureTime", "minutes above the warning temperature"},
        {"criticalTemperatureTime", "minutes above the critical temperature"},
    }};
    const auto found = std::find_if(kTexts.begin(), kTexts.end(), [&](const auto& text) { return text.first == counter; });
    return found == kTexts.end() ? counter : found->second;
}

// Counters that never fall on one and the same drive.
constexpr std::array<std::string_view, 4> kNeverFalling{"powerOnHours", "powerCycles", "dataUnitsWritten", "mediaErrors"};

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
        const auto rules = HealthRules();
        const auto rule =
            std::find_if(rules.begin(), rules.end(), [&](const HealthRule& one) { return one.name == reason.rule(); });
        if (rule == rules.end() || rule->counter.empty()) {
            continue;
        }
        if (const auto rise = RiseOf(now, before, rule->counter)) {
            reason.set_rise(rise->ToDecimal());
            *reason.mutable_since() = since;
        } else if (std::find(onlyWhenRising.begin(), onlyWhenRising.end(), reason.rule()) != onlyWhenRising.end()) {
            reason.set_level(NOTICE);
        }
    }
    for (const HealthRule& rule : HealthRules()) {
        const auto rise = rule.scope == RuleScope::OnlyWhenRising ? RiseOf(now, before, rule.counter) : std::nullopt;
        if (!rise) {
            continue;
        }
        const std::string value = CounterOf(now, rule.counter)->ToDecimal();
        DiskJudge(now).Say(rule, fmt::format("{} {}", CounterText(rule.counter), value), value, {}, rule.counter);
        Reason& reason = *now.mutable_reason()->rbegin();
        reason.set_rise(rise->ToDecimal());
        *reason.mutable_since() = since;
    }
    SettleVerdict(now);
}

bool IsSameDisk(const DiskHealth& left, const DiskHealth& right)
{
    return left.model() == right.model() && left.serial_number() == right.serial_number() &&
           (!left.serial_number().empty() || left.number() == right.number());
}

}  // namespace

std::vector<const DiskHealth*> MatchDisks(const HealthReport& report, const HealthReport& earlier)
{
    std::vector<const DiskHealth*> matches(static_cast<std::size_t>(report.disk_size()));
    std::set<const DiskHealth*> taken;
    // Disks that look alike, such as cheap USB sticks with one serial number, are told apart by their place as far as that goes.
    for (const bool isSamePlace : {true, false}) {
        for (int at = 0; at < report.disk_size(); ++at) {
            const DiskHealth*& match = matches[static_cast<std::size_t>(at)];
            for (const DiskHealth& other : earlier.disk()) {
                if (match == nullptr && IsSameDisk(report.disk(at), other) && !taken.contains(&other) &&
                    (!isSamePlace || report.disk(at).number() == other.number())) {
                    match = &other;
                    taken.insert(match);
                }
            }
        }
    }
    return matches;
}

void Compare(HealthReport& report, const HealthReport& baseline, std::span<const std::string> onlyWhenRising)
{
    const std::vector<const DiskHealth*> matches = MatchDisks(report, baseline);
    for (int at = 0; at < report.disk_size(); ++at) {
        DiskHealth& disk = *report.mutable_disk(at);
        if (const DiskHealth* before = matches[static_cast<std::size_t>(at)]) {
            CompareDisk(disk, *before, baseline.time(), onlyWhenRising);
        } else {
            disk.set_change(NEW);
        }
    }
    for (const DiskHealth& before : baseline.disk()) {
        if (std::find(matches.begin(), matches.end(), &before) == matches.end()) {
            *report.add_gone() = before;
        }
    }
    SortWorstFirst(report);
}

}  // namespace orbis::insight
