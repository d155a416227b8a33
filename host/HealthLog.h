#pragma once

#include <memory>

#include <spdlog/sinks/sink.h>

#include "orbis/insight/health.pb.h"

namespace orbis::host {

// Where changes of a verdict are recorded.
enum class HealthLogTarget {
    None,
    Journald,  // the system's journal, through the socket of syslog(3) that it listens on
    EventLog,  // the Application log of Windows, under the source orbis-host
};

// One record for each disk whose verdict differs from `before` or that is gone, none for a disk whose verdict is the same. A disk
// that is new counts as OK before. Throws std::invalid_argument where the system has no such log.
void LogVerdictChanges(HealthLogTarget target, const insight::HealthReport& before, const insight::HealthReport& now);
// The same to a sink of the caller's.
void LogVerdictChanges(std::shared_ptr<spdlog::sinks::sink> sink, const insight::HealthReport& before,
                       const insight::HealthReport& now);

// The system's own: HealthLog_posix.cpp and HealthLog_windows.cpp.
[[nodiscard]] std::shared_ptr<spdlog::sinks::sink> MakeHealthSink(HealthLogTarget target);

}  // namespace orbis::host
