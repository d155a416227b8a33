#pragma once

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "Commands.h"

namespace orbis::host {

// The deadline, in seconds, of commands that have one by default.
inline constexpr double kUsualDeadline = 30;

// The values that the command line gives. Words that stand for other values are looked up when the command runs.
struct GivenOptions {
    DescribeOptions describe;
    CollectOptions collect;
    MetricsOptions metrics;
    HealthOptions health;
    ExplainOptions explain;
    ReportOptions report;
    RecordOptions record;
    std::string format = "table";
    std::string recordFormat;
    std::string logLevel = "warning";
    std::string logTo;
    bool showRules = false;
    std::filesystem::path file;
    std::vector<std::filesystem::path> files;
};

// The program's commands with their options, and the command to run once the command line is parsed.
class CommandSet {
public:
    CommandSet(std::vector<std::string> arguments, Output& output);

    GivenOptions given;

    [[nodiscard]] CLI::App& Root() noexcept { return m_App; }
    [[nodiscard]] Output& GetOutput() const noexcept { return m_Output; }
    // Empty when no command was named, or one that only has commands of its own.
    [[nodiscard]] const std::function<int()>& Chosen() const noexcept { return m_Run; }

    CLI::App& Add(CLI::App& parent, const char* name, const char* description, std::function<int()> run);

    // The options of every command that collects.
    void AddSourceOptions(CLI::App& command, SourceOptions& source);
    void AddLogLevelOption(CLI::App& command);

    // Runs a command in a process of its own where it has a deadline.
    [[nodiscard]] int WithinDeadline(const SourceOptions& source, double usual, bool isWatch,
                                     const std::function<int()>& run) const;

private:
    Output& m_Output;
    std::vector<std::string> m_Arguments;
    CLI::App m_App{"Collects storage telemetry of this machine's disks, or of a simulated machine's, through the plug-in."};
    std::function<int()> m_Run;
};

// Sets the text at the end of a command's help, before the exit statuses. `text` is a literal; the rest is made when help is
// requested.
void SetFooter(CLI::App& command, std::string_view text);

// An option (its name begins with "-") or argument that names a file.
CLI::Option& AddFile(CLI::App& command, const char* name, std::filesystem::path& file, const char* description);
[[nodiscard]] std::filesystem::path FileOf(const std::string& utf8);

void AddPluginOption(CLI::App& command, std::filesystem::path& plugin);
void AddDeadlineOption(CLI::App& command, SourceOptions& source);
void AddSleepOption(CLI::App& command, SourceOptions& source);

// Checks of a value: an empty text, or what is wrong with the word. An empty word is the value of a variable that was never set; it
// must not select this machine or every disk.
[[nodiscard]] std::string NotEmpty(const std::string& word);

template <class Number>
std::function<std::string(const std::string&)> Between(Number least, Number most)
{
    return [=](const std::string& word) {
        Number number{};
        const bool isInRange = CLI::detail::lexical_cast(word, number) && number >= least && number <= most;
        return isInRange ? std::string() : fmt::format("give a number from {} to {}, not {}", least, most, word);
    };
}

}  // namespace orbis::host
