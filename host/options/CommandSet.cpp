#include "options/CommandSet.h"

#include <utility>

#include "Supervised.h"
#include "Supervisor.h"
#include "options/HelpText.h"

namespace orbis::host {

CommandSet::CommandSet(std::vector<std::string> arguments, Output& output) : m_Output(output), m_Arguments(std::move(arguments))
{
    m_App.name("orbis-host");
    m_App.allow_windows_style_options(false);  // the same options everywhere, and "/" may begin a path
    m_App.require_subcommand(0, 1);
    SetFooter(m_App, "");
}

CLI::App& CommandSet::Add(CLI::App& parent, const char* name, const char* description, std::function<int()> run)
{
    CLI::App& command = *parent.add_subcommand(name, description);
    command.callback([this, run = std::move(run)] { m_Run = run; });
    SetFooter(command, "");
    return command;
}

void CommandSet::AddSourceOptions(CLI::App& command, SourceOptions& source)
{
    command.add_option("--item", source.disk, "Only this disk: an item id, DISK0, a number, a serial number, C: or /dev/nvme0")
        ->check(NotEmpty)
        ->option_text("DISK");
    AddFile(command, "--machine", source.machine, "Collect from the simulated machine of this file");
    AddLogLevelOption(command);
    AddDeadlineOption(command, source);
    AddSleepOption(command, source);
    AddPluginOption(command, source.plugin);
}

void CommandSet::AddLogLevelOption(CLI::App& command)
{
    command.add_option("--log-level", given.logLevel, "trace, debug, info, warning, error or off (warning)")->option_text("LEVEL");
}

int CommandSet::WithinDeadline(const SourceOptions& source, double usual, bool isWatch, const std::function<int()>& run) const
{
    const double seconds = source.deadline.value_or(usual);
    return seconds > 0 && Supervised::Get() == nullptr ? Supervise({seconds, isWatch, m_Arguments}) : run();
}

void SetFooter(CLI::App& command, std::string_view text)
{
    command.footer([text] { return std::string(text) + ExitStatusFooter(); });
}

CLI::Option& AddFile(CLI::App& command, const char* name, std::filesystem::path& file, const char* description)
{
    // Words are UTF-8 on every system; CLI11 itself would read a path in the code page on Windows.
    CLI::Option& option = *command
                               .add_option_function<std::string>(
                                   name, [&file](const std::string& word) { file = FileOf(word); }, description)
                               ->check(NotEmpty);
    return std::string_view(name).starts_with('-') ? *option.option_text("FILE") : *option.type_name("");
}

std::filesystem::path FileOf(const std::string& utf8) { return std::u8string(utf8.begin(), utf8.end()); }

void AddPluginOption(CLI::App& command, std::filesystem::path& plugin)
{
    AddFile(command, "--plugin", plugin, "Load this plug-in instead of the one beside this program");
}

void AddDeadlineOption(CLI::App& command, SourceOptions& source)
{
    constexpr const char* kText =
        "Leave out a disk that does not answer in time; 0 waits without a limit (30 for health, metrics, report and --watch, "
        "else 0)";
    command.add_option("--deadline", source.deadline, kText)->check(Between(0.0, 86400.0))->option_text("SECONDS");
}

void AddSleepOption(CLI::App& command, SourceOptions& source)
{
    command.add_flag_callback(
        "--skip-sleeping", [&source] { source.skipSleeping = true; },
        "Leave out disks that are asleep rather than wake them (usual for health, metrics and --watch)");
    command.add_flag_callback(
        "--no-skip-sleeping", [&source] { source.skipSleeping = false; }, "Ask them like the others");
}

std::string NotEmpty(const std::string& word) { return word.empty() ? "its value is empty" : ""; }

}  // namespace orbis::host
