#include "report/Report.h"

#include <google/protobuf/util/time_util.h>
#include <algorithm>
#include <charconv>
#include <map>
#include <optional>
#include <set>
#include <utility>

#include "Version.h"
#include "insight/Evidence.h"
#include "insight/Explanation.h"
#include "insight/Health.h"
#include "insight/Layout.h"
#include "orbis/datatypes/physical_disk.pb.h"
#include "platform/Requests.h"

namespace orbis::host {
namespace {

namespace datatypes = ::veyra::orbis::datatypes;
using platform::BusType;

constexpr std::uint32_t kReportFormatVersion = 1;

const char* BusName(std::optional<std::uint32_t> bus)
{
    switch (static_cast<BusType>(bus.value_or(0))) {
        case BusType::Scsi:
            return "SCSI";
        case BusType::Ata:
            return "ATA";
        case BusType::Usb:
            return "USB";
        case BusType::Raid:
            return "RAID";
        case BusType::Sas:
            return "SAS";
        case BusType::Sata:
            return "SATA";
        case BusType::Nvme:
            return "NVMe";
        default:
            return "";
    }
}

const char* MediaName(datatypes::DiskType type)
{
    switch (type) {
        case datatypes::DISK_TYPE_HDD:
            return "HDD";
        case datatypes::DISK_TYPE_SSD:
            return "SSD";
        case datatypes::DISK_TYPE_SCM:
            return "SCM";
        default:
            return "disk";
    }
}

// Name and flags of the partitions, which the message joined with their volumes.
void JoinPartitions(const datatypes::PhysicalDiskStaticInfo& message, insight::ReportDisk& disk)
{
    for (insight::ReportPartition& partition : *disk.mutable_partition()) {
        const auto found = std::find_if(message.partitions().begin(), message.partitions().end(), [&](const auto& one) {
            return partition.kind() != insight::ReportPartition::FREE && one.index().value() == partition.index() &&
                   one.size().value() == partition.length() >> 20U;
        });
        if (found != message.partitions().end()) {
            partition.set_name(found->name());
            partition.set_is_boot(found->is_boot_volume().value());
            partition.set_has_page_file(found->is_page_file_present().value());
            partition.set_has_crash_dump(found->is_crash_dump().value());
        }
    }
}

std::optional<std::uint32_t> NumberIn(std::string_view subject)
{
    constexpr std::string_view kDisk = "DISK";
    std::uint32_t number = 0;
    const bool isDisk = subject.starts_with(kDisk) &&
                        std::from_chars(subject.data() + kDisk.size(), subject.data() + subject.size(), number).ec == std::errc();
    return isDisk ? std::optional(number) : std::nullopt;
}

void AddFindings(const std::vector<Finding>& findings, const insight::HealthReport& health, insight::Report& report)
{
    for (const Finding& finding : findings) {
        insight::ReportFinding& one = *report.add_finding();
        one.set_kind(finding.kind);
        one.set_text(finding.text);
        one.set_remedy(finding.remedy);
        const auto number = NumberIn(finding.subject);
        const auto owner = std::find_if(health.disk().begin(), health.disk().end(), [&](const insight::DiskHealth& disk) {
            return number ? disk.number() == *number
                          : std::find(disk.letter().begin(), disk.letter().end(), finding.subject) != disk.letter().end();
        });
        if (owner != health.disk().end()) {
            one.set_disk(owner->number());
        }
    }
}

class DiskSections {
public:
    explicit DiskSections(const insight::Extract& calls)
    {
        for (insight::ReportDisk& disk : insight::LayoutsOf(calls.records)) {
            m_Disks[disk.number()] = std::move(disk);
        }
        for (const insight::DiskEvidence& evidence : insight::EvidenceOf(calls.records)) {
            m_Disks[evidence.number].set_number(evidence.number);
            m_Buses[evidence.number] = evidence.busType;
        }
    }

    void Join(std::uint32_t number, const datatypes::PhysicalDiskStaticInfo& message)
    {
        JoinPartitions(message, m_Disks[number]);
        m_Media[number] = message.type();
    }

    void AddTo(insight::Report& report)
    {
        for (auto& [number, disk] : m_Disks) {
            const std::string bus = BusName(m_Buses[number]);
            disk.set_kind(bus + (bus.empty() ? "" : " ") + MediaName(m_Media[number]));
            *report.add_disk() = std::move(disk);
        }
    }

private:
    std::map<std::uint32_t, insight::ReportDisk> m_Disks;
    std::map<std::uint32_t, std::optional<std::uint32_t>> m_Buses;
    std::map<std::uint32_t, datatypes::DiskType> m_Media;
};

// Disk names ("DISK0") by item id, from PhysicalDiskStaticInfo. The inventory can differ: an id may contain characters that are not
// in the system's code page, and all disks without a row share one id.
std::map<std::string, std::uint32_t> NumbersOf(const std::vector<CollectedDatatype>& results)
{
    std::map<std::string, std::uint32_t> numbers;
    for (const CollectedDatatype& result : results) {
        for (const Collected& item : result.items) {
            const auto* info = dynamic_cast<const datatypes::PhysicalDiskStaticInfo*>(item.message.get());
            if (const auto number = info == nullptr ? std::nullopt : NumberIn(info->name())) {
                numbers.emplace(item.itemId, *number);
            }
        }
    }
    return numbers;
}

}  // namespace

insight::Report MakeReportOf(const std::vector<CollectedDatatype>& results, const insight::Extract& calls,
                             const insight::HealthReport& health, const std::vector<Finding>& findings)
{
    insight::Report report;
    report.set_format_version(kReportFormatVersion);
    report.set_host(health.host());
    report.set_program(std::string("orbis-host ") + kVersion);
    *report.mutable_time() = health.time();
    *report.mutable_health() = health;
    AddFindings(findings, health, report);

    DiskSections disks(calls);
    const std::map<std::string, std::uint32_t> numbers = NumbersOf(results);
    const insight::Explainer explainer(calls.records);
    for (const CollectedDatatype& result : results) {
        for (const Collected& collected : result.items) {
            insight::ReportItem& item = *report.add_item();
            item.set_datatype(result.datatype);
            item.set_item_id(collected.itemId);
            const auto sinceEpoch = std::chrono::duration_cast<std::chrono::nanoseconds>(collected.time.time_since_epoch());
            *item.mutable_collection_time() = google::protobuf::util::TimeUtil::NanosecondsToTimestamp(sinceEpoch.count());
            if (collected.message == nullptr) {
                continue;
            }
            item.mutable_data()->PackFrom(*collected.message);
            insight::MessageExplanation& explanation = *report.add_explanation();
            explanation = explainer.Explain(*collected.message, collected.itemId);
            if (const auto known = numbers.find(collected.itemId); known != numbers.end()) {
                explanation.set_disk(known->second);
            }
            const auto* info = dynamic_cast<const datatypes::PhysicalDiskStaticInfo*>(collected.message.get());
            if (explanation.has_disk()) {
                item.set_disk(explanation.disk());
            }
            if (info != nullptr && explanation.has_disk()) {
                disks.Join(explanation.disk(), *info);
            }
        }
    }
    for (const CollectedDatatype& result : results) {
        std::set<std::string> sent;
        for (const Collected& collected : result.items) {
            sent.insert(collected.itemId);
        }
        for (insight::MessageExplanation& unsent : explainer.ExplainUnsent(result.datatype, sent)) {
            const auto& told = report.explanation();
            const bool isSent = std::any_of(told.begin(), told.end(), [&](const insight::MessageExplanation& one) {
                return one.datatype() == result.datatype && one.has_disk() && one.disk() == unsent.disk();
            });
            if (!isSent) {
                *report.add_explanation() = std::move(unsent);
            }
        }
    }
    disks.AddTo(report);
    return report;
}

void AddBaseline(insight::Report& report, const insight::HealthReport& baseline)
{
    *report.mutable_baseline_time() = baseline.time();
    const auto before = insight::MatchDisks(report.health(), baseline);
    for (insight::ReportDisk& disk : *report.mutable_disk()) {
        for (int at = 0; at < report.health().disk_size(); ++at) {
            const insight::DiskHealth* earlier = before[static_cast<std::size_t>(at)];
            const insight::DiskHealth& now = report.health().disk(at);
            if (now.number() == disk.number() && earlier != nullptr && now.change() != insight::RESET) {
                *disk.mutable_before() = earlier->counter();
            }
        }
    }
}

}  // namespace orbis::host
