#include <stdexcept>

#include "Collector.h"
#include "Commands.h"
#include "MachineInForce.h"
#include "Metrics.h"
#include "Say.h"
#include "Terminal.h"
#include "WholeFile.h"

namespace orbis::host {

int Metrics(const MetricsOptions& options, Output& output)
{
    MachineInForce machine(options.source.machine);
    Collector collector(machine, options.source.plugin, options.source.logLevel);
    const std::vector<border::Operation> operations = collector.Choose({});
    collector.LetRatesBuildUp(operations);
    std::vector<Pass> passes = collector.Collect(operations);
    if (!options.source.disk.empty()) {
        Keep(passes, collector.Select(options.source.disk));
    }
    const std::vector<Finding> findings = collector.ReportFindings();
    const std::string text = RenderMetrics(passes, collector.KnownDisks(), collector.Collections(), findings);
    int status = findings.empty() ? kExitOk : kExitIncomplete;
    if (collector.HasFailed()) {
        status = Graver(status, kExitCollectionFailed);
    }
    if (options.file.empty()) {
        PrepareOutput(false);
        output.Write(text);
        return status;
    }
    try {
        WriteWholeFile(options.file, text);
    } catch (const std::runtime_error& error) {
        Say(error.what());
        return Graver(status, kExitOutputLost);
    }
    return status;
}

}  // namespace orbis::host
