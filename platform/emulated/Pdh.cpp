#include "emulated/Pdh.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <string_view>

#include "emulated/CaseFolding.h"
#include "emulated/Handles.h"
#include "platform/Text.h"

namespace orbis::platform::emulated {
namespace {

constexpr std::string_view kPhysicalDisk = "physicaldisk";
constexpr std::string_view kTotal = "_Total";
constexpr std::string_view kEveryInstance = "*";

// The activity of an instance's disks in an interval.
struct Interval {
    DiskTotals growth;
    double seconds = 0;
    double disks = 0;

    [[nodiscard]] double Percent(double value) const { return 100 * value / seconds / std::max(1.0, disks); }
    [[nodiscard]] static double Average(double sum, double count) { return count > 0 ? sum / count : 0.0; }
};

struct CounterKind {
    std::string_view name;  // lower case
    bool isPercent;
    double (*compute)(const Interval& interval);
};
constexpr std::array<CounterKind, 7> kKinds{{
    {"% idle time", true, [](const Interval& i) { return std::max(0.0, 100 - i.Percent(i.growth.busyTime)); }},
    {"% disk read time", true, [](const Interval& i) { return i.Percent(i.growth.readTime); }},
    {"% disk write time", true, [](const Interval& i) { return i.Percent(i.growth.writeTime); }},
    {"disk read bytes/sec", false, [](const Interval& i) { return i.growth.bytesRead / i.seconds; }},
    {"disk write bytes/sec", false, [](const Interval& i) { return i.growth.bytesWritten / i.seconds; }},
    {"avg. disk sec/read", false, [](const Interval& i) { return Interval::Average(i.growth.readTime, i.growth.reads); }},
    {"avg. disk sec/write", false, [](const Interval& i) { return Interval::Average(i.growth.writeTime, i.growth.writes); }},
}};

constexpr std::array kCounts{&DiskTotals::reads, &DiskTotals::writes, &DiskTotals::bytesRead, &DiskTotals::bytesWritten};
constexpr std::array kTimes{&DiskTotals::readTime, &DiskTotals::writeTime, &DiskTotals::busyTime};

// Adds what one disk did; false when it counts less than before, so it is another disk.
bool Add(Interval& interval, const DiskTotals& before, const DiskTotals& after, const DiskSample& sample)
{
    ++interval.disks;
    for (const auto count : kCounts) {
        if (after.*count < before.*count) {
            return false;
        }
        interval.growth.*count += after.*count - before.*count;
    }
    for (const auto time : kTimes) {
        const double grown = after.*time - before.*time;
        interval.growth.*time += (grown < 0 ? grown + sample.timesEndAt : grown) / sample.timesPerSecond;
    }
    return true;
}

const DiskTotals* Find(const DiskSample& sample, std::string_view instance)
{
    const auto found = std::ranges::find_if(sample.disks, [&](const auto& disk) { return EqualIgnoreCase(disk.first, instance); });
    return found != sample.disks.end() ? &found->second : nullptr;
}

PdhStatus GiveNames(const InstanceList& list, char16_t* buffer, std::uint32_t* characters)
{
    if (list.error != pdh::kOk) {
        return list.error;
    }
    std::u16string names;
    for (const std::string& instance : list.names) {
        names += Utf8ToUtf16(instance);
        names += u'\0';
    }
    names += u'\0';
    const std::uint32_t room = std::exchange(*characters, static_cast<std::uint32_t>(names.size()));
    if (room < names.size()) {
        return pdh::kMoreData;
    }
    std::ranges::copy(names, buffer);
    return pdh::kOk;
}

std::intptr_t Handle(const void* object) { return reinterpret_cast<std::intptr_t>(object); }

struct Query {
    std::atomic<std::size_t> values{0};  // counters of one instance
    std::atomic<std::size_t> lists{0};   // counters of every instance
    std::size_t samples = 0;
    DiskSample before;
    DiskSample after;
    std::optional<InstanceList> instances;  // at the last sample
};

struct Counter {
    std::shared_ptr<Query> query;
    std::string instance;
    const CounterKind* kind = nullptr;
    RecordedCounter recorded;     // in place of a kind
    std::size_t sinceSample = 0;  // samples that the query had taken before

    [[nodiscard]] PdhCounterValue Value(std::uint32_t format) const;
};

PdhCounterValue Counter::Value(std::uint32_t format) const
{
    const DiskSample& before = query->before;
    const DiskSample& after = query->after;
    const std::size_t taken = query->samples - sinceSample;
    const bool isTotal = EqualIgnoreCase(instance, kTotal);
    if (recorded) {
        return taken > 0 ? recorded(taken) : PdhCounterValue{pdh::kInvalidData, 0};
    }
    if (taken > 0 && !isTotal && Find(after, instance) == nullptr) {
        return {pdh::kNoInstance, 0};
    }
    Interval interval{{}, after.seconds - before.seconds, 0};
    bool isValid = taken > 1 && interval.seconds > 0;
    for (const auto& [name, totals] : after.disks) {
        if (const DiskTotals* earlier = isTotal || EqualIgnoreCase(name, instance) ? Find(before, name) : nullptr) {
            isValid = Add(interval, *earlier, totals, after) && isValid;
            if (!isTotal) {
                break;
            }
        }
    }
    if (!isValid || (!isTotal && interval.disks == 0)) {
        return {pdh::kInvalidData, 0};
    }
    const double value = kind->compute(interval);
    const bool isCapped = kind->isPercent && (format & pdh::kFormatNoCap100) == 0;
    return {pdh::kValidData, isCapped ? std::min(value, 100.0) : value};
}

class EmulatedPdh final : public Pdh {
public:
    explicit EmulatedPdh(PdhFacts& facts) : m_Facts(facts) {}

    PdhStatus OpenQuery(const char16_t* dataSource, std::uintptr_t /*userData*/, PdhQueryObject** query) override
    {
        if (query == nullptr || dataSource != nullptr) {
            return pdh::kInvalidArgument;  // live counters only
        }
        *query = reinterpret_cast<PdhQueryObject*>(m_Queries.Add(std::make_shared<Query>()));
        return pdh::kOk;
    }

    PdhStatus EnumInstances(const char16_t* object, char16_t* buffer, std::uint32_t* characters) override
    {
        if (object == nullptr || characters == nullptr || (buffer == nullptr && *characters != 0)) {
            return pdh::kInvalidArgument;
        }
        const std::optional<InstanceList> list = Instances(LowerAscii(Utf16ToUtf8(object)));
        return list ? GiveNames(*list, buffer, characters) : pdh::kNoObject;
    }

    PdhStatus CounterInstances(PdhCounterObject* counter, char16_t* buffer, std::uint32_t* characters) override
    {
        if (characters == nullptr || (buffer == nullptr && *characters != 0)) {
            return pdh::kInvalidArgument;
        }
        const std::shared_ptr<Counter> found = m_Counters.Find(Handle(counter));
        if (found == nullptr || !found->query->instances) {
            return found == nullptr ? pdh::kInvalidHandle : pdh::kInvalidData;
        }
        return GiveNames(*found->query->instances, buffer, characters);
    }

    // An instance that does not exist is accepted, since it may appear later; an unknown object or counter is not.
    PdhStatus AddEnglishCounter(PdhQueryObject* query, const char16_t* path, std::uintptr_t /*userData*/,
                                PdhCounterObject** counter) override
    {
        if (path == nullptr || counter == nullptr) {
            return pdh::kInvalidArgument;
        }
        *counter = nullptr;
        const std::shared_ptr<Query> opened = m_Queries.Find(Handle(query));
        if (opened == nullptr) {
            return pdh::kInvalidHandle;
        }
        const std::optional<CounterPath> parsed = ParseCounterPath(Utf16ToUtf8(path));
        if (!parsed) {
            return pdh::kBadCounterName;
        }
        auto added = std::make_shared<Counter>();
        added->query = opened;
        added->instance = parsed->instance;
        added->sinceSample = opened->samples;
        added->recorded = m_Facts.FindRecorded(*parsed);
        if (!added->recorded) {
            if (parsed->object != kPhysicalDisk) {
                return m_Facts.RecordedInstances(parsed->object) ? pdh::kNoCounter : pdh::kNoObject;
            }
            const auto kind = std::ranges::find(kKinds, parsed->counter, &CounterKind::name);
            if (kind == kKinds.end()) {
                return pdh::kNoCounter;
            }
            added->kind = &*kind;
        }
        ++(added->instance == kEveryInstance ? opened->lists : opened->values);
        *counter = reinterpret_cast<PdhCounterObject*>(m_Counters.Add(std::move(added)));
        return pdh::kOk;
    }

    PdhStatus CollectQueryData(PdhQueryObject* query) override
    {
        const std::shared_ptr<Query> opened = m_Queries.Find(Handle(query));
        if (opened == nullptr || opened->values + opened->lists == 0) {
            return opened == nullptr ? pdh::kInvalidHandle : pdh::kNoData;
        }
        if (opened->values != 0) {
            opened->before = std::exchange(opened->after, m_Facts.SampleDisks());
        }
        if (opened->lists != 0) {
            opened->instances = Instances(std::string(kPhysicalDisk));
        }
        ++opened->samples;
        return pdh::kOk;
    }

    PdhStatus FormattedValue(PdhCounterObject* counter, std::uint32_t format, PdhCounterValue* value) override
    {
        if (value == nullptr || (format & pdh::kFormatDouble) == 0) {
            return pdh::kInvalidArgument;
        }
        const std::shared_ptr<Counter> found = m_Counters.Find(Handle(counter));
        if (found == nullptr) {
            return pdh::kInvalidHandle;
        }
        *value = found->Value(format);
        return value->status == pdh::kValidData || value->status == pdh::kNewData ? pdh::kOk : pdh::kNotValidYet;
    }

    PdhStatus CloseQuery(PdhQueryObject* query) noexcept override
    {
        const std::shared_ptr<Query> closed = m_Queries.Remove(Handle(query));
        m_Counters.RemoveIf([&](const Counter& counter) { return counter.query == closed; });
        return closed != nullptr ? pdh::kOk : pdh::kInvalidHandle;
    }

private:
    // Nothing for an object that does not exist.
    std::optional<InstanceList> Instances(const std::string& object)
    {
        std::optional<InstanceList> list = m_Facts.RecordedInstances(object);
        if (!list && object == kPhysicalDisk) {
            list = InstanceList{pdh::kOk, m_Facts.DiskInstances()};
            list->names.emplace_back(kTotal);
        }
        return list;
    }

    PdhFacts& m_Facts;
    HandleTable<Query> m_Queries;
    HandleTable<Counter> m_Counters;
};

}  // namespace

std::unique_ptr<Pdh> MakePdh(PdhFacts& facts) { return std::make_unique<EmulatedPdh>(facts); }

// Instance names may hold parentheses.
std::optional<CounterPath> ParseCounterPath(const std::string& path)
{
    const std::string text = LowerAscii(path);
    const std::size_t last = text.rfind('\\');
    if (text.empty() || text.front() != '\\' || last == 0 || last + 1 == text.size()) {
        return std::nullopt;
    }
    const std::string object = text.substr(1, last - 1);
    const std::size_t open = object.find('(');
    if (open == 0 || (open != std::string::npos && object.back() != ')')) {
        return std::nullopt;
    }
    return CounterPath{object.substr(0, open),
                       open == std::string::npos ? std::string() : object.substr(open + 1, object.size() - open - 2),
                       text.substr(last + 1)};
}

std::string DiskInstanceName(std::uint32_t number, const std::string& letters)
{
    std::string name = std::to_string(number);
    for (const char letter : letters) {
        name.append({' ', letter, ':'});
    }
    return name;
}

}  // namespace orbis::platform::emulated
