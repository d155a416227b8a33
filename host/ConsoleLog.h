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
    // What is logged may be said in the user's terms too: an error leaves as an exception, or a finding explains it. So that a
    // person reads it once, lines are held back until this is called. At debug level and below nothing is held back.
    virtual void Flush() = 0;
    // Forgets the lines held back that `isSaid`.
    virtual void Drop(const std::function<bool(std::string_view message)>& isSaid) = 0;
};

[[nodiscard]] std::shared_ptr<ConsoleLog> MakeConsoleLog(const std::string& logId, LogLevel level);

}  // namespace orbis::host
