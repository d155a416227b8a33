#include <algorithm>

#include "Activity.h"
#include "MachineState.h"
#include "emulated/CaseFolding.h"
#include "emulated/Pdh.h"

namespace orbis::simulated {
namespace {

using platform::emulated::EqualIgnoreCase;
namespace pdh = platform::pdh;

// Counters that are computed from the disks' activity, and those that the description records.
class DiskCounters final : public platform::emulated::PdhFacts {
public:
    explicit DiskCounters(MachineState& machine) : m_Machine(machine) {}

    std::vector<std::string> DiskInstances() override
    {
        std::vector<std::string> names;
        for (const DiskModel* disk : m_Machine.PresentDisks()) {
            names.push_back(CounterInstanceAt(*disk, m_Machine.clock.Seconds()).name);
        }
        return names;
    }

    platform::emulated::DiskSample SampleDisks() override
    {
        for (const description::CounterObject& object : m_Machine.description.counter_object()) {
            m_Machine.Delay(object.delay(), object.never());
        }
        m_Machine.clock.Advance(std::chrono::milliseconds(m_Machine.description.sample_step_ms()));
        platform::emulated::DiskSample sample;
        sample.seconds = m_Machine.clock.Seconds();
        for (const DiskModel* disk : m_Machine.PresentDisks()) {
            const CounterInstance instance = CounterInstanceAt(*disk, sample.seconds);
            ActivityTotals totals = TotalsAt(*disk, sample.seconds);
            if (instance.since > 0) {
                totals.Add(TotalsAt(*disk, instance.since), -1);
            }
            totals.busyTime = sample.seconds - instance.since - totals.idleTime;
            sample.disks.emplace_back(instance.name, totals);
        }
        return sample;
    }

    std::optional<platform::emulated::InstanceList> RecordedInstances(const std::string& object) override
    {
        const description::CounterObject* recorded = FindObject(object);
        if (recorded == nullptr ||
            (recorded->instances_error() == 0 && recorded->instance_size() == 0 && object == "physicaldisk")) {
            return std::nullopt;
        }
        return platform::emulated::InstanceList{recorded->instances_error(),
                                                {recorded->instance().begin(), recorded->instance().end()}};
    }

    platform::emulated::RecordedCounter FindRecorded(const platform::emulated::CounterPath& path) override
    {
        const description::CounterObject* object = FindObject(path.object);
        if (object == nullptr) {
            return nullptr;
        }
        for (const auto& counter : object->counter()) {
            if (EqualIgnoreCase(counter.instance(), path.instance) && EqualIgnoreCase(counter.name(), path.counter)) {
                return [&counter](std::size_t samples) -> platform::PdhCounterValue {
                    const int last = std::min(static_cast<int>(samples), counter.sample_size()) - 1;
                    if (last < 0) {
                        return {pdh::kInvalidData, 0};
                    }
                    return {counter.sample(last).status(), counter.sample(last).value()};
                };
            }
        }
        return nullptr;
    }

private:
    const description::CounterObject* FindObject(const std::string& name) const
    {
        const auto& objects = m_Machine.description.counter_object();
        const auto found = std::ranges::find_if(objects, [&](const auto& object) { return EqualIgnoreCase(object.name(), name); });
        return found != objects.end() ? &*found : nullptr;
    }

    MachineState& m_Machine;
};

}  // namespace

std::unique_ptr<platform::emulated::PdhFacts> MakeDiskCounters(MachineState& machine)
{
    return std::make_unique<DiskCounters>(machine);
}

}  // namespace orbis::simulated
