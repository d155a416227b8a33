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

// The log of the system: HealthLog_posix.cpp and HealthLog_windows.cpp. `target` is not None. Throws std::invalid_argument where
// the system has no such log.
[[nodiscard]] std::shared_ptr<spdlog::sinks::sink> MakeHealthSink(HealthLogTarget target);

// Writes one record for each disk whose verdict differs from `before` or that is gone, none for a disk whose verdict is the same. A
// disk that is new counts as OK before.
void LogVerdictChanges(std::shared_ptr<spdlog::sinks::sink> sink, const insight::HealthReport& before,
                       const insight::HealthReport& now);

}  // namespace orbis::host
