#include "CommandLine.h"

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include <algorithm>
#include <array>
#include <exception>
#include <filesystem>
#include <functional>
#include <iterator>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "Commands.h"
#include "HostBorder/PluginHost.h"
#include "Output.h"
#include "Say.h"
#include "SimulatedMachine.h"
#include "Suggest.h"
#include "Supervised.h"
#include "Supervisor.h"
#include "Terminal.h"
#include "Text.h"
#include "Version.h"
#include "WholeFile.h"

namespace orbis::host {
namespace {

// Words and what they stand for.
template <class T, std::size_t Count>
using Choices = std::array<std::pair<std::string_view, T>, Count>;

constexpr Choices<Format, 5> kFormats{{{"table", Format::Table},
                                       {"json", Format::Json},
                                       {"jsonl", Format::JsonLines},
                                       {"text", Format::Text},
                                       {"binary", Format::Binary}}};
constexpr Choices<Format, 2> kDocumentFormats{{{"table", Format::Table}, {"json", Format::Json}}};
constexpr Choices<HealthLogTarget, 2> kHealthLogs{
    {{"journald", HealthLogTarget::Journald}, {"eventlog", HealthLogTarget::EventLog}}};
constexpr Choices<LogLevel, 6> kLogLevels{{{"trace", LogLevel::Trace},
                                           {"debug", LogLevel::Debug},
                                           {"info", LogLevel::Info},
                                           {"warning", LogLevel::Warning},
                                           {"error", LogLevel::Error},
                                           {"off", LogLevel::Off}}};

constexpr double kUsualDeadline = 30;

// The value of a word; throws std::invalid_argument for one that is not there.
template <class T, std::size_t Count>
T ValueOf(const Choices<T, Count>& choices, const std::string& given, std::string_view what)
{
    std::vector<std::string> words;
    for (const auto& [word, value] : choices) {
        words.emplace_back(word);
    }
    const std::string found = FindWord(words, given, what);
    return std::find_if(choices.begin(), choices.end(), [&](const auto& choice) { return choice.first == found; })->second;
}

std::filesystem::path FileOf(const std::string& utf8) { return std::u8string(utf8.begin(), utf8.end()); }

std::string ExitStatusFooter()
{
    std::string text = "Exit status, the first that applies:";
    for (const ExitStatusText& one : kExitStatuses) {
        text += fmt::format("\n  {}  {}", one.status, one.text);
    }
    return text;
}

// What is wrong with a word that must not be empty; an empty text when nothing is. An empty word is the value of a variable that
// was never set, and must not choose this machine, or every disk.
std::string NotEmpty(const std::string& word) { return word.empty() ? "its value is empty" : ""; }

// The same for a number and its range.
template <class Number>
std::function<std::string(const std::string&)> Between(Number least, Number most)
{
    return [=](const std::string& word) {
        Number number{};
        const bool isInRange = CLI::detail::lexical_cast(word, number) && number >= least && number <= most;
        return isInRange ? std::string() : fmt::format("give a number from {} to {}, not {}", least, most, word);
    };
}

// A help text whose lines fit into so many columns; 0: any number of them.
std::string Fitted(const std::string& help, std::size_t width)
{
    constexpr std::size_t kLeastColumns = 30;
    std::string fitted;
    std::istringstream lines(help);
    for (std::string line; std::getline(lines, line);) {
        if (width == 0 || line.size() <= width) {
            fitted += line + '\n';
            continue;
        }
        const std::size_t begin = line.find_first_not_of(' ');
        const std::size_t gap = line.find("  ", begin);
        std::size_t description = gap == std::string::npos ? begin : line.find_first_not_of(' ', gap);
        std::string lead = line.substr(0, description);
        const std::string text = line.substr(description);
        if (description + kLeastColumns > width) {  // under the name, where there is no room beside it
            description = std::min(description, begin + 4);
            fitted += gap == std::string::npos ? "" : line.substr(0, gap) + '\n';
            lead = std::string(description, ' ');
        }
        for (const std::string& part : Wrap(text, width - std::min(width - 1, description))) {
            fitted += std::exchange(lead, std::string(description, ' ')) + part + '\n';
        }
    }
    return fitted;
}

// The command line while it is parsed.
class CommandLine {
public:
    CommandLine(int argc, const char* const* argv, Output& output)
        : m_Output(output), m_Arguments(argv + std::min(argc, 1), argv + argc)
    {
        m_App.name("orbis-host");
        m_App.allow_windows_style_options(false);  // the same options everywhere, and "/" may begin a path
        SetFooter(m_App, "");
        m_App.set_version_flag("--version", VersionText());
        m_App.require_subcommand(0, 1);
        // A command's options are a good part of a short run: those of commands that are not named are not made. The list of
        // commands is complete where none is named first.
        const bool isNamed =
            !IsWord("help", 1) && std::ranges::any_of(kCommands, [&](const Command& command) { return IsWord(command.name, 1); });
        for (const Command& command : kCommands) {
            if (!isNamed || IsWord(command.name, m_Arguments.size())) {
                (this->*command.add)();
            }
        }
    }

    int Run(int argc, const char* const* argv)
    {
        if (argc > 1 && std::string_view(argv[1]) == "help") {
            return Help({argv + 2, argv + argc});
        }
        try {
            m_App.parse(argc, argv);
        } catch (const CLI::ExtrasError&) {
            return Refuse(m_App.remaining(true).front());
        } catch (const CLI::ParseError& error) {
            std::ostringstream out;
            std::ostringstream err;
            const int status = m_App.exit(error, out, err);
            m_Output.Write(Fitted(out.str(), m_Output.GetStyle().width));
            if (status != 0) {
                const std::string what = error.what();
                const bool isCount = dynamic_cast<const CLI::ArgumentMismatch*>(&error) != nullptr;
                const bool isTooFew = what.ends_with("missing");
                Say(fmt::format("{}{}\nRun orbis-host {} for more.", isCount ? what.substr(0, what.find(':')) : what,
                                !isCount   ? ""
                                : isTooFew ? " needs a value"
                                           : " can be given only once",
                                HelpOfParsed()));
            }
            // Asking for help or the version is no error.
            return status == 0 ? kExitOk : kExitUsage;
        }
        if (m_Run == nullptr) {  // no command, or one that is a family of commands
            m_Output.Write(Fitted(HelpOf(Parsed()), m_Output.GetStyle().width));
            return kExitOk;
        }
        return m_Run();
    }

private:
    struct Command {
        std::string_view name;
        void (CommandLine::*add)();
    };
    static const std::array<Command, 9> kCommands;

    // Whether the word is among the first arguments.
    [[nodiscard]] bool IsWord(std::string_view word, std::size_t count) const
    {
        const auto end = m_Arguments.begin() + static_cast<std::ptrdiff_t>(std::min(count, m_Arguments.size()));
        return std::find(m_Arguments.begin(), end, word) != end;
    }

    static std::string VersionText() { return std::string("orbis-host ") + kVersion; }

    CLI::App& AddCommand(CLI::App& parent, const char* name, const char* description, std::function<int()> run)
    {
        CLI::App& command = *parent.add_subcommand(name, description);
        command.callback([this, run = std::move(run)] { m_Run = run; });
        SetFooter(command, "");
        return command;
    }

    // Text and exit statuses, made when help is asked for. The text is a literal.
    static void SetFooter(CLI::App& command, std::string_view text)
    {
        command.footer([text] { return std::string(text) + ExitStatusFooter(); });
    }

    // The words of the command line are UTF-8 everywhere; CLI11 would read a path in the code page on Windows.
    static CLI::Option& AddFile(CLI::App& command, const char* name, std::filesystem::path& file, const char* description)
    {
        CLI::Option& option = *command
                                   .add_option_function<std::string>(
                                       name, [&file](const std::string& word) { file = FileOf(word); }, description)
                                   ->check(NotEmpty);
        return std::string_view(name).starts_with('-') ? *option.option_text("FILE") : *option.type_name("");
    }

    static void AddPluginOption(CLI::App& command, std::filesystem::path& plugin)
    {
        AddFile(command, "--plugin", plugin, "Load this plug-in instead of the one beside this program");
    }

    static void AddDeadlineOption(CLI::App& command, SourceOptions& source)
    {
        constexpr const char* kText =
            "Leave out a disk that does not answer in time; 0 waits without a limit (30 for health, metrics, report and --watch, "
            "else 0)";
        command.add_option("--deadline", source.deadline, kText)->check(Between(0.0, 86400.0))->option_text("SECONDS");
    }

    static void AddSleepOption(CLI::App& command, SourceOptions& source)
    {
        command.add_flag_callback(
            "--skip-sleeping", [&source] { source.skipSleeping = true; },
            "Leave out disks that are asleep rather than wake them (usual for health, metrics and --watch)");
        command.add_flag_callback(
            "--no-skip-sleeping", [&source] { source.skipSleeping = false; }, "Ask them like the others");
    }

    void AddSourceOptions(CLI::App& command, SourceOptions& source)
    {
        command.add_option("--item", source.disk, "Only this disk: an item id, DISK0, a number, a serial number, C: or /dev/nvme0")
            ->check(NotEmpty)
            ->option_text("DISK");
        AddFile(command, "--machine", source.machine, "Collect from the simulated machine of this file");
        command.add_option("--log-level", m_LogLevel, "trace, debug, info, warning, error or off (warning)")->option_text("LEVEL");
        AddDeadlineOption(command, source);
        AddSleepOption(command, source);
        AddPluginOption(command, source.plugin);
    }

    // Runs a command in a process of its own where it has a deadline.
    int WithinDeadline(const SourceOptions& source, double usual, bool isWatch, const std::function<int()>& run)
    {
        const double seconds = source.deadline.value_or(usual);
        return seconds > 0 && Supervised::Get() == nullptr ? Supervise({seconds, isWatch, m_Arguments}) : run();
    }

    void AddDescribe()
    {
        CLI::App& command = AddCommand(m_App, "describe", "Show the plug-in and the datatypes it collects",
                                       [this] { return Describe(m_Describe, m_Output); });
        AddPluginOption(command, m_Describe.plugin);
    }

    void AddCollect()
    {
        CLI::App& command = AddCommand(m_App, "collect", "Collect datatypes and print them", [this] {
            m_Collect.format = ValueOf(kFormats, m_Format, "format");
            m_Collect.source.logLevel = ValueOf(kLogLevels, m_LogLevel, "log level");
            const bool isWatch = m_Collect.watchSeconds > 0;
            m_Collect.source.skipSleeping = m_Collect.source.skipSleeping.value_or(isWatch);
            return WithinDeadline(m_Collect.source, isWatch ? kUsualDeadline : 0, isWatch,
                                  [this] { return Collect(m_Collect, m_Output); });
        });
        SetFooter(command,
                  "DATATYPE is one that `orbis-host describe` lists, or all (the default).\n"
                  "Results go to standard output, log lines to standard error.\n\n"
                  "Examples:\n"
                  "  orbis-host collect\n"
                  "  orbis-host collect SmartNvmeInfo --item DISK0 --format json\n"
                  "  orbis-host collect all --machine machines/workstation.txtpb\n"
                  "  orbis-host collect PhysicalDiskDynamicInfo --watch 1\n\n");
        command.add_option("DATATYPE", m_Collect.datatypes, "What to collect (all)")->type_name("");
        command
            .add_option("--format", m_Format,
                        "table, json, jsonl (one object a line), text (protobuf text) or binary (delimited protobuf)")
            ->option_text("FORMAT");
        CLI::Option& watch =
            *command.add_option("--watch", m_Collect.watchSeconds, "Collect again every so many seconds, until Ctrl-C")
                 ->check(Between(0.1, 86400.0))
                 ->option_text("SECONDS");
        command.add_option("--count", m_Collect.count, "End a watch after so many passes")
            ->needs(&watch)
            ->check(Between(1U, 1000000000U))
            ->option_text("N");
        AddSourceOptions(command, m_Collect.source);
    }

    void AddMetrics()
    {
        CLI::App& command = AddCommand(m_App, "metrics", "Collect everything and print it as metrics for Prometheus", [this] {
            m_Metrics.source.logLevel = ValueOf(kLogLevels, m_LogLevel, "log level");
            m_Metrics.source.skipSleeping = m_Metrics.source.skipSleeping.value_or(true);
            return WithinDeadline(m_Metrics.source, kUsualDeadline, false, [this] { return Metrics(m_Metrics, m_Output); });
        });
        SetFooter(command,
                  "Text format 0.0.4, as node_exporter's textfile collector and promtool read it.\n\n"
                  "Example:\n"
                  "  orbis-host metrics --output /var/lib/prometheus/node-exporter/orbis.prom\n\n");
        AddFile(command, "--output", m_Metrics.file, "Write to this file instead of standard output; it is replaced when complete");
        AddSourceOptions(command, m_Metrics.source);
    }

    void AddHealth()
    {
        CLI::App& command = AddCommand(m_App, "health", "Give each disk a verdict, worst first", [this] {
            if (m_ShowRules) {
                return ShowHealthRules(m_Output);
            }
            m_Health.format = ValueOf(kDocumentFormats, m_Format, "format");
            m_Health.source.logLevel = ValueOf(kLogLevels, m_LogLevel, "log level");
            m_Health.source.skipSleeping = m_Health.source.skipSleeping.value_or(true);
            if (!m_LogTo.empty()) {
                m_Health.logTo = ValueOf(kHealthLogs, m_LogTo, "log");
            }
            return WithinDeadline(m_Health.source, kUsualDeadline, false, [this] { return Health(m_Health, m_Output); });
        });
        SetFooter(command,
                  "FAIL: the disk reports its own failure. WARN: wear, errors or heat. UNKNOWN: it could not be judged.\n"
                  "ASLEEP: it was not woken to be judged; --no-skip-sleeping wakes it.\n"
                  "Nothing is asked of a disk beyond what the collections ask, except whether it is asleep.\n\n"
                  "Examples:\n"
                  "  orbis-host health\n"
                  "  orbis-host health --format json >today.json\n"
                  "  orbis-host health --baseline lastweek.json\n"
                  "  orbis-host health --state /var/lib/orbis/health.json --log-to journald\n\n");
        command.add_option("--format", m_Format, "table or json")->option_text("FORMAT");
        CLI::Option& baseline =
            AddFile(command, "--baseline", m_Health.baseline, "Report what rose since this earlier output of --format json");
        command
            .add_option("--only-when-rising", m_Health.onlyWhenRising,
                        "Rules that are notices where nothing rose since the baseline")
            ->needs(&baseline)
            ->option_text("RULE...");
        CLI::Option& state = AddFile(command, "--state", m_Health.state, "Keep the verdicts in this file");
        command.add_option("--log-to", m_LogTo, "Record verdicts that changed since the last run: journald or eventlog")
            ->needs(&state)
            ->option_text("LOG");
        command.add_flag("--rules", m_ShowRules, "Show the rules of the verdicts and exit");
        AddSourceOptions(command, m_Health.source);
    }

    void AddExplain()
    {
        CLI::App& command = AddCommand(m_App, "explain", "Show where every value comes from, and why one is missing", [this] {
            m_Explain.format = ValueOf(kDocumentFormats, m_Format, "format");
            m_Explain.source.logLevel = ValueOf(kLogLevels, m_LogLevel, "log level");
            return WithinDeadline(m_Explain.source, 0, false, [this] { return Explain(m_Explain, m_Output); });
        });
        SetFooter(command,
                  "DATATYPE is one that `orbis-host describe` lists, or all (the default).\n\n"
                  "Examples:\n"
                  "  orbis-host explain SmartNvmeInfo --item DISK0\n"
                  "  orbis-host explain --format json\n\n");
        command.add_option("DATATYPE", m_Explain.datatypes, "What to explain (all)")->type_name("");
        command.add_option("--format", m_Format, "table or json")->option_text("FORMAT");
        AddSourceOptions(command, m_Explain.source);
    }

    void AddReport()
    {
        CLI::App& command = AddCommand(m_App, "report", "Write one HTML page that opens in any browser", [this] {
            m_Report.source.logLevel = ValueOf(kLogLevels, m_LogLevel, "log level");
            return WithinDeadline(m_Report.source, kUsualDeadline, false, [this] { return Report(m_Report); });
        });
        SetFooter(command,
                  "The file is self-contained and needs no network. Serial numbers, identifiers and names are replaced\n"
                  "unless --with-identifiers is given.\n\n"
                  "Examples:\n"
                  "  orbis-host report --output report.html\n"
                  "  orbis-host report --output report.html --baseline lastweek.json --with-identifiers\n\n");
        AddFile(command, "--output", m_Report.file, "Write to this file; it is replaced when complete").required();
        AddFile(command, "--machine", m_Report.source.machine, "Report the simulated machine of this file");
        AddFile(command, "--baseline", m_Report.baseline, "Report what rose since this earlier output of `health --format json`");
        command.add_flag("--with-identifiers", m_Report.withIdentifiers, "Keep serial numbers, identifiers and names as they are");
        command.add_option("--log-level", m_LogLevel, "trace, debug, info, warning, error or off (warning)")->option_text("LEVEL");
        AddDeadlineOption(command, m_Report.source);
        AddSleepOption(command, m_Report.source);
        AddPluginOption(command, m_Report.source.plugin);
    }

    void AddMachine()
    {
        CLI::App& machine = *m_App.add_subcommand("machine", "Record a machine; check and show machine files");
        SetFooter(machine, "");
        machine.require_subcommand(0, 1);
        CLI::App& record = AddCommand(machine, "record", "Collect everything once and write what the machine answered", [this] {
            m_Record.source.logLevel = ValueOf(kLogLevels, m_LogLevel, "log level");
            if (!m_RecordFormat.empty()) {
                m_Record.format = ValueOf(kFormats, m_RecordFormat, "format");
            }
            return WithinDeadline(m_Record.source, 0, false, [this] { return RecordMachine(m_Record, m_Output); });
        });
        SetFooter(record,
                  "The file is a machine file: --machine FILE replays it anywhere. docs/RECORDING.md says what is in it.\n\n");
        AddFile(record, "FILE", m_Record.file, "The machine file to write (*.txtpb)").required();
        AddFile(record, "--machine", m_Record.source.machine, "Record the simulated machine of this file");
        record.add_option("--format", m_RecordFormat, "Print what was collected, too, in a format of collect")
            ->option_text("FORMAT");
        record.add_option("--seconds", m_Record.seconds, "Let counters run so many seconds (2)")
            ->check(Between(0.1, 3600.0))
            ->option_text("N");
        record.add_flag("--with-identifiers", m_Record.withIdentifiers, "Keep serial numbers, identifiers and names as they are");
        record.add_option("--log-level", m_LogLevel, "trace, debug, info, warning, error or off (warning)")->option_text("LEVEL");
        AddDeadlineOption(record, m_Record.source);
        AddPluginOption(record, m_Record.source.plugin);
        CLI::App& validate = AddCommand(machine, "validate", "Check machine files; findings name file, line and field",
                                        [this] { return ValidateMachineFiles(m_Files, m_Output); });
        validate
            .add_option_function<std::vector<std::string>>(
                "FILE",
                [this](const std::vector<std::string>& words) {
                    std::transform(words.begin(), words.end(), std::back_inserter(m_Files), FileOf);
                },
                "Machine files (*.txtpb)")
            ->check(NotEmpty)
            ->type_name("")
            ->required();
        CLI::App& show =
            AddCommand(machine, "show", "Describe the machine of a file", [this] { return ShowMachineFile(m_File, m_Output); });
        AddFile(show, "FILE", m_File, "A machine file (*.txtpb)").required();
    }

    void AddHelp()
    {
        // For the list of commands; its arguments are words that would otherwise be taken for commands.
        AddCommand(m_App, "help", "Show the help of a command", [] { return kExitOk; });
    }

    void AddVersion()
    {
        AddCommand(m_App, "version", "Show the version", [this] {
            m_Output.Write(VersionText() + '\n');
            return kExitOk;
        });
    }

    int Help(const std::vector<std::string>& words)
    {
        CLI::App* about = &m_App;
        for (const std::string& word : words) {
            about = about->get_subcommand(FindWord(CommandsOf(*about), word, "command"));
        }
        m_Output.Write(Fitted(HelpOf(*about), m_Output.GetStyle().width));
        return kExitOk;
    }

    static std::vector<std::string> CommandsOf(const CLI::App& app)
    {
        std::vector<std::string> names;
        for (const CLI::App* command : app.get_subcommands(nullptr)) {
            names.push_back(command->get_name());
        }
        return names;
    }

    static std::string HelpOf(const CLI::App& command)
    {
        std::string before;
        for (const CLI::App* one = command.get_parent(); one != nullptr; one = one->get_parent()) {
            before = one->get_name() + (before.empty() ? "" : " ") + before;
        }
        return command.help(before);
    }

    // The innermost command that was named.
    [[nodiscard]] const CLI::App& Parsed() const
    {
        const CLI::App* command = &m_App;
        while (!command->get_subcommands().empty()) {
            command = command->get_subcommands().front();
        }
        return *command;
    }

    [[nodiscard]] std::string HelpOfParsed() const
    {
        const CLI::App& command = Parsed();
        std::string words = "--help";
        for (const CLI::App* one = &command; one->get_parent() != nullptr; one = one->get_parent()) {
            words = one->get_name() + ' ' + words;
        }
        return words;
    }

    // Reports an argument that has no place here.
    int Refuse(const std::string& argument)
    {
        const CLI::App& command = Parsed();
        const bool isOption = argument.starts_with('-');
        std::vector<std::string> known = isOption ? std::vector<std::string>() : CommandsOf(command);
        for (const CLI::Option* option : isOption ? command.get_options() : std::vector<const CLI::Option*>()) {
            for (const std::string& name : option->get_lnames()) {
                known.push_back("--" + name);
            }
        }
        const std::string nearest = Nearest(known, argument.substr(0, argument.find('=')));
        Say(fmt::format("{}: {}. {}Run orbis-host {} for more.",
                        isOption        ? "no such option"
                        : known.empty() ? "not expected here"
                                        : "no such command",
                        argument, nearest.empty() ? "" : "Did you mean " + nearest + "? ", HelpOfParsed()));
        return kExitUsage;
    }

    Output& m_Output;
    std::vector<std::string> m_Arguments;
    CLI::App m_App{"Collects storage telemetry of this machine's disks, or of a simulated machine's, through the plug-in."};
    std::function<int()> m_Run;
    DescribeOptions m_Describe;
    CollectOptions m_Collect;
    MetricsOptions m_Metrics;
    RecordOptions m_Record;
    std::string m_RecordFormat;
    HealthOptions m_Health;
    std::string m_LogTo;
    bool m_ShowRules = false;
    ExplainOptions m_Explain;
    ReportOptions m_Report;
    std::string m_Format = "table";
    std::string m_LogLevel = "warning";
    std::vector<std::filesystem::path> m_Files;
    std::filesystem::path m_File;
};

// In the order in which they are listed.
const std::array<CommandLine::Command, 9> CommandLine::kCommands{{{"describe", &CommandLine::AddDescribe},
                                                                  {"collect", &CommandLine::AddCollect},
                                                                  {"metrics", &CommandLine::AddMetrics},
                                                                  {"health", &CommandLine::AddHealth},
                                                                  {"explain", &CommandLine::AddExplain},
                                                                  {"report", &CommandLine::AddReport},
                                                                  {"machine", &CommandLine::AddMachine},
                                                                  {"help", &CommandLine::AddHelp},
                                                                  {"version", &CommandLine::AddVersion}}};

int RunCommandLine(int argc, const char* const* argv, Output& output)
{
    try {
        // How the supervisor of a deadline starts a process; see Attempt.
        if (argc > 2 && std::string_view(argv[1]) == "--supervised") {
            Supervised::Begin(argv[2]);
            argc -= 2;
            argv += 2;
        }
        return CommandLine(argc, argv, output).Run(argc, argv);
    } catch (const MachineFileError& error) {
        SayPlace(error.what());
        return kExitUsage;
    } catch (const border::PluginLoadError& error) {
        Say(error.what());
        Say("the plug-in is expected beside this program; --plugin FILE names another");
        return kExitNoPlugin;
    } catch (const border::HostException& exception) {
        Say("the plug-in could not be created: " + exception.ToString());
        return kExitNoPlugin;
    } catch (const std::invalid_argument& error) {
        Say(error.what());
        return kExitUsage;
    } catch (const FileWriteError& error) {
        Say(error.what());
        return kExitOutputLost;
    } catch (const std::exception& error) {
        Say(error.what());
        return kExitCollectionFailed;
    }
}

}  // namespace

int RunProgram(int argc, const char* const* argv)
{
    RestrictLibrarySearch();
    PrepareStandardStreams();
    Output output(GetOutputStyle());
    const int status = RunCommandLine(argc, argv, output);
    EndSupervised();
    return output.Finish(status);
}

}  // namespace orbis::host
