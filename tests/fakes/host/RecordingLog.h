#pragma once

#include <cstdint>
#include <mutex>
#include <ostream>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "HostSdk/IZelLog.h"

namespace orbis::fakes {

// A log line as tests compare it: without the source line, which changes with every edit.
struct LogLine {
    std::string level;
    std::string message;
    std::string file;
    std::string function;

    friend bool operator==(const LogLine&, const LogLine&) = default;
    friend std::ostream& operator<<(std::ostream& out, const LogLine& line)
    {
        return out << line.level << " \"" << line.message << "\" in " << line.function << " of " << line.file;
    }
};

// Keeps every line. Read them only when no thread logs any more.
class RecordingLog : public Veyra::Orbis::Common::IZelLog {
public:
    std::vector<LogLine> lines;
    std::vector<std::int32_t> sourceLines;
    std::vector<std::thread::id> threads;  // that logged them

    IZelLog& Error(std::string_view message, std::int32_t line, std::string_view file, std::string_view function) override
    {
        return Keep("Error", message, line, file, function);
    }
    IZelLog& Error(const Veyra::Orbis::Sdk::Exceptions::HostException& exception, std::int32_t line, std::string_view file,
                   std::string_view function) override
    {
        return Keep("Error", exception.ToString(), line, file, function);
    }
    IZelLog& Warning(std::string_view message, std::int32_t line, std::string_view file, std::string_view function) override
    {
        return Keep("Warning", message, line, file, function);
    }
    IZelLog& Debug(std::string_view message, std::int32_t line, std::string_view file, std::string_view function) override
    {
        return Keep("Debug", message, line, file, function);
    }
    IZelLog& Trace(std::string_view message, std::int32_t line, std::string_view file, std::string_view function) override
    {
        return Keep("Trace", message, line, file, function);
    }

private:
    IZelLog& Keep(std::string_view level, std::string_view message, std::int32_t line, std::string_view file,
                  std::string_view function)
    {
        const std::scoped_lock lock(m_Mutex);
        lines.push_back({std::string(level), std::string(message), std::string(file), std::string(function)});
        sourceLines.push_back(line);
        threads.push_back(std::this_thread::get_id());
        return *this;
    }

    std::mutex m_Mutex;
};

}  // namespace orbis::fakes
