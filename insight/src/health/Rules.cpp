#include "health/Rules.h"

#include <fmt/format.h>
#include <array>
#include <iterator>

namespace orbis::insight {
namespace {

constexpr auto kAlways = RuleScope::Always;
constexpr auto kRising = RuleScope::OnlyWhenRising;
constexpr std::string_view kHealthLog = "NVMe 1.4, figure 194 (SMART / Health Information log, 02h)";
constexpr std::string_view kSmart = "SFF-8035i (SMART attributes and thresholds)";
constexpr std::string_view kCustom = "no standard; the drive makers' common use of the attribute";

constexpr std::array<HealthRule, static_cast<std::size_t>(HealthRuleId::Count)> kRules{{
    {"nvme.spare-warning", FAIL, kAlways, "critical warning, bit 0",
     "the controller says that its spare has fallen below the threshold", kHealthLog},
    {"nvme.spare", FAIL, kAlways, "available spare below its threshold",
     "no blocks are left to replace worn ones with; some firmware forgets to set the critical warning", kHealthLog},
    {"nvme.reliability", FAIL, kAlways, "critical warning, bit 2",
     "the controller says that reliability is degraded by media errors or an internal error", kHealthLog},
    {"nvme.read-only", FAIL, kAlways, "critical warning, bit 3", "the media accepts no more writes", kHealthLog},
    {"nvme.backup", FAIL, kAlways, "critical warning, bit 4", "written data may be lost when the power fails", kHealthLog},
    {"nvme.persistent-memory", FAIL, kAlways, "critical warning, bit 5", "the persistent memory region is read-only or unreliable",
     kHealthLog},
    {"ata.pre-failure", FAIL, kAlways, "a pre-failure attribute at or below its threshold",
     "the drive predicts its failure within a day, by that document; every attribute that the drive reports counts", kSmart},
    {"nvme.temperature-warning", WARN, kAlways, "critical warning, bit 1",
     "a temperature is beyond a limit that the host or the maker set", kHealthLog},
    {"nvme.temperature", WARN, kAlways, "composite temperature at or above WCTEMP",
     "WCTEMP is the lowest temperature that counts as overheating", "NVMe 1.4, figure 247 (Identify Controller, bytes 266-267)"},
    {"nvme.media-errors", WARN, kAlways, "media and data integrity errors above 0",
     "data could not be read back as it was written; the count never falls, so a baseline tells old errors from new ones",
     kHealthLog, "mediaErrors"},
    {"nvme.used", WARN, kAlways, "percentage used at or above 100", "the endurance that the maker vouches for is used up",
     kHealthLog, "percentageUsed"},
    {"nvme.endurance-group", WARN, kAlways, "endurance group critical warning, bit 0, 2 or 3",
     "a part of the media has worn out before the whole", kHealthLog},
    {"maker.reserved-blocks", WARN, kAlways, "used reserved blocks at or above 90 % of all",
     "the maker's log shows that the blocks kept for replacement are running out", "the maker's health log", "reservedBlocksUsed"},
    {"ata.old-age", WARN, kAlways, "an old-age attribute at or below its threshold",
     "the drive has passed the age or wear that it was designed for, which is no failure by itself", kSmart},
    {"ata.reallocated", WARN, kAlways, "attribute 5 raw above 0", "sectors were replaced; a growing count precedes failure",
     kCustom, "attribute.5.raw"},
    {"ata.reported-uncorrectable", WARN, kAlways, "attribute 187 raw above 0", "the host was told of data that could not be read",
     kCustom, "attribute.187.raw"},
    {"ata.pending", WARN, kAlways, "attribute 197 raw above 0", "sectors cannot be read and wait to be replaced", kCustom,
     "attribute.197.raw"},
    {"ata.offline-uncorrectable", WARN, kAlways, "attribute 198 raw above 0",
     "the drive's own scan found sectors that cannot be read", kCustom, "attribute.198.raw"},
    {"nvme.nearly-used", NOTICE, kAlways, "percentage used from 90 to 99", "time to order a replacement", kHealthLog,
     "percentageUsed"},
    {"ata.crc-errors", NOTICE, kRising, "attribute 199 raw rose", "errors between drive and host; mostly the cable", kCustom,
     "attribute.199.raw"},
    {"nvme.unsafe-shutdowns", NOTICE, kRising, "unsafe shutdowns rose", "power went away without notice; the drive itself is well",
     kHealthLog, "unsafeShutdowns"},
    {"nvme.warning-temperature-time", NOTICE, kRising, "minutes above WCTEMP rose", "the drive was too hot since the baseline",
     kHealthLog, "warningTemperatureTime"},
    {"nvme.critical-temperature-time", NOTICE, kRising, "minutes above CCTEMP rose",
     "the drive was critically hot since the baseline", kHealthLog, "criticalTemperatureTime"},
}};

}  // namespace

const HealthRule& RuleOf(HealthRuleId rule) noexcept { return kRules[static_cast<std::size_t>(rule)]; }

std::span<const HealthRule> HealthRules() noexcept { return kRules; }

std::optional<Unsigned128> CounterOf(const DiskHealth& disk, std::string_view name)
{
    for (const Counter& counter : disk.counter()) {
        if (counter.name() == name) {
            auto value = Unsigned128::FromDecimal(counter.value());
            if (value && name.ends_with(".raw")) {
                value = Unsigned128{0, value->low & 0xFFFFFFFFU};
            }
            return value;
        }
    }
    return std::nullopt;
}

std::optional<std::string> RuleCounter(const DiskHealth& disk, std::string_view name)
{
    const auto value = CounterOf(disk, name);
    return value ? std::optional(value->ToDecimal()) : std::nullopt;
}

std::string HealthRulesAsMarkdown()
{
    std::string text = "| rule | level | condition | why | document |\n|---|---|---|---|---|\n";
    for (const HealthRule& rule : kRules) {
        fmt::format_to(std::back_inserter(text), "| `{}` | {}{} | {} | {} | {} |\n", rule.name, Verdict_Name(rule.level),
                       rule.scope == kRising ? ", with a baseline" : "", rule.condition, rule.why, rule.document);
    }
    return text;
}

}  // namespace orbis::insight
