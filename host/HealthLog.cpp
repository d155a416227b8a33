#include "HealthLog.h"

#include <fmt/format.h>
#include <spdlog/logger.h>

#include <algorithm>

#include "Text.h"

namespace orbis::host {
namespace {

using insight::DiskHealth;
using insight::HealthReport;
using insight::Verdict;

Verdict VerdictBefore(const HealthReport& before, const DiskHealth& disk)
{
    const auto found = std::find_if(before.disk().begin(), before.disk().end(), [&](const DiskHealth& other) {
        return other.model() == disk.model() && other.serial_number() == disk.serial_number() &&
               (!disk.serial_number().empty() || other.number() == disk.number());
    });
    return found == before.disk().end() ? insight::OK : found->verdict();
}

spdlog::level::level_enum LevelOf(Verdict verdict)
{
    switch (verdict) {
        case insight::FAIL:
            return spdlog::level::err;
        case insight::WARN:
        case insight::UNKNOWN:
            return spdlog::level::warn;
        default:
            return spdlog::level::info;
    }
}

}  // namespace

void LogVerdictChanges(std::shared_ptr<spdlog::sinks::sink> sink, const HealthReport& before, const HealthReport& now)
{
    spdlog::logger logger("orbis-host", std::move(sink));
    logger.set_pattern("%v");
    for (const DiskHealth& disk : now.disk()) {
        const Verdict earlier = VerdictBefore(before, disk);
        if (earlier == disk.verdict()) {
            continue;
        }
        std::string text = fmt::format("{} {} (serial number {}): {}, was {}", disk.name(), Printable(disk.model()),
                                       disk.serial_number().empty() ? "unknown" : Printable(disk.serial_number()),
                                       insight::Verdict_Name(disk.verdict()), insight::Verdict_Name(earlier));
        for (const insight::Reason& reason : disk.reason()) {
            text += "; " + Printable(reason.text());
        }
        logger.log(LevelOf(disk.verdict()), "{}", text);
    }
    logger.flush();
}

void LogVerdictChanges(HealthLogTarget target, const HealthReport& before, const HealthReport& now)
{
    LogVerdictChanges(MakeHealthSink(target), before, now);
}

}  // namespace orbis::host
