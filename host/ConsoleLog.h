#pragma once

#include <memory>
#include <string>

#include "HostSdk/IZelLog.h"

namespace orbis::host {

enum class LogLevel { Trace, Debug, Warning, Error, Off };

// Log lines on standard error: time, level, log id, message, file:line and function. Control characters are shown, not sent.
[[nodiscard]] std::shared_ptr<Veyra::Orbis::Common::IZelLog> MakeConsoleLog(const std::string& logId, LogLevel level);

}  // namespace orbis::host
