#include <fmt/format.h>
#include <google/protobuf/util/json_util.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <stdexcept>
#include <utility>

#include "Collector.h"
#include "Commands.h"
#include "HealthFile.h"
#include "HealthLog.h"
#include "MachineInForce.h"
#include "Progress.h"
#include "Say.h"
#include "Terminal.h"
#include "WholeFile.h"
#include "insight/Explanation.h"
#include "insight/Health.h"
#include "platform/Time.h"
#include "views/HealthView.h"

namespace orbis::host {
namespace {

using insight::HealthReport;

std::string ToJson(const google::protobuf::Message& message)
{
    google::protobuf::util::JsonPrintOptions options;
    options.add_whitespace = true;
    options.always_print_primitive_fields = true;
    std::string text;
    const auto status = google::protobuf::util::MessageToJsonString(message, &text, options);
    if (!status.ok()) {
        throw std::runtime_error("the document cannot be written as JSON: " + status.ToString());
    }
    return text;
}

// A disk that did not answer in time is UNKNOWN; its name is taken from the baseline.
void AddLate(HealthReport& report, const std::map<std::uint32_t, std::string>& late, const HealthReport& baseline)
{
    for (const auto& [number, reason] : late) {
        insight::DiskHealth disk;
        for (const insight::DiskHealth& before : baseline.disk()) {
            if (before.number() == number) {
                disk.set_model(before.model());
                disk.set_serial_number(before.serial_number());
                *disk.mutable_letter() = before.letter();
            }
        }
        disk.set_number(number);
        disk.set_name(fmt::format("DISK{}", number));
        disk.set_verdict(insight::UNKNOWN);
        insight::Reason& why = *disk.add_reason();
        why.set_rule("no-answer");
        why.set_level(insight::UNKNOWN);
        why.set_text(reason);
        auto& all = *report.mutable_disk();
        *all.Add() = disk;
        std::stable_sort(all.begin(), all.end(),
                         [](const auto& one, const auto& other) { return one.verdict() > other.verdict(); });
    }
}

int StatusOf(const HealthReport& report)
{
    switch (insight::WorstOf(report)) {
        case insight::FAIL:
            return kExitDiskFails;
        case insight::WARN:
            return kExitDiskWarns;
        case insight::UNKNOWN:
            return kExitIncomplete;
        default:
            return kExitOk;
    }
}

// The report of the last run; empty when there is none.
HealthReport ReadState(const HealthOptions& options)
{
    std::error_code error;
    return std::filesystem::exists(options.state, error) ? ReadHealthReport(options.state) : HealthReport();
}

// Compares with the last run, logs each verdict that changed, and keeps this one for the next.
void UpdateState(const HealthOptions& options, std::shared_ptr<spdlog::sinks::sink> log, const HealthReport& before,
                 HealthReport report)
{
    report.clear_gone();
    if (!options.source.disk.empty()) {
        // The other disks were not judged, so their entries do not change.
        HealthReport others = before;
        for (const insight::DiskHealth* one : insight::MatchDisks(report, before)) {
            auto& disks = *others.mutable_disk();
            disks.erase(std::remove_if(disks.begin(), disks.end(),
                                       [&](const auto& disk) { return one != nullptr && disk.number() == one->number(); }),
                        disks.end());
        }
        report.mutable_disk()->MergeFrom(others.disk());
    }
    if (log != nullptr) {
        LogVerdictChanges(std::move(log), before, report);
    }
    WriteWholeFile(options.state, ToJson(report));
}

}  // namespace

HealthReport ReadHealthReport(const std::filesystem::path& file)
{
    HealthReport report;
    const auto status = google::protobuf::util::JsonStringToMessage(ReadWholeFile(file), &report);
    if (!status.ok() || report.format_version() == 0) {
        const std::string reason(status.message());
        throw std::invalid_argument(fmt::format("{}: not a report of `orbis-host health --format json`{}", FileName(file),
                                                status.ok() ? "" : ": " + reason.substr(0, reason.find('\n'))));
    }
    if (report.format_version() > insight::kHealthFormatVersion) {
        throw std::invalid_argument(fmt::format("{}: written by a later version of this program (format {}, known up to {})",
                                                FileName(file), report.format_version(), insight::kHealthFormatVersion));
    }
    return report;
}

void AddAsleep(HealthReport& report, const MachineInForce& machine, const HealthReport& earlier)
{
    for (const Disk& disk : machine.Asleep()) {
        insight::DiskHealth health;
        health.set_number(*disk.number);
        health.set_model(disk.model);
        health.set_serial_number(disk.serialNumber);
        for (const auto& [letter, volume] : disk.letters) {
            health.add_letter(letter);
        }
        insight::AddAsleep(report, health, earlier);
    }
}

int Health(const HealthOptions& options, Output& output)
{
    HealthReport baseline;
    if (!options.baseline.empty()) {
        baseline = ReadHealthReport(options.baseline);  // a wrong file is reported before the disks are asked
    }
    const HealthReport state = ReadState(options);
    for (const std::string& rule : options.onlyWhenRising) {
        const auto rules = insight::HealthRules();
        const auto found = std::find_if(rules.begin(), rules.end(), [&](const auto& one) { return one.name == rule; });
        if (found == rules.end()) {
            throw std::invalid_argument(fmt::format("no such rule: {}. `orbis-host health --rules` lists them", rule));
        }
        if (found->counter.empty()) {
            throw std::invalid_argument(fmt::format("the rule {} looks at no counter that could rise", rule));
        }
    }
    // A log that the system lacks is also reported before the disks are asked.
    auto log = options.logTo == HealthLogTarget::None ? nullptr : MakeHealthSink(options.logTo);
    MachineInForce machine(options.source.machine, options.source.skipSleeping.value_or(false));
    Collector collector(machine, options.source.plugin, options.source.logLevel);
    Progress progress;
    // Together they make every request that a rule reads.
    for (const border::Operation& operation :
         collector.Choose({"PhysicalDiskStaticInfo", "SmartDynamicInfo", "SmartNvmeInfo", "NvmeIdentifyControllerData"})) {
        progress.Show("reading " + operation.datatype.substr(operation.datatype.rfind('.') + 1));
        (void)collector.Collect({operation});
    }
    progress.Clear();

    std::vector<std::string> selected;
    if (!options.source.disk.empty()) {
        selected = collector.Select(options.source.disk);
    }
    const insight::Extract pass = machine.TakeCalls();
    HealthReport report =
        insight::MakeReport(insight::EvidenceOf(pass.records), machine.Name(), platform::Time::Current().UtcNow());
    AddAsleep(report, machine, state.disk_size() > 0 ? state : baseline);
    std::map<std::uint32_t, std::string> late = machine.LateDisks();
    if (!options.source.disk.empty()) {
        Keep(report, selected, collector.KnownDisks());
        const std::set<std::uint32_t> wanted = collector.SelectHidden(options.source.disk);
        std::erase_if(late, [&](const auto& one) { return !wanted.contains(one.first); });
    }
    AddLate(report, late, baseline);
    if (!options.baseline.empty()) {
        insight::Compare(report, baseline, options.onlyWhenRising);
    }
    output.Write(options.format == Format::Json ? ToJson(report) : Render(report, output.GetStyle()));
    int status = StatusOf(report);
    if (!collector.ReportFindings().empty()) {
        status = Graver(status, kExitIncomplete);
    }
    if (!options.state.empty()) {
        UpdateState(options, std::move(log), state, report);
    }
    return collector.HasFailed() ? Graver(status, kExitCollectionFailed) : status;
}

int ShowHealthRules(Output& output)
{
    output.Write(insight::HealthRulesAsMarkdown());
    return kExitOk;
}

int Explain(const ExplainOptions& options, Output& output)
{
    MachineInForce machine(options.source.machine, options.source.skipSleeping.value_or(false));
    Collector collector(machine, options.source.plugin, options.source.logLevel);
    const std::vector<border::Operation> operations = collector.Choose(options.datatypes);
    if (std::any_of(operations.begin(), operations.end(),
                    [](const border::Operation& one) { return one.datatype.ends_with("PhysicalDiskDynamicInfo"); })) {
        constexpr double kFirstInterval = 1.0;  // rates need time between two samples
        machine.LetRatesBuildUp(kFirstInterval);
    }
    Progress progress;
    std::vector<std::pair<std::string, std::vector<CollectedDatatype>>>
        collected;  // by datatype; none for a collection that failed
    for (const border::Operation& operation : operations) {
        const std::string datatype = operation.datatype.substr(operation.datatype.rfind('.') + 1);
        progress.Show("reading " + datatype);
        collected.emplace_back(datatype, collector.Collect({operation}));
    }
    progress.Clear();
    std::vector<std::string> selected;
    if (!options.source.disk.empty()) {
        selected = collector.Select(options.source.disk);
    }
    const insight::Extract extract = machine.TakeCalls();
    const insight::Explainer explainer(extract.records);
    insight::ExplanationReport report;
    report.set_format_version(1);
    const auto isWanted = [&](const std::string& itemId) {
        return options.source.disk.empty() || std::find(selected.begin(), selected.end(), itemId) != selected.end();
    };
    for (const auto& [datatype, results] : collected) {
        std::set<std::string> sent;
        for (const CollectedDatatype& result : results) {
            for (const Collected& item : result.items) {
                if (item.message != nullptr) {
                    sent.insert(item.itemId);
                    if (isWanted(item.itemId)) {
                        *report.add_message() = explainer.Explain(*item.message, item.itemId);
                    }
                }
            }
        }
        for (insight::MessageExplanation& unsent : explainer.ExplainUnsent(datatype, sent)) {
            if (isWanted(unsent.item_id())) {
                if (results.empty()) {
                    unsent.set_reason("the whole collection failed; see its messages");
                }
                *report.add_message() = std::move(unsent);
            }
        }
    }
    output.Write(options.format == Format::Json ? ToJson(report) : Render(report, output.GetStyle()));
    const int status = collector.ReportFindings().empty() ? kExitOk : kExitIncomplete;
    return collector.HasFailed() ? Graver(status, kExitCollectionFailed) : status;
}

}  // namespace orbis::host
