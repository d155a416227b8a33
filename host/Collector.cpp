#include "Collector.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <stdexcept>
#include <utility>

#include "PluginFile.h"
#include "Say.h"
#include "Suggest.h"
#include "Text.h"
#include "orbis/datatypes/nvme_identify.pb.h"
#include "orbis/datatypes/physical_disk.pb.h"
#include "platform/Errors.h"
#include "platform/Time.h"

namespace orbis::host {
namespace {

namespace datatypes = ::veyra::orbis::datatypes;
using border::HostException;
using border::Operation;

constexpr std::string_view kAll = "all";
// The error of a query to a WMI source that is left out because it did not answer: ERROR_TIMEOUT.
constexpr std::string_view kTimedOut = "HRESULT 0x800705B4";
// Datatypes by name: asking a message for its descriptor would build the whole schema.
constexpr std::string_view kStaticInfo = "PhysicalDiskStaticInfo";
constexpr std::string_view kActivityInfo = "PhysicalDiskDynamicInfo";
constexpr std::string_view kIdentify = "NvmeIdentifyControllerData";

// The disk according to its PhysicalDiskStaticInfo, for disks whose requests were not observed.
Disk ToDisk(const std::string& itemId, const datatypes::PhysicalDiskStaticInfo& message)
{
    Disk disk;
    disk.itemId = itemId;
    constexpr std::string_view kName = "DISK";
    const std::string& name = message.name();
    std::uint32_t number = 0;
    if (name.starts_with(kName) &&
        std::from_chars(name.data() + kName.size(), name.data() + name.size(), number).ec == std::errc()) {
        disk.number = number;
    }
    disk.model = Trimmed(message.make_model());
    return disk;
}

}  // namespace

Collector::Collector(MachineInForce& machine, const std::filesystem::path& plugin, LogLevel logLevel)
    : m_Machine(machine),
      m_Plugin(border::PluginHost::Load(PluginFile(plugin))),
      m_LogLevel(logLevel),
      m_Log(MakeConsoleLog(m_Plugin.LogId(), logLevel)),
      m_Object(m_Plugin.Create(m_Log))
{}

std::vector<Operation> Collector::Choose(const std::vector<std::string>& datatypes) const
{
    std::vector<std::string> known{std::string(kAll)};
    for (const Operation& one : m_Plugin.Operations()) {
        known.push_back(ShortName(one.datatype));
    }
    std::vector<std::string> names;
    for (const std::string& name : datatypes) {
        names.push_back(FindWord(known, name, "datatype"));
    }
    const bool isAll = names.empty() || std::find(names.begin(), names.end(), kAll) != names.end();
    std::vector<Operation> chosen;
    std::copy_if(m_Plugin.Operations().begin(), m_Plugin.Operations().end(), std::back_inserter(chosen), [&](const Operation& one) {
        return isAll || std::find(names.begin(), names.end(), ShortName(one.datatype)) != names.end();
    });
    return chosen;
}

void Collector::LetRatesBuildUp(const std::vector<Operation>& operations)
{
    constexpr double kFirstInterval = 1.0;
    if (std::any_of(operations.begin(), operations.end(),
                    [](const Operation& one) { return ShortName(one.datatype) == kActivityInfo; })) {
        m_Machine.LetRatesBuildUp(kFirstInterval);
    }
}

std::vector<CollectedDatatype> Collector::Collect(const std::vector<Operation>& operations)
{
    std::vector<CollectedDatatype> results;
    for (const Operation& operation : operations) {
        (void)m_Machine.Disks().TakeLastFailure();
        Collection& collection = m_Collections[ShortName(operation.datatype)];
        collection = {false, {}, platform::Time::Current().UtcNow()};
        const auto begin = std::chrono::steady_clock::now();
        try {
            results.push_back(CollectOne(operation));
            collection.isSuccess = true;
        } catch (const HostException& exception) {
            m_HasFailed = true;
            m_Log->Drop([&](std::string_view error) { return error.ends_with(exception.Message()); });
            ReportFailure(ShortName(operation.datatype), exception);
        } catch (const std::runtime_error& exception) {
            m_HasFailed = true;
            m_Log->Flush();
            m_Failures.push_back({"collection-failed", {}, exception.what(), {}, {ShortName(operation.datatype)}});
        }
        collection.duration = std::chrono::steady_clock::now() - begin;
    }
    Learn(results);
    return results;
}

CollectedDatatype Collector::CollectOne(const Operation& operation)
{
    CollectedDatatype result;
    result.datatype = ShortName(operation.datatype);
    auto items = m_Object.Collect(operation.index, border::ItemId::All());
    for (border::SerializedItem& item : items ? *items : std::vector<border::SerializedItem>{}) {
        auto message = item.message ? NewMessage(operation.datatype) : nullptr;
        if (item.message && (message == nullptr || !message->ParseFromString(*item.message))) {
            throw std::runtime_error(
                result.datatype + ": the message cannot be decoded, because this program and the plug-in have different versions");
        }
        result.items.push_back({item.itemId.ToString(), item.collectionTime, std::move(message)});
    }
    return result;
}

void Collector::ReportFailure(const std::string& datatype, const HostException& exception)
{
    const std::string message(exception.Message());
    std::string reason = message;
    // The refused device is more informative than the error code; the code shows whether this refusal caused the failure.
    if (const auto failure = m_Machine.Disks().TakeLastFailure()) {
        const auto code = static_cast<std::uint32_t>(platform::HresultFromWin32(failure->error));
        if (message.find(fmt::format("0x{:08X}", code)) != std::string::npos) {
            reason = fmt::format("{} {} (error {})", failure->path, failure->isOpen ? "could not be opened" : "refused a request",
                                 failure->error);
        }
    }
    if (message.find(kTimedOut) != std::string::npos && HasLateSource()) {
        reason = "it needs data from a source that did not answer";
    }
    const Finding failure{"collection-failed", {}, fmt::format("{}: not collected: {}", datatype, reason), {}, {datatype}};
    if (std::find(m_Failures.begin(), m_Failures.end(), failure) == m_Failures.end()) {  // it may be collected again to find a disk
        m_Failures.push_back(failure);
    }
    if (m_LogLevel <= LogLevel::Debug) {
        Say(exception.ToString());
    }
}

std::vector<Finding> Collector::ReportFindings()
{
    std::vector<Finding> findings = m_Machine.TakeFindings();
    const bool isExplained = IsExplained(kActivityInfo);
    const bool isLate = HasLateSource();
    m_Log->Drop([&](std::string_view error) {
        const auto says = [&](std::string_view text) { return error.find(text) != std::string_view::npos; };
        return (isExplained && says("HRESULT 0x")) ||
               (isLate && (says(kTimedOut) || says("PDH status 0x800007D5") || says("PDH query is not available")));
    });
    const std::string without = TakeDisksWithoutLetter();
    m_Log->Flush();
    if (!without.empty()) {
        Say(without);
    }
    const Finding* lastDenied = nullptr;  // one line for all refusals
    std::string denied;
    for (const Finding& finding : findings) {
        if (finding.kind == insight::kAccessDenied) {
            lastDenied = &finding;
            denied += (denied.empty() ? finding.text : ' ' + finding.text.substr(insight::kNoAccess.size())) + ",";
        } else {
            Say(fmt::format("{}; {}", finding.text, finding.remedy));
        }
    }
    if (lastDenied != nullptr) {
        denied.back() = ';';
        Say(fmt::format("{} {}", denied, lastDenied->remedy));
    }
    m_ReportedFailures = std::exchange(m_Failures, {});
    for (const Finding& failure : m_ReportedFailures) {
        // The letter, disk or id that ended a collection is reported above or was reported before, with the datatypes that lack
        // data.
        if (!IsExplained(failure.datatypes.front())) {
            Say(failure.text);
        }
    }
    findings.insert(findings.end(), m_ReportedFailures.begin(), m_ReportedFailures.end());
    return findings;
}

std::string Collector::TakeDisksWithoutLetter()
{
    constexpr std::string_view kBefore = "GetDynamicDiskData: the \"";
    constexpr std::string_view kAfter = "\" name is invalid, skipping to the next one.";
    std::string names;
    std::size_t count = 0;
    m_Log->Drop([&](std::string_view line) {
        // The name of a disk without letters is only its number.
        if (!line.starts_with(kBefore) || !line.ends_with(kAfter)) {
            return false;
        }
        std::uint32_t number = 0;
        const char* const end = line.data() + line.size() - kAfter.size();
        const auto [rest, error] = std::from_chars(line.data() + kBefore.size(), end, number);
        if (error != std::errc() || rest != end) {
            return false;
        }
        if (m_WithoutLetter.insert(number).second) {
            names += fmt::format("{}DISK{}", names.empty() ? "" : ", ", number);
            ++count;
        }
        return true;
    });
    return names.empty()
               ? names
               : fmt::format("{} {} no drive letter and {} not in PhysicalDiskDynamicInfo; give a partition of {} a letter", names,
                             count == 1 ? "has" : "have", count == 1 ? "is" : "are", count == 1 ? "it" : "each");
}

bool Collector::HasLateSource() const
{
    const std::vector<Finding> findings = m_Machine.CurrentFindings();
    return std::any_of(findings.begin(), findings.end(), [](const Finding& finding) { return finding.kind == "no-answer"; });
}

bool Collector::IsExplained(std::string_view datatype) const
{
    const std::vector<Finding> findings = m_Machine.CurrentFindings();
    return std::any_of(findings.begin(), findings.end(), [&](const Finding& finding) {
        const auto& names = finding.datatypes;
        return (finding.kind.ends_with("-ended-collection") || finding.kind == "letter-without-activity" ||
                finding.kind == "item-id-shared") &&
               std::find(names.begin(), names.end(), datatype) != names.end();
    });
}

std::vector<Finding> Collector::CurrentFindings() const
{
    std::vector<Finding> findings = m_Machine.CurrentFindings();
    findings.insert(findings.end(), m_ReportedFailures.begin(), m_ReportedFailures.end());
    return findings;
}

std::vector<std::string> Collector::Select(const std::string& given)
{
    std::string selector = given;
    if (const auto number = m_Machine.DriveNumberOf(given)) {
        selector = fmt::format("DISK{}", *number);
    }
    std::vector<std::string> selected = m_Disks.Select(selector);
    if (selected.empty() && !m_HasIdentities) {
        LearnIdentities();
        selected = m_Disks.Select(selector);
    }
    if (selected.empty() && SelectHidden(given).empty()) {
        (void)ReportFindings();  // why a disk may be missing
        const std::string list = m_Disks.List();
        throw std::invalid_argument(
            fmt::format("no disk is called {}. {}", given, list.empty() ? "No disk was found." : "These are there:" + list));
    }
    return selected;
}

std::set<std::uint32_t> Collector::SelectHidden(const std::string& given) const
{
    Disks hidden;
    for (const insight::HiddenDisk& one : m_Machine.Hidden()) {
        if (one.number) {
            Disk disk;
            disk.itemId = fmt::format("{}", *one.number);
            disk.number = one.number;
            for (const char16_t letter : one.letters) {
                disk.letters[{static_cast<char>(letter), ':'}] = {};
            }
            hidden.Learn(disk);
        }
    }
    std::set<std::uint32_t> numbers;
    for (const std::string& id : hidden.Select(given)) {
        numbers.insert(*hidden.Find(id)->number);
    }
    return numbers;
}

void Collector::LearnIdentities(const std::vector<CollectedDatatype>& results)
{
    bool isNew = false;
    for (const CollectedDatatype& result : results) {
        for (const Collected& item : result.items) {
            isNew = m_Identified.insert(item.itemId).second || isNew;
        }
    }
    if (isNew) {
        LearnIdentities();
    }
}

void Collector::LearnIdentities()
{
    m_HasIdentities = true;
    std::vector<Operation> operations;
    for (const Operation& one : m_Plugin.Operations()) {
        if (const std::string name = ShortName(one.datatype); name == kStaticInfo || name == kIdentify) {
            operations.push_back(one);
        }
    }
    // These collections were not requested. A failure leaves disks without a name and is reported, but does not count for the exit
    // status.
    const bool hasFailed = m_HasFailed;
    (void)Collect(operations);
    m_HasFailed = hasFailed;
}

void Collector::Learn(const std::vector<CollectedDatatype>& results)
{
    for (const Disk& disk : m_Machine.Disks().Seen()) {
        m_Disks.Learn(disk);
    }
    for (const Disk& disk : m_Machine.Asleep()) {
        if (disk.itemId != "Disk_") {
            m_Disks.Learn(disk);
        }
    }
    for (const CollectedDatatype& result : results) {
        for (const Collected& item : result.items) {
            if (item.message == nullptr || item.itemId == "Disk_") {
                continue;
            }
            if (result.datatype == kStaticInfo) {
                m_Disks.Learn(ToDisk(item.itemId, static_cast<const datatypes::PhysicalDiskStaticInfo&>(*item.message)));
            } else if (result.datatype == kIdentify) {
                const auto& message = static_cast<const datatypes::NvmeIdentifyControllerData&>(*item.message);
                Disk disk;
                disk.itemId = item.itemId;
                disk.model = Trimmed(message.model_number());
                disk.serialNumber = Trimmed(message.serial_number());
                disk.isNvme = true;
                m_Disks.Learn(disk);
            }
        }
    }
}

}  // namespace orbis::host
