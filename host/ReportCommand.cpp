#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <string>

#include "Collector.h"
#include "Commands.h"
#include "HealthFile.h"
#include "MachineInForce.h"
#include "Progress.h"
#include "Say.h"
#include "Terminal.h"
#include "WholeFile.h"
#include "insight/Health.h"
#include "platform/Time.h"
#include "report/Page.h"
#include "report/Redaction.h"
#include "report/Report.h"

namespace orbis::host {

int Report(const ReportOptions& options)
{
    insight::HealthReport baseline;
    if (!options.baseline.empty()) {
        baseline = ReadHealthReport(options.baseline);  // a wrong file is reported before the disks are asked
    }
    MachineInForce machine(options.source.machine, options.source.skipSleeping.value_or(false));
    Collector collector(machine, options.source.plugin, options.source.logLevel);
    const std::vector<border::Operation> operations = collector.Choose({});
    Progress progress;
    progress.Show("waiting for the rates");
    collector.LetRatesBuildUp(operations);
    std::vector<CollectedDatatype> results;
    for (const border::Operation& operation : operations) {
        progress.Show("reading " + operation.datatype.substr(operation.datatype.rfind('.') + 1));
        std::vector<CollectedDatatype> one = collector.Collect({operation});
        std::move(one.begin(), one.end(), std::back_inserter(results));
    }
    progress.Clear();

    const insight::Extract calls = machine.TakeCalls();
    insight::HealthReport health =
        insight::MakeReport(insight::EvidenceOf(calls.records), machine.Name(), platform::Time::Current().UtcNow());
    AddAsleep(health, machine, baseline);
    if (!options.baseline.empty()) {
        insight::Compare(health, baseline);
    }
    const std::vector<Finding> findings = collector.ReportFindings();
    progress.Show("writing the page");
    insight::Report report = MakeReportOf(results, calls, health, findings);
    report.set_system(options.source.machine.empty() ? SystemName() : "simulated machine");
    if (!options.baseline.empty()) {
        AddBaseline(report, baseline);
    }
    if (!options.withIdentifiers) {
        Redact(report);
    }
    std::string unknown;
    for (const insight::DiskHealth& disk : health.disk()) {
        if (disk.verdict() == insight::UNKNOWN) {
            unknown += (unknown.empty() ? "" : ", ") + disk.name();
        }
    }
    if (!unknown.empty()) {
        Say(fmt::format("the health of {} is unknown; the page says why", unknown));
    }
    int status = findings.empty() && unknown.empty() ? kExitOk : kExitIncomplete;
    if (collector.HasFailed()) {
        status = Graver(status, kExitCollectionFailed);
    }
    WriteWholeFile(options.file, RenderPage(report));
    return status;
}

}  // namespace orbis::host
