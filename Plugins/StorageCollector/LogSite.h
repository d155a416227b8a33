#pragma once

#include <cstdint>
#include <string_view>

#include "HostSdk/IZelLog.h"

namespace Veyra::Orbis::Plugins {

// The origin of a function's log lines: the log, the source file and the function. Every call passes its own line number, so a
// LogSite must be used in the file that it names. Code that several files share passes its texts to its caller, which logs them.
struct LogSite {
    Common::IZelLog& log;
    std::string_view file;
    std::string_view function;

    void Error(std::string_view message, std::int32_t line) const { log.Error(message, line, file, function); }
    void Error(const Sdk::Exceptions::HostException& exception, std::int32_t line) const
    {
        log.Error(exception, line, file, function);
    }
    void Warning(std::string_view message, std::int32_t line) const { log.Warning(message, line, file, function); }
    void Debug(std::string_view message, std::int32_t line) const { log.Debug(message, line, file, function); }
    void Trace(std::string_view message, std::int32_t line) const { log.Trace(message, line, file, function); }
};

}  // namespace Veyra::Orbis::Plugins
