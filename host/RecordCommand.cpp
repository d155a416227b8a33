#include <fmt/format.h>
#include <google/protobuf/text_format.h>

#include <algorithm>
#include <iterator>
#include <stdexcept>
#include <vector>

#include "Collector.h"
#include "Commands.h"
#include "Formats.h"
#include "MachineInForce.h"
#include "PluginFile.h"
#include "Progress.h"
#include "Say.h"
#include "Terminal.h"
#include "Version.h"
#include "WholeFile.h"
#include "insight/Recording.h"
#include "platform/Time.h"

namespace orbis::host {
namespace {

// The machine file of a recording, written as text because the schema of machine files is in a library that is rarely loaded.
std::string MachineFile(const insight::Recording& recording)
{
    google::protobuf::TextFormat::Printer printer;
    printer.SetInitialIndentLevel(1);
    std::string text;
    if (!printer.PrintToString(recording, &text)) {
        throw std::runtime_error("the recording cannot be written as text");
    }
    return "# Replay: orbis-host collect --machine FILE. Look at it: orbis-host machine show FILE.\nrecording {\n" + text + "}\n";
}

}  // namespace

int RecordMachine(const RecordOptions& options, Output& output)
{
    Progress progress;
    MachineInForce machine(options.source.machine);
    Collector collector(machine, options.source.plugin, options.source.logLevel);
    progress.Show(fmt::format("letting counters run for {} s", options.seconds));
    machine.LetRatesBuildUp(options.seconds);
    int status = kExitOk;
    std::vector<CollectedDatatype> results;
    try {
        for (const border::Operation& operation : collector.Choose({})) {
            progress.Show("recording " + ShortName(operation.datatype));
            std::ranges::move(collector.Collect({operation}), std::back_inserter(results));
        }
        insight::Recording recording = insight::MakeRecording(machine.TakeCalls());
        machine.Describe(recording);
        recording.set_program(std::string("orbis-host ") + kVersion);
        if (!options.withIdentifiers) {
            progress.Show("replacing identifiers");
            insight::Redact(recording);
        }
        progress.Show("writing " + FileName(options.file));
        WriteWholeFile(options.file, MachineFile(recording));
    } catch (const std::runtime_error& error) {
        progress.Clear();
        Say(fmt::format("nothing was written: {}", error.what()));
        status = kExitOutputLost;
    }
    progress.Clear();
    if (options.format) {
        const auto now = platform::Time::Current().UtcNow();
        output.Write(Render(results, *options.format, {collector.KnownDisks(), output.GetStyle(), machine.Name(), now, {}}));
    }
    status = Graver(status, collector.ReportFindings().empty() ? kExitOk : kExitIncomplete);
    return collector.HasFailed() ? Graver(status, kExitCollectionFailed) : status;
}

}  // namespace orbis::host
