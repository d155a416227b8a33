#include "CommandLine.h"

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include <algorithm>
#include <array>
#include <exception>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "ExitStatus.h"
#include "HostBorder/PluginHost.h"
#include "Output.h"
#include "Say.h"
#include "SimulatedMachine.h"
#include "Suggest.h"
#include "Supervised.h"
#include "Terminal.h"
#include "Version.h"
#include "WholeFile.h"
#include "options/AllCommands.h"
#include "options/CommandSet.h"
#include "options/HelpText.h"

namespace orbis::host {
namespace {

std::string VersionText() { return std::string("orbis-host ") + kVersion; }

// Only for the list of commands: Run handles help itself, because its arguments would be taken for commands.
void AddHelp(CommandSet& commands)
{
    commands.Add(commands.Root(), "help", "Show the help of a command", [] { return kExitOk; });
}

void AddVersion(CommandSet& commands)
{
    commands.Add(commands.Root(), "version", "Show the version", [&commands] {
        commands.GetOutput().Write(VersionText() + '\n');
        return kExitOk;
    });
}

// The command line while it is parsed.
class CommandLine {
public:
    CommandLine(int argc, const char* const* argv, Output& output)
        : m_Arguments(argv + std::min(argc, 1), argv + argc), m_Output(output), m_Commands(m_Arguments, output)
    {
        m_App.set_version_flag("--version", VersionText());
        // Making the options of every command is a large part of a short run, so only the commands that are named are added. All
        // of them are added when the first word names none.
        const bool isNamed =
            !IsWord("help", 1) && std::ranges::any_of(kCommands, [&](const Command& command) { return IsWord(command.name, 1); });
        for (const Command& command : kCommands) {
            if (!isNamed || IsWord(command.name, m_Arguments.size())) {
                command.add(m_Commands);
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
        if (m_Commands.Chosen() == nullptr) {  // no command, or one that is a family of commands
            m_Output.Write(Fitted(HelpOf(Parsed()), m_Output.GetStyle().width));
            return kExitOk;
        }
        return m_Commands.Chosen()();
    }

private:
    struct Command {
        std::string_view name;
        void (*add)(CommandSet& commands);
    };
    static const std::array<Command, 9> kCommands;

    // Whether the word is among the first arguments.
    [[nodiscard]] bool IsWord(std::string_view word, std::size_t count) const
    {
        const auto end = m_Arguments.begin() + static_cast<std::ptrdiff_t>(std::min(count, m_Arguments.size()));
        return std::find(m_Arguments.begin(), end, word) != end;
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

    // Reports an unexpected argument.
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

    std::vector<std::string> m_Arguments;
    Output& m_Output;
    CommandSet m_Commands;
    CLI::App& m_App = m_Commands.Root();
};

// In the order in which they are listed.
const std::array<CommandLine::Command, 9> CommandLine::kCommands{{{"describe", &AddDescribe},
                                                                  {"collect", &AddCollect},
                                                                  {"metrics", &AddMetrics},
                                                                  {"health", &AddHealth},
                                                                  {"explain", &AddExplain},
                                                                  {"report", &AddReport},
                                                                  {"machine", &AddMachine},
                                                                  {"help", &AddHelp},
                                                                  {"version", &AddVersion}}};

int RunCommandLine(int argc, const char* const* argv, Output& output)
{
    try {
        // The supervisor of a deadline starts processes this way; see Attempt.
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
