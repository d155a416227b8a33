#pragma once

#include <fmt/format.h>
#include <string>
#include <string_view>

#include "health/Rules.h"
#include "health/Unsigned128.h"

namespace orbis::insight {

// Fills one disk's reasons and counters.
class DiskJudge {
public:
    explicit DiskJudge(DiskHealth& disk) noexcept : m_Disk(disk) {}

    // `value` and `threshold` are decimal, or empty when the rule has none.
    void Say(HealthRuleId rule, std::string text, std::string value, std::string threshold, std::string_view source)
    {
        Say(RuleOf(rule), std::move(text), std::move(value), std::move(threshold), source);
    }
    void Say(const HealthRule& rule, std::string text, std::string value, std::string threshold, std::string_view source)
    {
        Add(rule.level, rule.name, std::move(text), std::move(value), std::move(threshold), source);
    }
    // Adds a reason why the disk cannot be judged. `rule` starts with "unknown.".
    void Unknown(std::string_view rule, std::string text, std::string_view source)
    {
        Add(UNKNOWN, rule, std::move(text), {}, {}, source);
    }
    void Count(std::string_view name, std::string value, std::string_view unit = {})
    {
        auto& counter = *m_Disk.add_counter();
        counter.set_name(name.data(), name.size());
        counter.set_value(std::move(value));
        counter.set_unit(unit.data(), unit.size());
    }

private:
    void Add(Verdict level, std::string_view rule, std::string text, std::string value, std::string threshold,
             std::string_view source)
    {
        auto& reason = *m_Disk.add_reason();
        reason.set_rule(rule.data(), rule.size());
        reason.set_level(level);
        reason.set_text(std::move(text));
        reason.set_value(std::move(value));
        reason.set_threshold(std::move(threshold));
        reason.set_source(source.data(), source.size());
    }

    DiskHealth& m_Disk;
};

// Each applies the rules to its pages. `JudgeNvme` needs an answered health log, `JudgeAta` answered SMART data.
void JudgeNvme(const DiskEvidence& disk, DiskJudge& judge);
void JudgeAta(const DiskEvidence& disk, DiskJudge& judge);

}  // namespace orbis::insight
