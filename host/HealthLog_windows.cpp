#include <spdlog/sinks/win_eventlog_sink.h>

#include <stdexcept>

#include "HealthLog.h"

namespace orbis::host {

std::shared_ptr<spdlog::sinks::sink> MakeHealthSink(HealthLogTarget target)
{
    if (target != HealthLogTarget::EventLog) {
        throw std::invalid_argument("journald is a log of Linux; here it is --log-to eventlog");
    }
    return std::make_shared<spdlog::sinks::win_eventlog_sink_mt>("orbis-host");
}

}  // namespace orbis::host
