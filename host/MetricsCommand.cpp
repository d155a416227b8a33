#include "Collector.h"
#include "Commands.h"
#include "HealthFile.h"
#include "MachineInForce.h"
#include "Metrics.h"
#include "WholeFile.h"
#include "insight/Health.h"
#include "platform/Time.h"

namespace orbis::host {

int Metrics(const MetricsOptions& options, Output& output)
{
    MachineInForce machine(options.source.machine, options.source.skipSleeping.value_or(false));
    Collector collector(machine, options.source.plugin, options.source.logLevel);
    const std::vector<border::Operation> operations = collector.Choose({});
    collector.LetRatesBuildUp(operations);
    std::vector<CollectedDatatype> results = collector.Collect(operations);
    std::vector<std::string> selected;
    if (!options.source.disk.empty()) {
        selected = collector.Select(options.source.disk);
        Keep(results, selected);
    }
    const std::vector<insight::DiskEvidence> evidence = insight::EvidenceOf(machine.TakeCalls().records);
    insight::HealthReport health = insight::MakeReport(evidence, machine.Name(), platform::Time::Current().UtcNow());
    AddAsleep(health, machine, {});
    if (!options.source.disk.empty()) {
        Keep(health, selected, collector.KnownDisks());
    }
    const std::vector<Finding> findings = collector.ReportFindings();
    const std::string text = RenderMetrics({results, collector.KnownDisks(), collector.Collections(), findings, evidence, health});
    int status = findings.empty() ? kExitOk : kExitIncomplete;
    if (collector.HasFailed()) {
        status = Graver(status, kExitCollectionFailed);
    }
    if (options.file.empty()) {
        output.Write(text);
        return status;
    }
    WriteWholeFile(options.file, text);
    return status;
}

}  // namespace orbis::host
