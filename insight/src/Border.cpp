#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>
#include <google/protobuf/util/json_util.h>

#include <algorithm>
#include <chrono>
#include <exception>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>

#include "DrivePaths.h"
#include "insight/Explanation.h"
#include "insight/Findings.h"
#include "insight/Health.h"
#include "insight/HiddenDisks.h"
#include "insight/Journal.h"
#include "insight/SleepingDisks.h"
#include "insight/Waits.h"
#include "insight/orbis_insight.h"
#include "orbis/datatypes/nvme_health.pb.h"
#include "orbis/datatypes/nvme_identify.pb.h"
#include "orbis/datatypes/physical_disk.pb.h"
#include "orbis/datatypes/smart.pb.h"
#include "orbis/insight/findings.pb.h"

namespace orbis::insight {
namespace {

namespace pb = google::protobuf;

struct OwnedResult {
    OrbisInsightResult result{};  // first member, because a host gets its address
    std::string text;
};

const OrbisInsightResult* NewResult(std::string text, bool isFailure)
{
    auto owned = std::make_unique<OwnedResult>();
    owned->text = std::move(text);
    owned->result = {sizeof(OrbisInsightResult), isFailure ? 1 : 0, {owned->text.data(), owned->text.size()}};
    return &owned.release()->result;
}

// The result when there is no memory for one; it is never freed.
constexpr std::string_view kNoMemory = "out of memory";
constexpr OrbisInsightResult kOutOfMemory{sizeof(OrbisInsightResult), 1, {kNoMemory.data(), kNoMemory.size()}};

// The result of `answer`, or its failure.
template <class Answer>
const OrbisInsightResult* Guarded(Answer&& answer) noexcept
{
    try {
        try {
            return NewResult(answer(), false);
        } catch (const std::exception& exception) {
            return NewResult(exception.what(), true);
        }
    } catch (...) {
        return &kOutOfMemory;
    }
}

void ORBIS_CALL Free(const OrbisInsightResult* result)
{
    if (result != &kOutOfMemory) {
        delete reinterpret_cast<const OwnedResult*>(result);
    }
}

std::string Json(const pb::Message& message, const pb::util::JsonPrintOptions& options = {})
{
    std::string text;
    if (!pb::util::MessageToJsonString(message, &text, options).ok()) {
        throw std::runtime_error("the message " + message.GetTypeName() + " cannot be written as JSON");
    }
    return text;
}

// A document of this library, including zeros and empty lists, so that drive number 0 is not missing.
std::string Document(const pb::Message& message)
{
    pb::util::JsonPrintOptions options;
    options.always_print_primitive_fields = true;
    return Json(message, options);
}

std::string ToString(const OrbisText* text)
{
    if (text == nullptr) {
        throw std::invalid_argument("a text is missing (null)");
    }
    return text->length > 0 ? std::string(text->data, text->length) : std::string();
}

std::unique_ptr<pb::Message> Parse(const OrbisText* datatype, const OrbisText* message)
{
    using namespace veyra::orbis::datatypes;
    // Refers to each file of the schema, so that they are all linked from a static library.
    for (const pb::Descriptor* one : {PhysicalDiskStaticInfo::descriptor(), SmartStaticInfo::descriptor(),
                                      SmartNvmeInfo::descriptor(), NvmeIdentifyControllerData::descriptor()}) {
        static_cast<void>(one);
    }
    const std::string name = ToString(datatype);
    const pb::Descriptor* found = pb::DescriptorPool::generated_pool()->FindMessageTypeByName(name);
    const pb::Message* prototype = found != nullptr ? pb::MessageFactory::generated_factory()->GetPrototype(found) : nullptr;
    if (prototype == nullptr) {
        throw std::invalid_argument("no such message: " + name);
    }
    std::unique_ptr<pb::Message> parsed(prototype->New());
    if (!parsed->ParseFromString(ToString(message))) {
        throw std::invalid_argument("these bytes are no " + name);
    }
    return parsed;
}

// What each thread waits for.
class CurrentWaits final : public WaitListener {
public:
    void Began(const Source& source, std::string_view what) noexcept override
    {
        try {
            const std::lock_guard lock(m_Lock);
            m_Waits[std::this_thread::get_id()] = {source, std::string(what), std::chrono::steady_clock::now()};
        } catch (...) {  // out of memory: one wait is not reported
        }
    }
    void Ended() noexcept override
    {
        const std::lock_guard lock(m_Lock);
        m_Waits.erase(std::this_thread::get_id());
    }

    WaitsReport Report()
    {
        WaitsReport report;
        report.set_format_version(1);
        const std::lock_guard lock(m_Lock);
        for (const auto& [thread, wait] : m_Waits) {
            WaitEntry& entry = *report.add_wait();
            entry.set_subject(NameOf(wait.source));
            entry.set_what(wait.what);
            entry.set_seconds(std::chrono::duration<double>(std::chrono::steady_clock::now() - wait.since).count());
            entry.set_thread(static_cast<std::uint32_t>(std::hash<std::thread::id>()(thread)));
        }
        return report;
    }

private:
    struct Wait {
        Source source;
        std::string what;
        std::chrono::steady_clock::time_point since;
    };
    std::mutex m_Lock;
    std::map<std::thread::id, Wait> m_Waits;
};

// The observer of the process. It is never destroyed, because plug-in objects may live until the process ends.
class Observer {
public:
    static Observer& Get()
    {
        static auto& observer = *new Observer;
        return observer;
    }

    std::string Install(std::size_t capacity)
    {
        const std::lock_guard lock(m_Lock);
        if (m_Journal != nullptr) {
            throw std::logic_error("it is installed already");
        }
        m_Watch = std::make_unique<WaitWatch>(platform::Platform::Current(), m_Waits);
        m_Disks = std::make_unique<HiddenDisks>(*m_Watch);
        m_Sleep = std::make_unique<SleepingDisks>(*m_Disks);
        m_Journal = std::make_unique<Journal>(m_Sleep->Visible(), capacity != 0 ? capacity : Journal::kDefaultCapacity);
        platform::Platform::Replace(m_Journal.get());
        return {};
    }

    std::string EndPass()
    {
        const std::lock_guard lock(m_Lock);
        RequireInstalled();
        m_Pass = m_Journal->Take();
        m_Findings.Read(*m_Pass);
        m_New = m_Findings.EndPass();
        return {};
    }

    std::string FindingsJson()
    {
        const std::lock_guard lock(m_Lock);
        RequirePass();
        FindingsReport report;
        report.set_format_version(1);
        for (const Finding& finding : m_Findings.Current()) {
            FindingEntry& entry = *report.add_finding();
            entry.set_kind(finding.kind);
            entry.set_subject(finding.subject);
            entry.set_text(finding.text);
            entry.set_remedy(finding.remedy);
            entry.mutable_datatypes()->Add(finding.datatypes.begin(), finding.datatypes.end());
            entry.set_is_new(std::find(m_New.begin(), m_New.end(), finding) != m_New.end());
        }
        return Document(report);
    }

    std::string Health()
    {
        const std::lock_guard lock(m_Lock);
        RequirePass();
        return Document(MakeReport(EvidenceOf(m_Pass->records), {}, std::chrono::system_clock::now()));
    }

    std::string Explain(const OrbisText* datatype, const OrbisText* message, const OrbisText* itemId)
    {
        const std::lock_guard lock(m_Lock);
        RequirePass();
        return Document(Explainer(m_Pass->records).Explain(*Parse(datatype, message), ToString(itemId)));
    }

    std::string HideDisk(std::uint32_t number, bool isHidden)
    {
        const std::lock_guard lock(m_Lock);
        RequireInstalled();
        HiddenDisk disk;
        disk.number = number;
        // Some collections walk the devices before they read the inventory, and so see the path first.
        const auto paths = m_Pass ? DrivePaths(m_Pass->records).Numbers() : std::map<std::u16string, std::uint32_t>{};
        for (const auto& [path, owner] : paths) {
            if (owner == number && DrivePaths::LetterOf(path) == 0) {
                disk.interfacePath = path;
            }
        }
        if (isHidden) {
            m_Disks->Hide(disk);
        } else {
            m_Disks->Show(disk);
        }
        return {};
    }

    // "DISK0", or the letter or path if nothing else is known.
    static std::string SubjectOf(const HiddenDisk& disk)
    {
        return disk.number            ? "DISK" + std::to_string(*disk.number)
               : disk.letters.empty() ? platform::Utf16ToUtf8(disk.interfacePath)
                                      : std::string{static_cast<char>(*disk.letters.begin()), ':'};
    }

    std::string SkipSleepingDisks()
    {
        const std::lock_guard lock(m_Lock);
        RequireInstalled();
        m_Sleep->Look();
        SleepReport report;
        report.set_format_version(1);
        for (const HiddenDisk& disk : m_Sleep->Asleep()) {
            SleepingDisk& entry = *report.add_disk();
            if (disk.number) {
                entry.set_number(*disk.number);
            }
            entry.set_subject(SubjectOf(disk));
        }
        return Document(report);
    }

    // Without the lock of the others: it answers while a collection waits.
    std::string WaitsJson() { return Json(m_Waits.Report()); }

private:
    void RequireInstalled() const
    {
        if (m_Journal == nullptr) {
            throw std::logic_error("it is not installed: call install before a plug-in object is created");
        }
    }
    void RequirePass() const
    {
        RequireInstalled();
        if (!m_Pass) {
            throw std::logic_error("no pass was ended: call endPass after the collections");
        }
    }

    std::mutex m_Lock;
    CurrentWaits m_Waits;
    std::unique_ptr<WaitWatch> m_Watch;
    std::unique_ptr<HiddenDisks> m_Disks;
    std::unique_ptr<SleepingDisks> m_Sleep;
    std::unique_ptr<Journal> m_Journal;
    Findings m_Findings;
    std::vector<Finding> m_New;  // of the last pass that ended
    std::optional<Extract> m_Pass;
};

const OrbisInsightResult* ORBIS_CALL Install(std::size_t capacity)
{
    return Guarded([&] { return Observer::Get().Install(capacity); });
}
const OrbisInsightResult* ORBIS_CALL EndPass()
{
    return Guarded([] { return Observer::Get().EndPass(); });
}
const OrbisInsightResult* ORBIS_CALL FindingsJson()
{
    return Guarded([] { return Observer::Get().FindingsJson(); });
}
const OrbisInsightResult* ORBIS_CALL HealthJson()
{
    return Guarded([] { return Observer::Get().Health(); });
}
const OrbisInsightResult* ORBIS_CALL ExplainJson(const OrbisText* datatype, const OrbisText* message, const OrbisText* itemId)
{
    return Guarded([&] { return Observer::Get().Explain(datatype, message, itemId); });
}
const OrbisInsightResult* ORBIS_CALL MessageJson(const OrbisText* datatype, const OrbisText* message)
{
    return Guarded([&] { return Json(*Parse(datatype, message)); });
}

const OrbisInsightResult* ORBIS_CALL HideDisk(std::uint32_t number, std::int32_t isHidden)
{
    return Guarded([&] { return Observer::Get().HideDisk(number, isHidden != 0); });
}
const OrbisInsightResult* ORBIS_CALL SkipSleepingDisks()
{
    return Guarded([] { return Observer::Get().SkipSleepingDisks(); });
}
const OrbisInsightResult* ORBIS_CALL WaitsJson()
{
    return Guarded([] { return Observer::Get().WaitsJson(); });
}

}  // namespace
}  // namespace orbis::insight

extern "C" const OrbisInsight* ORBIS_CALL OrbisInsightTable()
{
    using namespace orbis::insight;
    static const OrbisInsight table{
        sizeof(OrbisInsight), ORBIS_INSIGHT_VERSION, Install, EndPass,  FindingsJson, HealthJson,
        ExplainJson,          MessageJson,           Free,    HideDisk, WaitsJson,    SkipSleepingDisks};
    return &table;
}
