#include "platform/Pdh.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <mutex>
#include <optional>
#include <unordered_map>

#include "Activity.h"
#include "HandleTable.h"
#include "MachineState.h"
#include "platform/Text.h"

namespace orbis::simulated {
namespace {

using platform::PdhCounterObject;
using platform::PdhQueryObject;
using platform::PdhStatus;
namespace pdh = platform::pdh;

constexpr const char* kPhysicalDisk = "physicaldisk";
constexpr const char* kTotalName = "_Total";
constexpr const char* kTotal = "_total";  // as instances are compared
constexpr const char* kEveryInstance = "*";

// What a counter is computed from: the totals' growth over an interval, over so many disks.
struct Interval {
    ActivityTotals from;
    ActivityTotals to;
    double seconds = 0;
    double disks = 1;
};

double PerSecond(double from, double to, const Interval& interval) { return (to - from) / interval.seconds; }
double Percent(double from, double to, const Interval& interval) { return 100.0 * (to - from) / interval.seconds / interval.disks; }
double Average(double sum, double count) { return count > 0 ? sum / count : 0.0; }

struct CounterKind {
    const char* name;  // lower case
    bool isPercent;
    double (*compute)(const Interval& interval);
};
constexpr std::array<CounterKind, 7> kKinds{{
    {"% idle time", true, [](const Interval& i) { return Percent(i.from.idleSeconds, i.to.idleSeconds, i); }},
    {"% disk read time", true, [](const Interval& i) { return Percent(i.from.readSeconds, i.to.readSeconds, i); }},
    {"% disk write time", true, [](const Interval& i) { return Percent(i.from.writeSeconds, i.to.writeSeconds, i); }},
    {"disk read bytes/sec", false, [](const Interval& i) { return PerSecond(i.from.bytesRead, i.to.bytesRead, i); }},
    {"disk write bytes/sec", false, [](const Interval& i) { return PerSecond(i.from.bytesWritten, i.to.bytesWritten, i); }},
    {"avg. disk sec/read", false,
     [](const Interval& i) { return Average(i.to.readSeconds - i.from.readSeconds, i.to.reads - i.from.reads); }},
    {"avg. disk sec/write", false,
     [](const Interval& i) { return Average(i.to.writeSeconds - i.from.writeSeconds, i.to.writes - i.from.writes); }},
}};

struct CounterPath {
    std::string object;
    std::string instance;
    std::string counter;
};

// "\Object(instance)\Counter" or "\Object\Counter"; instance names may hold parentheses.
std::optional<CounterPath> ParsePath(const std::string& path)
{
    const std::size_t last = path.rfind('\\');
    if (path.empty() || path.front() != '\\' || last == 0 || last + 1 == path.size()) {
        return std::nullopt;
    }
    const std::string object = path.substr(1, last - 1);
    const std::size_t open = object.find('(');
    if (open == std::string::npos) {
        return CounterPath{object, {}, path.substr(last + 1)};
    }
    if (object.back() != ')' || open == 0) {
        return std::nullopt;
    }
    return CounterPath{object.substr(0, open), object.substr(open + 1, object.size() - open - 2), path.substr(last + 1)};
}

struct Sample {
    double seconds = 0;
    ActivityTotals totals;
    double disks = 1;
};

struct Counter {
    PdhQueryObject* query = nullptr;
    std::string instance;                                           // lower case
    const CounterKind* kind = nullptr;                              // computed
    const description::CounterObject::Counter* recorded = nullptr;  // recorded
    bool isEvery = false;                                           // of every instance: names and no values
    std::u16string instances;                                       // at the last sample, of every instance
    int samples = 0;
    std::optional<Sample> previous;
    std::optional<Sample> current;  // nothing while the instance is away
};

struct Query {};

class SimulatedPdh final : public platform::Pdh {
public:
    explicit SimulatedPdh(MachineState& machine) : m_Machine(machine)
    {
        for (const auto& disk : machine.disks) {
            m_Instances[ToLower(disk->counterInstance)].push_back(disk.get());
        }
    }

    PdhStatus OpenQuery(const char16_t* dataSource, std::uintptr_t /*userData*/, PdhQueryObject** query) override
    {
        *query = nullptr;
        if (dataSource != nullptr) {
            return pdh::kInvalidArgument;  // log files are no part of a machine
        }
        *query = reinterpret_cast<PdhQueryObject*>(m_Queries.Add(std::make_shared<Query>()));
        ++m_Machine.open.counterQueries;
        return pdh::kOk;
    }

    PdhStatus EnumInstances(const char16_t* object, char16_t* buffer, std::uint32_t* characters) override
    {
        const std::string name = platform::Utf16ToUtf8(object);
        const description::CounterObject* recorded = FindRecorded(name);
        const PdhStatus status = recorded != nullptr && recorded->instances_error() != 0 ? recorded->instances_error()
                                 : recorded == nullptr && ToLower(name) != kPhysicalDisk ? pdh::kNoObject
                                                                                         : pdh::kOk;
        Record("Pdh::EnumInstances", name, status);
        if (status != pdh::kOk) {
            return status;
        }
        return GiveNames(InstanceNames(recorded), buffer, characters);
    }

    PdhStatus AddEnglishCounter(PdhQueryObject* query, const char16_t* path, std::uintptr_t /*userData*/,
                                PdhCounterObject** counter) override
    {
        *counter = nullptr;
        const std::string text = platform::Utf16ToUtf8(path);
        Counter made;
        const PdhStatus status = m_Queries.Find(Handle(query)) == nullptr ? pdh::kInvalidHandle : Resolve(text, made);
        Record("Pdh::AddEnglishCounter", text, status);
        if (status == pdh::kOk) {
            made.query = query;
            *counter = reinterpret_cast<PdhCounterObject*>(m_Counters.Add(std::make_shared<Counter>(std::move(made))));
            ++m_Machine.open.counters;
        }
        return status;
    }

    PdhStatus CounterInstances(PdhCounterObject* counter, char16_t* buffer, std::uint32_t* characters) override
    {
        const std::shared_ptr<Counter> found = m_Counters.Find(reinterpret_cast<std::intptr_t>(counter));
        if (found == nullptr) {
            m_Machine.ReportMisuse("Pdh::CounterInstances of a counter that does not exist");
            return pdh::kInvalidHandle;
        }
        const description::CounterObject* recorded = FindRecorded(kPhysicalDisk);
        const std::lock_guard lock(m_SampleMutex);
        const PdhStatus status = found->instances.empty()                                  ? pdh::kInvalidData
                                 : recorded != nullptr && recorded->instances_error() != 0 ? recorded->instances_error()
                                                                                           : pdh::kOk;
        Record("Pdh::CounterInstances", kPhysicalDisk, status);
        return status != pdh::kOk ? status : GiveNames(found->instances, buffer, characters);
    }

    PdhStatus CollectQueryData(PdhQueryObject* query) override
    {
        if (m_Queries.Find(Handle(query)) == nullptr) {
            m_Machine.ReportMisuse("Pdh::CollectQueryData on a query that is not open");
            return pdh::kInvalidHandle;
        }
        const std::lock_guard lock(m_SampleMutex);
        // Time passes for values; a query that only lists instances leaves the clock alone.
        bool hasValues = false;
        m_Counters.ForEach([&](const Counter& counter) { return hasValues |= counter.query == query && !counter.isEvery; });
        if (hasValues) {
            m_Machine.clock.Advance(std::chrono::milliseconds(m_Machine.description.sample_step_ms()));
        }
        const double now = m_Machine.clock.Seconds();
        const std::size_t sampled = m_Counters.ForEach([&](Counter& counter) {
            if (counter.query != query) {
                return false;
            }
            ++counter.samples;
            if (counter.isEvery) {
                counter.instances = InstanceNames(FindRecorded(kPhysicalDisk));
                return true;
            }
            counter.previous =
                std::exchange(counter.current, counter.kind != nullptr ? TakeSample(counter.instance, now) : std::nullopt);
            return true;
        });
        return sampled > 0 ? pdh::kOk : pdh::kNoData;
    }

    PdhStatus FormattedValue(PdhCounterObject* counter, std::uint32_t format, platform::PdhCounterValue* value) override
    {
        const std::shared_ptr<Counter> found = m_Counters.Find(reinterpret_cast<std::intptr_t>(counter));
        if (found == nullptr) {
            m_Machine.ReportMisuse("Pdh::FormattedValue of a counter that does not exist");
            return pdh::kInvalidHandle;
        }
        if ((format & pdh::kFormatDouble) == 0) {
            return pdh::kInvalidArgument;
        }
        const std::lock_guard lock(m_SampleMutex);
        return found->recorded != nullptr ? RecordedValue(*found, *value) : ComputedValue(*found, format, *value);
    }

    PdhStatus CloseQuery(PdhQueryObject* query) noexcept override
    {
        if (!m_Queries.Remove(Handle(query))) {
            m_Machine.ReportMisuse("Pdh::CloseQuery of a query that is not open");
            return pdh::kInvalidHandle;
        }
        --m_Machine.open.counterQueries;
        m_Machine.open.counters -=
            static_cast<std::int64_t>(m_Counters.RemoveIf([&](const Counter& counter) { return counter.query == query; }));
        return pdh::kOk;
    }

private:
    static std::intptr_t Handle(PdhQueryObject* query) { return reinterpret_cast<std::intptr_t>(query); }

    void Record(const char* operation, const std::string& subject, PdhStatus status)
    {
        m_Machine.Record([&] {
            JournalEntry entry;
            entry.operation = operation;
            entry.subject = subject;
            entry.error = status;
            return entry;
        });
    }

    const description::CounterObject* FindRecorded(const std::string& object) const
    {
        const auto& objects = m_Machine.description.counter_object();
        const auto found = std::find_if(objects.begin(), objects.end(),
                                        [&](const auto& candidate) { return ToLower(candidate.name()) == ToLower(object); });
        return found != objects.end() ? &*found : nullptr;
    }

    std::vector<std::string> Instances(const description::CounterObject* recorded) const
    {
        if (recorded != nullptr && recorded->instance_size() > 0) {
            return {recorded->instance().begin(), recorded->instance().end()};
        }
        std::vector<std::string> instances;
        for (const DiskModel* disk : m_Machine.PresentDisks()) {
            instances.push_back(disk->counterInstance);
        }
        instances.emplace_back(kTotalName);
        return instances;
    }

    std::u16string InstanceNames(const description::CounterObject* recorded) const
    {
        std::u16string names;
        for (const std::string& instance : Instances(recorded)) {
            names += platform::Utf8ToUtf16(instance);
            names += u'\0';
        }
        return names + u'\0';
    }

    static PdhStatus GiveNames(const std::u16string& names, char16_t* buffer, std::uint32_t* characters)
    {
        const std::uint32_t room = std::exchange(*characters, static_cast<std::uint32_t>(names.size()));
        if (buffer == nullptr || room < names.size()) {
            return pdh::kMoreData;
        }
        std::ranges::copy(names, buffer);
        return pdh::kOk;
    }

    // An instance that does not exist is accepted, as it may appear later; an unknown object or counter is not.
    PdhStatus Resolve(const std::string& text, Counter& counter) const
    {
        const std::optional<CounterPath> path = ParsePath(text);
        if (!path) {
            return pdh::kBadCounterName;
        }
        counter.instance = ToLower(path->instance);
        counter.isEvery = path->instance == kEveryInstance;
        const std::string name = ToLower(path->counter);
        const description::CounterObject* object = FindRecorded(path->object);
        if (object != nullptr) {
            for (const auto& recorded : object->counter()) {
                if (ToLower(recorded.instance()) == counter.instance && ToLower(recorded.name()) == name) {
                    counter.recorded = &recorded;
                    return pdh::kOk;
                }
            }
        }
        if (ToLower(path->object) != kPhysicalDisk) {
            return object != nullptr ? pdh::kNoCounter : pdh::kNoObject;
        }
        const auto kind =
            std::find_if(kKinds.begin(), kKinds.end(), [&](const CounterKind& candidate) { return name == candidate.name; });
        counter.kind = kind != kKinds.end() ? &*kind : nullptr;
        return counter.kind != nullptr ? pdh::kOk : pdh::kNoCounter;
    }

    std::optional<Sample> TakeSample(const std::string& instance, double now) const
    {
        if (instance == kTotal) {
            Sample sample{now, {}, std::max(1.0, static_cast<double>(m_Machine.PresentDisks().size()))};
            for (const auto& disk : m_Machine.disks) {
                sample.totals += TotalsAt(*disk, now);
            }
            return sample;
        }
        const auto named = m_Instances.find(instance);
        for (const DiskModel* disk : named != m_Instances.end() ? named->second : std::vector<const DiskModel*>{}) {
            if (disk->PresentAt(now)) {
                return Sample{now, TotalsAt(*disk, now), 1.0};
            }
        }
        return std::nullopt;
    }

    static PdhStatus RecordedValue(const Counter& counter, platform::PdhCounterValue& value)
    {
        const int count = counter.recorded->sample_size();
        if (counter.samples == 0 || count == 0) {
            value = {pdh::kInvalidData, 0};
            return pdh::kNotValidYet;
        }
        const auto& sample = counter.recorded->sample(std::min(counter.samples, count) - 1);
        value = {sample.status(), sample.value()};
        return sample.status() == pdh::kValidData || sample.status() == pdh::kNewData ? pdh::kOk : pdh::kNotValidYet;
    }

    static PdhStatus ComputedValue(const Counter& counter, std::uint32_t format, platform::PdhCounterValue& value)
    {
        const bool isGone = counter.samples > 0 && !counter.current;
        if (isGone || !counter.previous || counter.current->seconds <= counter.previous->seconds) {
            value = {isGone ? pdh::kNoInstance : pdh::kInvalidData, 0};
            return pdh::kNotValidYet;
        }
        const double seconds = counter.current->seconds - counter.previous->seconds;
        const double computed =
            counter.kind->compute({counter.previous->totals, counter.current->totals, seconds, counter.current->disks});
        const bool isCapped = counter.kind->isPercent && (format & pdh::kFormatNoCap100) == 0;
        value = {pdh::kValidData, isCapped ? std::min(computed, 100.0) : computed};
        return pdh::kOk;
    }

    MachineState& m_Machine;
    std::unordered_map<std::string, std::vector<const DiskModel*>> m_Instances;  // by lower-case name
    HandleTable<Query> m_Queries;
    HandleTable<Counter> m_Counters;
    std::mutex m_SampleMutex;
};

}  // namespace

std::unique_ptr<platform::Pdh> MakePdhPort(MachineState& machine) { return std::make_unique<SimulatedPdh>(machine); }

}  // namespace orbis::simulated
