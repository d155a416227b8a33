#include <fmt/format.h>
#include <algorithm>
#include <array>
#include <set>

#include "health/DiskJudge.h"
#include "health/Report.h"

namespace orbis::insight {
namespace {

// The text of a reason that needs a rise, and the place of its counter.
struct RisingText {
    std::string_view counter;
    std::string_view text;
    std::string_view source;
};
const RisingText& TextOfRise(std::string_view counter)
{
    static constexpr std::array<RisingText, 4> kTexts{{
        {"attribute.199.raw", "CRC errors", "SMART data, attribute 199"},
        {"unsafeShutdowns", "unsafe shutdowns", "NVMe log 02h bytes 144-159"},
        {"warningTemperatureTime", "minutes above the warning temperature", "NVMe log 02h bytes 192-195"},
        {"criticalTemperatureTime", "minutes above the critical temperature", "NVMe log 02h bytes 196-199"},
    }};
    return *std::find_if(kTexts.begin(), kTexts.end() - 1, [&](const RisingText& text) { return text.counter == counter; });
}

// Counters that never decrease on the same drive.
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
        // The counters were reset, so a rise cannot be determined.
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
        const RisingText& text = TextOfRise(rule.counter);
        DiskJudge(now).Say(rule, fmt::format("{} {}", text.text, value), value, {}, text.source);
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
    // Disks that look alike, such as cheap USB sticks with one serial number, are distinguished by their place where possible.
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
        const DiskHealth* before = matches[static_cast<std::size_t>(at)];
        if (disk.verdict() == ASLEEP) {
            continue;
        }
        if (before != nullptr) {
            CompareDisk(disk, *before, baseline.time(), onlyWhenRising);
        } else {
            disk.set_change(NEW);
        }
    }
    for (const DiskHealth& before : baseline.disk()) {
        // A disk that was asleep and never judged cannot be recognised.
        if (std::find(matches.begin(), matches.end(), &before) == matches.end() && LastVerdict(before) != VERDICT_UNSPECIFIED) {
            *report.add_gone() = before;
        }
    }
    SortWorstFirst(report);
}

}  // namespace orbis::insight
