#include "ConsoleLog.h"

#include <spdlog/sinks/stdout_color_sinks.h>
#include <spdlog/spdlog.h>

#include "Table.h"

namespace orbis::host {
namespace {

spdlog::level::level_enum ToSpdlog(LogLevel level)
{
    switch (level) {
        case LogLevel::Trace:
            return spdlog::level::trace;
        case LogLevel::Debug:
            return spdlog::level::debug;
        case LogLevel::Warning:
            return spdlog::level::warn;
        case LogLevel::Error:
            return spdlog::level::err;
        case LogLevel::Off:
            break;
    }
    return spdlog::level::off;
}

class ConsoleLog final : public Veyra::Orbis::Common::IZelLog {
public:
    ConsoleLog(const std::string& logId, LogLevel level) : m_Logger(logId, std::make_shared<spdlog::sinks::stderr_color_sink_mt>())
    {
        m_Logger.set_level(ToSpdlog(level));
        m_Logger.set_pattern("%H:%M:%S.%e %^%-7l%$ %n  %v");
    }

    IZelLog& Error(std::string_view message, std::int32_t line, std::string_view file, std::string_view function) override
    {
        return Log(spdlog::level::err, message, line, file, function);
    }
    IZelLog& Error(const Veyra::Orbis::Sdk::Exceptions::HostException& exception, std::int32_t line, std::string_view file,
                   std::string_view function) override
    {
        return Log(spdlog::level::err, exception.ToString(), line, file, function);
    }
    IZelLog& Warning(std::string_view message, std::int32_t line, std::string_view file, std::string_view function) override
    {
        return Log(spdlog::level::warn, message, line, file, function);
    }
    IZelLog& Debug(std::string_view message, std::int32_t line, std::string_view file, std::string_view function) override
    {
        return Log(spdlog::level::debug, message, line, file, function);
    }
    IZelLog& Trace(std::string_view message, std::int32_t line, std::string_view file, std::string_view function) override
    {
        return Log(spdlog::level::trace, message, line, file, function);
    }

private:
    IZelLog& Log(spdlog::level::level_enum level, std::string_view message, std::int32_t line, std::string_view file,
                 std::string_view function)
    {
        if (m_Logger.should_log(level)) {
            m_Logger.log(level, "{}  [{}:{} {}]", Printable(message), file, line, function);
        }
        return *this;
    }

    spdlog::logger m_Logger;
};

}  // namespace

std::shared_ptr<Veyra::Orbis::Common::IZelLog> MakeConsoleLog(const std::string& logId, LogLevel level)
{
    return std::make_shared<ConsoleLog>(logId, level);
}

}  // namespace orbis::host
