#pragma once

#include <memory>

#include <spdlog/sinks/sink.h>

#include "orbis/insight/health.pb.h"

namespace orbis::host {

// Where changed verdicts are recorded.
enum class HealthLogTarget {
    None,
    Journald,  // the system's journal, through the socket of syslog(3) that it listens on
    EventLog,  // the Application log of Windows, under the source orbis-host
};

// Opens the system's log (HealthLog_posix.cpp and HealthLog_windows.cpp). `target` is not None. Throws std::invalid_argument when
// the system has no such log.
[[nodiscard]] std::shared_ptr<spdlog::sinks::sink> MakeHealthSink(HealthLogTarget target);

// Writes one record for each disk whose verdict differs from `before` and for each disk that is gone. A new disk counts as OK
// before.
void LogVerdictChanges(std::shared_ptr<spdlog::sinks::sink> sink, const insight::HealthReport& before,
                       const insight::HealthReport& now);

}  // namespace orbis::host
