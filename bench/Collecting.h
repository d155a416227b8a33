#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include <benchmark/benchmark.h>

#include "Heap.h"
#include "HostSdk/IZelLog.h"
#include "HostSdk/ItemId.h"
#include "Instructions.h"
#include "insight/Journal.h"
#include "platform/Platform.h"
#include "simulated/MachineFile.h"

// Shared by the benchmarks of collections.
namespace orbis::bench {

class NullLog final : public Veyra::Orbis::Common::IZelLog {
    using Text = std::string_view;
    IZelLog& Error(Text, std::int32_t, Text, Text) override { return *this; }
    IZelLog& Error(const Veyra::Orbis::Sdk::Exceptions::HostException&, std::int32_t, Text, Text) override { return *this; }
    IZelLog& Warning(Text, std::int32_t, Text, Text) override { return *this; }
    IZelLog& Debug(Text, std::int32_t, Text, Text) override { return *this; }
    IZelLog& Trace(Text, std::int32_t, Text, Text) override { return *this; }
};

// A simulated machine, installed for the life of the object; if observed, with the journal over it.
class MachineInForce {
public:
    explicit MachineInForce(std::string_view text, bool isObserved = false)
        : m_Machine(simulated::ParseMachine(text)), m_Journal(isObserved ? std::make_unique<insight::Journal>(*m_Machine) : nullptr)
    {
        platform::Platform::Replace(m_Journal != nullptr ? static_cast<platform::Platform*>(m_Journal.get()) : m_Machine.get());
    }
    MachineInForce(const MachineInForce&) = delete;
    MachineInForce& operator=(const MachineInForce&) = delete;
    ~MachineInForce() { platform::Platform::Replace(nullptr); }

    // Empties the journal, as a host does after each pass.
    void EndPass()
    {
        if (m_Journal != nullptr) {
            benchmark::DoNotOptimize(m_Journal->Take());
        }
    }

private:
    std::unique_ptr<simulated::Machine> m_Machine;
    std::unique_ptr<insight::Journal> m_Journal;
};

// Runs `work` on `drives` drives and reports the heap allocations and instructions for each drive, and the peak of the memory that
// one run allocated.
template <class Work>
void Measure(benchmark::State& state, std::int64_t drives, Work work)
{
    benchmark::DoNotOptimize(work());  // so that objects which are made once and kept do not count
    ResetHeapPeak();
    const HeapUse before = Heap();
    const Instructions instructions;
    for (auto _ : state) {
        benchmark::DoNotOptimize(work());
    }
    const auto count = instructions.Count();
    const HeapUse after = Heap();
    const double runs = static_cast<double>(state.iterations()) * static_cast<double>(drives);
    state.counters["drives"] = static_cast<double>(drives);
    state.counters["allocations"] = static_cast<double>(after.allocations - before.allocations) / runs;
    state.counters["peak_bytes"] = static_cast<double>(after.peak - before.bytes);
    if (count) {
        state.counters["instructions"] = static_cast<double>(*count) / runs;
    }
}

// Collects one datatype of a whole machine of `drives` drives.
template <class Retriever>
void MeasureCollection(benchmark::State& state, std::int64_t drives, MachineInForce& machine)
{
    Retriever retriever(std::make_shared<NullLog>());
    Measure(state, drives, [&] {
        const auto count = retriever.CollectData(Veyra::Orbis::Sdk::Common::Identifiers::ItemId::All())->size();
        machine.EndPass();
        return count;
    });
}

}  // namespace orbis::bench
