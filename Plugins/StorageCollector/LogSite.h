#pragma once

#include <cstdint>
#include <string_view>

#include "HostSdk/IZelLog.h"

namespace Veyra::Orbis::Plugins {

// In whose name a function logs: the log, and the source file and the function that its lines carry. Every call passes its own
// line, so a LogSite is used in the file that it names. Code that several files share hands its texts to its caller, which logs
// them.
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
