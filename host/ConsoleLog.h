#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "HostSdk/IZelLog.h"

namespace orbis::host {

enum class LogLevel { Trace, Debug, Info, Warning, Error, Off };

// Log lines on standard error: time, level, log id, message, file:line and function. Control characters are shown, not sent.
class ConsoleLog : public Veyra::Orbis::Common::IZelLog {
public:
    // Writes the lines held back so far. A failure can be both logged and reported in the user's terms, as an exception or a
    // finding. Lines are held back until this call so that the caller can drop those that it has reported. At debug level and below
    // nothing is held back.
    virtual void Flush() = 0;
    // Drops the held lines for which `isSaid` is true.
    virtual void Drop(const std::function<bool(std::string_view message)>& isSaid) = 0;
};

[[nodiscard]] std::shared_ptr<ConsoleLog> MakeConsoleLog(const std::string& logId, LogLevel level);

}  // namespace orbis::host
