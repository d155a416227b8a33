#include "linux/ports/Pdh.h"

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "emulated/CaseFolding.h"
#include "linux/disks/DiskCounters.h"
#include "linux/disks/DiskStats.h"
#include "linux/kernel/Files.h"
#include "linux/ports/WmiRows.h"
#include "linux/requests/Control.h"
#include "platform/Text.h"

namespace orbis::platform::linux_system {
namespace {

constexpr std::u16string_view kObject = u"PhysicalDisk";
constexpr std::u16string_view kTotal = u"_Total";
constexpr std::u16string_view kEveryInstance = u"*";

// All disks at one moment, by drive number.
struct Sample {
    std::chrono::nanoseconds time{};
    std::map<std::uint32_t, DiskStats> disks;
};

struct Counter {
    DiskCounter kind = DiskCounter::IdleTime;
    bool isTotal = false;
    bool isEvery = false;
    std::optional<std::uint32_t> disk;  // nothing: no instance of that name when the counter was added
    std::size_t sinceSample = 0;        // samples that the query had taken before
};

struct CounterPath {
    std::u16string_view object;
    std::u16string_view instance;
    std::u16string_view counter;
};

// "\Object(instance)\Counter". An instance name may hold parentheses itself, so the last closing one counts.
std::optional<CounterPath> ParsePath(std::u16string_view path)
{
    const std::size_t open = path.find(u'(');
    const std::size_t close = path.rfind(u")\\");
    if (!path.starts_with(u'\\') || open == std::u16string_view::npos || close == std::u16string_view::npos || close < open) {
        return std::nullopt;
    }
    return CounterPath{path.substr(1, open - 1), path.substr(open + 1, close - open - 1), path.substr(close + 2)};
}

// The number of the disk whose instance is called so now. It stands first in the name.
std::optional<std::uint32_t> DiskOfInstance(Machine& machine, std::u16string_view instance)
{
    const std::string name = Utf16ToUtf8(instance);
    const std::optional<std::uint64_t> number = ParseNumber(std::string_view(name).substr(0, name.find(' ')));
    const std::optional<Disk> disk =
        number && *number <= 0xFFFF ? machine.inventory.Find(static_cast<std::uint32_t>(*number)) : std::nullopt;
    const bool isCalledSo =
        disk && emulated::EqualIgnoreCase(Utf8ToUtf16(PerformanceInstance(*disk, machine.volumes.Current())), instance);
    return isCalledSo ? std::optional(disk->number) : std::nullopt;
}

std::u16string InstanceNames(Machine& machine)
{
    std::u16string names;
    const VolumeSet volumes = machine.volumes.Current();
    for (const Disk& disk : machine.inventory.Disks()) {
        names += Utf8ToUtf16(PerformanceInstance(disk, volumes));
        names += u'\0';
    }
    names += kTotal;
    names.append(2, u'\0');
    return names;
}

PdhStatus GiveNames(const std::u16string& names, char16_t* buffer, std::uint32_t* characters)
{
    const std::uint32_t room = std::exchange(*characters, static_cast<std::uint32_t>(names.size()));
    if (room < names.size()) {
        return pdh::kMoreData;
    }
    std::ranges::copy(names, buffer);
    return pdh::kOk;
}

Sample TakeSample(Machine& machine)
{
    Sample sample;
    const std::vector<Disk> disks = machine.inventory.Disks();
    const std::map<std::string, DiskStats> all = ReadAllDiskStats(machine.roots);
    sample.time = MonotonicClock(machine.calls);
    for (const Disk& disk : disks) {
        if (const std::optional<DiskStats> stats = StatsOfDisk(all, disk.name)) {
            sample.disks.emplace(disk.number, *stats);
        }
    }
    return sample;
}

}  // namespace

struct Pdh::Query {
    [[nodiscard]] PdhCounterValue Value(const Counter& counter, std::uint32_t format) const;

    std::vector<std::unique_ptr<Counter>> counters;
    std::size_t samples = 0;
    Sample before;
    Sample after;
    std::u16string instances;  // at the last sample, when a counter of every instance is there
};

PdhCounterValue Pdh::Query::Value(const Counter& counter, std::uint32_t format) const
{
    const std::size_t taken = samples - counter.sinceSample;
    const bool isGone = !counter.isTotal && (!counter.disk || !after.disks.contains(*counter.disk));
    if (taken > 0 && isGone) {
        return {pdh::kNoInstance, 0};
    }
    std::vector<DiskInterval> intervals;
    for (const auto& [number, stats] : after.disks) {
        const auto earlier = before.disks.find(number);
        if ((counter.isTotal || counter.disk == number) && earlier != before.disks.end()) {
            intervals.push_back({earlier->second, stats});
        }
    }
    const std::optional<double> value = DiskCounterValue(counter.kind, intervals, after.time - before.time);
    const bool isNew = taken < 2 || (!counter.isTotal && intervals.empty());
    if (isNew || !value) {
        return {pdh::kInvalidData, 0};
    }
    const bool isCapped = counter.kind <= DiskCounter::WriteTime && (format & pdh::kFormatNoCap100) == 0;
    return {pdh::kValidData, isCapped ? std::min(*value, 100.0) : *value};
}

Pdh::Pdh(Machine& machine) : m_Machine(machine) {}
Pdh::~Pdh() = default;

Pdh::Query* Pdh::Find(PdhQueryObject* query)
{
    const std::scoped_lock lock(m_Lock);
    const auto found = m_Queries.find(query);
    return found != m_Queries.end() ? found->second.get() : nullptr;
}

PdhStatus Pdh::OpenQuery(const char16_t* dataSource, std::uintptr_t /*userData*/, PdhQueryObject** query)
{
    if (query == nullptr || dataSource != nullptr) {
        return pdh::kInvalidArgument;  // live counters only
    }
    auto opened = std::make_unique<Query>();
    *query = reinterpret_cast<PdhQueryObject*>(opened.get());
    const std::scoped_lock lock(m_Lock);
    m_Queries.emplace(*query, std::move(opened));
    return pdh::kOk;
}

PdhStatus Pdh::EnumInstances(const char16_t* object, char16_t* buffer, std::uint32_t* characters)
{
    if (object == nullptr || characters == nullptr || (buffer == nullptr && *characters != 0)) {
        return pdh::kInvalidArgument;
    }
    if (!emulated::EqualIgnoreCase(object, kObject)) {
        return pdh::kNoObject;
    }
    return GiveNames(InstanceNames(m_Machine), buffer, characters);
}

PdhStatus Pdh::AddEnglishCounter(PdhQueryObject* query, const char16_t* path, std::uintptr_t /*userData*/,
                                 PdhCounterObject** counter)
{
    Query* opened = Find(query);
    if (opened == nullptr) {
        return pdh::kInvalidHandle;
    }
    if (path == nullptr || counter == nullptr) {
        return pdh::kInvalidArgument;
    }
    const std::optional<CounterPath> parsed = ParsePath(path);
    if (!parsed) {
        return pdh::kBadCounterName;
    }
    if (!emulated::EqualIgnoreCase(parsed->object, kObject)) {
        return pdh::kNoObject;
    }
    const std::optional<DiskCounter> kind = DiskCounterByName(parsed->counter);
    if (!kind) {
        return pdh::kNoCounter;
    }
    auto added = std::make_unique<Counter>();
    added->kind = *kind;
    added->isTotal = emulated::EqualIgnoreCase(parsed->instance, kTotal);
    added->isEvery = parsed->instance == kEveryInstance;
    added->sinceSample = opened->samples;
    if (!added->isTotal && !added->isEvery) {
        added->disk = DiskOfInstance(m_Machine, parsed->instance);
    }
    *counter = reinterpret_cast<PdhCounterObject*>(added.get());
    // A value is looked for in the counters of every query, those of other threads too.
    const std::scoped_lock lock(m_Lock);
    opened->counters.push_back(std::move(added));
    return pdh::kOk;
}

PdhStatus Pdh::CollectQueryData(PdhQueryObject* query)
{
    Query* opened = Find(query);
    if (opened == nullptr) {
        return pdh::kInvalidHandle;
    }
    if (opened->counters.empty()) {
        return pdh::kNoData;
    }
    if (std::ranges::any_of(opened->counters, [](const auto& counter) { return counter->isEvery; })) {
        opened->instances = InstanceNames(m_Machine);
    }
    opened->before = std::move(opened->after);
    opened->after = TakeSample(m_Machine);
    ++opened->samples;
    return pdh::kOk;
}

Pdh::Query* Pdh::QueryOf(PdhCounterObject* counter)
{
    for (const auto& [handle, query] : m_Queries) {
        if (std::ranges::find(query->counters, reinterpret_cast<Counter*>(counter), &std::unique_ptr<Counter>::get) !=
            query->counters.end()) {
            return query.get();
        }
    }
    return nullptr;
}

PdhStatus Pdh::CounterInstances(PdhCounterObject* counter, char16_t* buffer, std::uint32_t* characters)
{
    if (characters == nullptr || (buffer == nullptr && *characters != 0)) {
        return pdh::kInvalidArgument;
    }
    const std::scoped_lock lock(m_Lock);
    const Query* query = QueryOf(counter);
    if (query == nullptr) {
        return pdh::kInvalidHandle;
    }
    return query->instances.empty() ? pdh::kInvalidData : GiveNames(query->instances, buffer, characters);
}

PdhStatus Pdh::FormattedValue(PdhCounterObject* counter, std::uint32_t format, PdhCounterValue* value)
{
    if (value == nullptr || (format & pdh::kFormatDouble) == 0) {
        return pdh::kInvalidArgument;
    }
    const std::scoped_lock lock(m_Lock);
    const Query* query = QueryOf(counter);
    if (query == nullptr) {
        return pdh::kInvalidHandle;
    }
    *value = query->Value(*reinterpret_cast<const Counter*>(counter), format);
    return value->status == pdh::kValidData ? pdh::kOk : pdh::kNotValidYet;
}

PdhStatus Pdh::CloseQuery(PdhQueryObject* query) noexcept
{
    const std::scoped_lock lock(m_Lock);
    return m_Queries.erase(query) != 0 ? pdh::kOk : pdh::kInvalidHandle;
}

}  // namespace orbis::platform::linux_system
