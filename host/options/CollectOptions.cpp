#include "options/AllCommands.h"

#include <CLI/CLI.hpp>

#include "Commands.h"
#include "options/Choices.h"
#include "options/CommandSet.h"

namespace orbis::host {

void AddDescribe(CommandSet& commands)
{
    DescribeOptions& options = commands.given.describe;
    CLI::App& command = commands.Add(commands.Root(), "describe", "Show the plug-in and the datatypes it collects",
                                     [&commands, &options] { return Describe(options, commands.GetOutput()); });
    AddPluginOption(command, options.plugin);
}

void AddCollect(CommandSet& commands)
{
    CollectOptions& options = commands.given.collect;
    CLI::App& command = commands.Add(commands.Root(), "collect", "Collect datatypes and print them", [&commands, &options] {
        options.format = ValueOf(kFormats, commands.given.format, "format");
        options.source.logLevel = ValueOf(kLogLevels, commands.given.logLevel, "log level");
        const bool isWatch = options.watchSeconds > 0;
        options.source.skipSleeping = options.source.skipSleeping.value_or(isWatch);
        return commands.WithinDeadline(options.source, isWatch ? kUsualDeadline : 0, isWatch,
                                       [&] { return Collect(options, commands.GetOutput()); });
    });
    SetFooter(command,
              "DATATYPE is one that `orbis-host describe` lists, or all (the default).\n"
              "Results go to standard output, log lines to standard error.\n\n"
              "Examples:\n"
              "  orbis-host collect\n"
              "  orbis-host collect SmartNvmeInfo --item DISK0 --format json\n"
              "  orbis-host collect all --machine machines/workstation.txtpb\n"
              "  orbis-host collect PhysicalDiskDynamicInfo --watch 1\n\n");
    command.add_option("DATATYPE", options.datatypes, "What to collect (all)")->type_name("");
    command
        .add_option("--format", commands.given.format,
                    "table, json, jsonl (one object a line), text (protobuf text) or binary (delimited protobuf)")
        ->option_text("FORMAT");
    CLI::Option& watch = *command.add_option("--watch", options.watchSeconds, "Collect again every so many seconds, until Ctrl-C")
                              ->check(Between(0.1, 86400.0))
                              ->option_text("SECONDS");
    command.add_option("--count", options.count, "End a watch after so many passes")
        ->needs(&watch)
        ->check(Between(1U, 1000000000U))
        ->option_text("N");
    commands.AddSourceOptions(command, options.source);
}

void AddMetrics(CommandSet& commands)
{
    MetricsOptions& options = commands.given.metrics;
    CLI::App& command = commands.Add(commands.Root(), "metrics", "Collect everything and print it as metrics for Prometheus",
                                     [&commands, &options] {
                                         options.source.logLevel = ValueOf(kLogLevels, commands.given.logLevel, "log level");
                                         options.source.skipSleeping = options.source.skipSleeping.value_or(true);
                                         return commands.WithinDeadline(options.source, kUsualDeadline, false,
                                                                        [&] { return Metrics(options, commands.GetOutput()); });
                                     });
    SetFooter(command,
              "Text format 0.0.4, as node_exporter's textfile collector and promtool read it.\n\n"
              "Example:\n"
              "  orbis-host metrics --output /var/lib/prometheus/node-exporter/orbis.prom\n\n");
    AddFile(command, "--output", options.file, "Write to this file instead of standard output; it is replaced when complete");
    commands.AddSourceOptions(command, options.source);
}

}  // namespace orbis::host
