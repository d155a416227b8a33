#include "HealthLog.h"

#include <fmt/format.h>
#include <spdlog/logger.h>

#include <algorithm>

#include "Text.h"
#include "insight/Health.h"

namespace orbis::host {
namespace {

using insight::DiskHealth;
using insight::HealthReport;
using insight::Verdict;

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
    const auto name = [](const DiskHealth& disk) {
        return fmt::format("{} {} (serial number {})", disk.name(), Printable(disk.model()),
                           disk.serial_number().empty() ? "unknown" : Printable(disk.serial_number()));
    };
    const auto matches = insight::MatchDisks(now, before);
    for (int at = 0; at < now.disk_size(); ++at) {
        const DiskHealth& disk = now.disk(at);
        const DiskHealth* match = matches[static_cast<std::size_t>(at)];
        const Verdict last = match == nullptr ? insight::OK : insight::LastVerdict(*match);
        const Verdict earlier = last == insight::VERDICT_UNSPECIFIED ? insight::OK : last;
        if (earlier == disk.verdict() || disk.verdict() == insight::ASLEEP) {
            continue;
        }
        std::string text =
            fmt::format("{}: {}, was {}", name(disk), insight::Verdict_Name(disk.verdict()), insight::Verdict_Name(earlier));
        for (const insight::Reason& reason : disk.reason()) {
            text += "; " + Printable(reason.text());
        }
        logger.log(LevelOf(disk.verdict()), "{}", text);
    }
    for (const DiskHealth& disk : before.disk()) {
        const Verdict last = insight::LastVerdict(disk);  // unspecified: it was never judged, and cannot be recognised
        if (std::find(matches.begin(), matches.end(), &disk) == matches.end() && last != insight::VERDICT_UNSPECIFIED) {
            logger.warn("{}: gone, was {}", name(disk), insight::Verdict_Name(last));
        }
    }
    logger.flush();
}

}  // namespace orbis::host
