#include "options/AllCommands.h"

#include <CLI/CLI.hpp>

#include "Commands.h"
#include "options/Choices.h"
#include "options/CommandSet.h"

namespace orbis::host {

void AddHealth(CommandSet& commands)
{
    HealthOptions& options = commands.given.health;
    CLI::App& command = commands.Add(commands.Root(), "health", "Give each disk a verdict, worst first", [&commands, &options] {
        if (commands.given.showRules) {
            return ShowHealthRules(commands.GetOutput());
        }
        options.format = ValueOf(kDocumentFormats, commands.given.format, "format");
        options.source.logLevel = ValueOf(kLogLevels, commands.given.logLevel, "log level");
        options.source.skipSleeping = options.source.skipSleeping.value_or(true);
        if (!commands.given.logTo.empty()) {
            options.logTo = ValueOf(kHealthLogs, commands.given.logTo, "log");
        }
        return commands.WithinDeadline(options.source, kUsualDeadline, false,
                                       [&] { return Health(options, commands.GetOutput()); });
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
    command.add_option("--format", commands.given.format, "table or json")->option_text("FORMAT");
    CLI::Option& baseline =
        AddFile(command, "--baseline", options.baseline, "Report what rose since this earlier output of --format json");
    command
        .add_option("--only-when-rising", options.onlyWhenRising, "Rules that are notices where nothing rose since the baseline")
        ->needs(&baseline)
        ->option_text("RULE...");
    CLI::Option& state = AddFile(command, "--state", options.state, "Keep the verdicts in this file");
    command.add_option("--log-to", commands.given.logTo, "Record verdicts that changed since the last run: journald or eventlog")
        ->needs(&state)
        ->option_text("LOG");
    command.add_flag("--rules", commands.given.showRules, "Show the rules of the verdicts and exit");
    commands.AddSourceOptions(command, options.source);
}

void AddExplain(CommandSet& commands)
{
    ExplainOptions& options = commands.given.explain;
    CLI::App& command = commands.Add(
        commands.Root(), "explain", "Show where every value comes from, and why one is missing", [&commands, &options] {
            options.format = ValueOf(kDocumentFormats, commands.given.format, "format");
            options.source.logLevel = ValueOf(kLogLevels, commands.given.logLevel, "log level");
            return commands.WithinDeadline(options.source, 0, false, [&] { return Explain(options, commands.GetOutput()); });
        });
    SetFooter(command,
              "DATATYPE is one that `orbis-host describe` lists, or all (the default).\n\n"
              "Examples:\n"
              "  orbis-host explain SmartNvmeInfo --item DISK0\n"
              "  orbis-host explain --format json\n\n");
    command.add_option("DATATYPE", options.datatypes, "What to explain (all)")->type_name("");
    command.add_option("--format", commands.given.format, "table or json")->option_text("FORMAT");
    commands.AddSourceOptions(command, options.source);
}

void AddReport(CommandSet& commands)
{
    ReportOptions& options = commands.given.report;
    CLI::App& command =
        commands.Add(commands.Root(), "report", "Write one HTML page that opens in any browser", [&commands, &options] {
            options.source.logLevel = ValueOf(kLogLevels, commands.given.logLevel, "log level");
            return commands.WithinDeadline(options.source, kUsualDeadline, false, [&] { return Report(options); });
        });
    SetFooter(command,
              "The file is self-contained and needs no network. Serial numbers, identifiers and names are replaced\n"
              "unless --with-identifiers is given.\n\n"
              "Examples:\n"
              "  orbis-host report --output report.html\n"
              "  orbis-host report --output report.html --baseline lastweek.json --with-identifiers\n\n");
    AddFile(command, "--output", options.file, "Write to this file; it is replaced when complete").required();
    AddFile(command, "--machine", options.source.machine, "Report the simulated machine of this file");
    AddFile(command, "--baseline", options.baseline, "Report what rose since this earlier output of `health --format json`");
    command.add_flag("--with-identifiers", options.withIdentifiers, "Keep serial numbers, identifiers and names as they are");
    commands.AddLogLevelOption(command);
    AddDeadlineOption(command, options.source);
    AddSleepOption(command, options.source);
    AddPluginOption(command, options.source.plugin);
}

}  // namespace orbis::host
