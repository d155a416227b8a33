#include "ConsoleLog.h"

#include <spdlog/sinks/base_sink.h>
#include <spdlog/sinks/stdout_color_sinks.h>
#include <spdlog/spdlog.h>

#include <mutex>
#include <utility>
#include <vector>

#include "Progress.h"
#include "Say.h"
#include "Supervised.h"
#include "Terminal.h"
#include "Text.h"

namespace orbis::host {
namespace {

spdlog::level::level_enum ToSpdlog(LogLevel level)
{
    switch (level) {
        case LogLevel::Trace:
            return spdlog::level::trace;
        case LogLevel::Debug:
            return spdlog::level::debug;
        case LogLevel::Info:
            return spdlog::level::info;
        case LogLevel::Warning:
            return spdlog::level::warn;
        case LogLevel::Error:
            return spdlog::level::err;
        case LogLevel::Off:
            break;
    }
    return spdlog::level::off;
}

// The colours of spdlog's sink for a terminal.
const char* ColourOf(spdlog::level::level_enum level)
{
    switch (level) {
        case spdlog::level::trace:
            return "\x1B[37m";
        case spdlog::level::debug:
            return "\x1B[36m";
        case spdlog::level::info:
            return "\x1B[32m";
        case spdlog::level::warn:
            return "\x1B[33m\x1B[1m";
        default:
            return "\x1B[31m\x1B[1m";
    }
}

// For a supervised process, whose text is held back until it may write.
class HeldSink final : public spdlog::sinks::base_sink<std::mutex> {
    void sink_it_(const spdlog::details::log_msg& message) override
    {
        spdlog::memory_buf_t line;
        formatter_->format(message, line);
        std::string text = fmt::to_string(line);
        if (m_HasColour && message.color_range_end > message.color_range_start) {
            text.insert(message.color_range_end, "\x1B[m");
            text.insert(message.color_range_start, ColourOf(message.level));
        }
        WriteError(text);
    }
    void flush_() override {}

    const bool m_HasColour = ErrorIsTerminal() && !WantsNoColour();
};

std::shared_ptr<spdlog::sinks::sink> MakeSink()
{
    if (Supervised::Get() != nullptr) {
        return std::make_shared<HeldSink>();
    }
    auto sink = std::make_shared<spdlog::sinks::stderr_color_sink_mt>();
    if (WantsNoColour()) {
        sink->set_color_mode(spdlog::color_mode::never);
    }
    return sink;
}

class SpdlogConsole final : public ConsoleLog {
public:
    SpdlogConsole(const std::string& logId, LogLevel level) : SpdlogConsole(logId, level, MakeSink()) {}

    ~SpdlogConsole() override { SpdlogConsole::Flush(); }
    SpdlogConsole(const SpdlogConsole&) = delete;
    SpdlogConsole& operator=(const SpdlogConsole&) = delete;

    void Flush() override
    {
        for (const Line& line : std::exchange(m_HeldBack, {})) {
            Write(line);
        }
    }
    void Drop(const std::function<bool(std::string_view message)>& isSaid) override
    {
        std::erase_if(m_HeldBack, [&](const Line& line) { return isSaid(line.message); });
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
    SpdlogConsole(const std::string& logId, LogLevel level, const std::shared_ptr<spdlog::sinks::sink>& sink)
        : m_Logger(logId, sink), m_HoldsBack(level > LogLevel::Debug)
    {
        m_Logger.set_level(ToSpdlog(level));
        m_Logger.set_pattern("%H:%M:%S.%e %^%-7l%$ %n  %v");
    }

    IZelLog& Log(spdlog::level::level_enum level, std::string_view message, std::int32_t line, std::string_view file,
                 std::string_view function)
    {
        if (m_Logger.should_log(level)) {
            m_HeldBack.push_back(
                {spdlog::log_clock::now(), level, std::string(message), fmt::format("[{}:{} {}]", file, line, function)});
            if (!m_HoldsBack) {
                Flush();
            }
        }
        return *this;
    }

    struct Line {
        spdlog::log_clock::time_point time;
        spdlog::level::level_enum level;
        std::string message;
        std::string from;
    };
    void Write(const Line& line)
    {
        const std::string printable = Printable(line.message);
        ClearProgress();
        m_Logger.log(line.time, spdlog::source_loc{}, line.level, (WantsAscii() ? Ascii(printable) : printable) + "  " + line.from);
    }

    spdlog::logger m_Logger;
    const bool m_HoldsBack;
    std::vector<Line> m_HeldBack;
};

}  // namespace

std::shared_ptr<ConsoleLog> MakeConsoleLog(const std::string& logId, LogLevel level)
{
    return std::make_shared<SpdlogConsole>(logId, level);
}

}  // namespace orbis::host
