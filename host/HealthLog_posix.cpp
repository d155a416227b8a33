#include <spdlog/sinks/syslog_sink.h>

#include <stdexcept>

#include "HealthLog.h"

namespace orbis::host {

std::shared_ptr<spdlog::sinks::sink> MakeHealthSink(HealthLogTarget target)
{
    if (target != HealthLogTarget::Journald) {
        throw std::invalid_argument("the event log is a log of Windows; here it is --log-to journald");
    }
    return std::make_shared<spdlog::sinks::syslog_sink_mt>("orbis-host", 0, LOG_DAEMON, false);
}

}  // namespace orbis::host
