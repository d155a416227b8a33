#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <map>
#include <string>

#include "Commands.h"
#include "Terminal.h"
#include "Version.h"

namespace {

using namespace orbis::host;

const std::map<std::string, Format> kFormats{
    {"table", Format::Table}, {"json", Format::Json}, {"text", Format::Text}, {"binary", Format::Binary}};
const std::map<std::string, LogLevel> kLogLevels{{"trace", LogLevel::Trace},
                                                 {"debug", LogLevel::Debug},
                                                 {"warning", LogLevel::Warning},
                                                 {"error", LogLevel::Error},
                                                 {"off", LogLevel::Off}};

constexpr const char* kFooter =
    "Exit status: 0 all collected, 1 a collection failed (the others are still printed),\n"
    "2 wrong usage or a wrong machine file, 3 the plug-in could not be loaded.\n";

void AddPluginOption(CLI::App& command, std::filesystem::path& plugin)
{
    command.add_option("--plugin", plugin, "Load this plug-in instead of the one beside this program")->option_text("FILE");
}

template <class T>
std::vector<std::string> Names(const std::map<std::string, T>& choices)
{
    std::vector<std::string> names;
    names.reserve(choices.size());
    for (const auto& [name, value] : choices) {
        names.push_back(name);
    }
    return names;
}

}  // namespace

// What may leave it is a mistake in the options described here, or a want of memory before there is anything to lose.
// NOLINTNEXTLINE(bugprone-exception-escape)
int main(int argc, char** argv)
{
    RestrictLibrarySearch();
    CLI::App app{"Collects storage telemetry of this machine's disks, or of a simulated machine's, through the plug-in."};
    app.name("orbis-host");
    app.allow_windows_style_options(false);  // the same options everywhere, and "/" may begin a path
    app.footer(kFooter);
    app.set_version_flag("--version", std::string("orbis-host ") + kVersion);
    app.require_subcommand(1);

    DescribeOptions describe;
    CLI::App& describeCommand = *app.add_subcommand("describe", "Show the plug-in and the datatypes it collects");
    AddPluginOption(describeCommand, describe.plugin);

    CollectOptions collect;
    std::string format = "table";
    std::string logLevel = "warning";
    CLI::App& collectCommand = *app.add_subcommand("collect", "Collect datatypes and print them");
    collectCommand.footer(
        "DATATYPE is one that `orbis-host describe` lists, or all (the default).\n"
        "Results go to standard output, log lines to standard error.\n\n"
        "Examples:\n"
        "  orbis-host collect\n"
        "  orbis-host collect SmartNvmeInfo --format json\n"
        "  orbis-host collect all --machine machines/workstation.txtpb\n"
        "  orbis-host collect PhysicalDiskDynamicInfo --watch 1\n\n" +
        std::string(kFooter));
    collectCommand.add_option("DATATYPE", collect.datatypes, "What to collect (all)");
    collectCommand.add_option("--item", collect.item, "Only the item with this id, for example Disk_SCSI\\DISK...")
        ->option_text("ID");
    collectCommand.add_option("--machine", collect.machine, "Collect from the simulated machine of this file")->option_text("FILE");
    collectCommand.add_option("--format", format, "table, json, text (protobuf text) or binary (delimited protobuf)")
        ->check(CLI::IsMember(Names(kFormats)))
        ->option_text("FORMAT");
    collectCommand.add_option("--log-level", logLevel, "trace, debug, warning, error or off (warning)")
        ->check(CLI::IsMember(Names(kLogLevels)))
        ->option_text("LEVEL");
    CLI::Option& watch =
        *collectCommand.add_option("--watch", collect.watchSeconds, "Collect again every so many seconds, until Ctrl-C")
             ->check(CLI::Range(0.1, 86400.0))
             ->option_text("SECONDS");
    collectCommand.add_option("--count", collect.count, "End a watch after so many passes")
        ->needs(&watch)
        ->check(CLI::PositiveNumber)
        ->option_text("N");
    AddPluginOption(collectCommand, collect.plugin);

    CLI::App& machineCommand = *app.add_subcommand("machine", "Look at files that describe simulated machines");
    machineCommand.require_subcommand(1);
    std::vector<std::filesystem::path> validateFiles;
    CLI::App& validateCommand =
        *machineCommand.add_subcommand("validate", "Check machine files; findings name file, line and field");
    validateCommand.add_option("FILE", validateFiles, "Machine files (*.txtpb)")->required();
    std::filesystem::path showFile;
    CLI::App& showCommand = *machineCommand.add_subcommand("show", "Describe the machine of a file");
    showCommand.add_option("FILE", showFile, "A machine file (*.txtpb)")->required();

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        // Asking for help or the version is no error.
        return app.exit(error) == 0 ? kExitOk : kExitUsage;
    }
    collect.format = kFormats.at(format);
    collect.logLevel = kLogLevels.at(logLevel);

    try {
        if (describeCommand.parsed()) {
            return Describe(describe);
        }
        if (collectCommand.parsed()) {
            return Collect(collect);
        }
        return validateCommand.parsed() ? ValidateMachineFiles(validateFiles) : ShowMachineFile(showFile);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "orbis-host: %s\n", error.what());
        return kExitCollectionFailed;
    }
}
