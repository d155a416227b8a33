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
    // An error that ends a collection is logged and then leaves as an exception, or a finding explains it. So that a person reads
    // it once, the newest errors are held back until a line of another level comes or they are flushed. At debug level and below
    // nothing is held back.
    virtual void Flush() = 0;
    // Forgets the errors held back that `isSaid`.
    virtual void Drop(const std::function<bool(std::string_view message)>& isSaid) = 0;
};

[[nodiscard]] std::shared_ptr<ConsoleLog> MakeConsoleLog(const std::string& logId, LogLevel level);

}  // namespace orbis::host
