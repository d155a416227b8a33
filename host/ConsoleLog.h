#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "HostSdk/IZelLog.h"

namespace orbis::host {

enum class LogLevel { Trace, Debug, Info, Warning, Error, Off };

// Log lines on standard error: time, level, log id, message, file:line and function. Control characters are shown, not sent.
class ConsoleLog : public Veyra::Orbis::Common::IZelLog {
public:
    // An error that ends a collection is logged and then leaves as an exception. So that a person reads it once, the newest error
    // is held back until another line comes or one of these is called. At debug level and below nothing is held back.
    virtual void Flush() = 0;
    // Drops the error that was held back when its text ends with `message`, and writes it otherwise.
    virtual void FlushUnless(std::string_view message) = 0;
};

[[nodiscard]] std::shared_ptr<ConsoleLog> MakeConsoleLog(const std::string& logId, LogLevel level);

}  // namespace orbis::host
