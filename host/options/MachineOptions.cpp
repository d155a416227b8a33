#include "options/AllCommands.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <string>
#include <vector>

#include "Commands.h"
#include "options/Choices.h"
#include "options/CommandSet.h"

namespace orbis::host {

void AddMachine(CommandSet& commands)
{
    RecordOptions& recording = commands.given.record;
    CLI::App& machine = *commands.Root().add_subcommand("machine", "Record a machine; check and show machine files");
    SetFooter(machine, "");
    machine.require_subcommand(0, 1);
    CLI::App& record =
        commands.Add(machine, "record", "Collect everything once and write what the machine answered", [&commands, &recording] {
            recording.source.logLevel = ValueOf(kLogLevels, commands.given.logLevel, "log level");
            if (!commands.given.recordFormat.empty()) {
                recording.format = ValueOf(kFormats, commands.given.recordFormat, "format");
            }
            return commands.WithinDeadline(recording.source, 0, false,
                                           [&] { return RecordMachine(recording, commands.GetOutput()); });
        });
    SetFooter(record, "The file is a machine file: --machine FILE replays it anywhere. docs/RECORDING.md says what is in it.\n\n");
    AddFile(record, "FILE", recording.file, "The machine file to write (*.txtpb)").required();
    AddFile(record, "--machine", recording.source.machine, "Record the simulated machine of this file");
    record.add_option("--format", commands.given.recordFormat, "Print what was collected, too, in a format of collect")
        ->option_text("FORMAT");
    record.add_option("--seconds", recording.seconds, "Let counters run so many seconds (2)")
        ->check(Between(0.1, 3600.0))
        ->option_text("N");
    record.add_flag("--with-identifiers", recording.withIdentifiers, "Keep serial numbers, identifiers and names as they are");
    commands.AddLogLevelOption(record);
    AddDeadlineOption(record, recording.source);
    AddPluginOption(record, recording.source.plugin);
    CLI::App& validate = commands.Add(machine, "validate", "Check machine files; findings name file, line and field",
                                      [&commands] { return ValidateMachineFiles(commands.given.files, commands.GetOutput()); });
    validate
        .add_option_function<std::vector<std::string>>(
            "FILE",
            [&commands](const std::vector<std::string>& words) {
                std::transform(words.begin(), words.end(), std::back_inserter(commands.given.files), FileOf);
            },
            "Machine files (*.txtpb)")
        ->check(NotEmpty)
        ->type_name("")
        ->required();
    CLI::App& show = commands.Add(machine, "show", "Describe the machine of a file",
                                  [&commands] { return ShowMachineFile(commands.given.file, commands.GetOutput()); });
    AddFile(show, "FILE", commands.given.file, "A machine file (*.txtpb)").required();
}

}  // namespace orbis::host
