// The cost of the SMART collections: decoding and mapping one disk, and whole collections of 1, 16 and 128 disks.
#include <cstdint>
#include <string>

#include <benchmark/benchmark.h>
#include <fmt/format.h>

#include "Collecting.h"
#include "Common/SmartDataFetcher.h"
#include "MessageArena.h"
#include "SmartDataGetter.h"
#include "SmartDynamicInfoRetriever.h"
#include "SmartStaticInfoRetriever.h"

namespace {

using orbis::bench::Measure;
using Veyra::Orbis::Cpp::Common::kSmartAttributeIds;
using Veyra::Orbis::Cpp::Common::SmartDataCollection;
using Veyra::Orbis::Cpp::Common::SmartDataFetcher;
using Veyra::Orbis::Plugins::SmartDataGetter;

// A machine of rotating disks, each with as many attributes as a table holds.
std::string Machine(std::int64_t disks)
{
    std::string attributes;
    for (std::size_t slot = 0; slot < 30; ++slot) {
        attributes += fmt::format("attribute {{ id: {} threshold: 10 raw: 1234567 }} ", kSmartAttributeIds[slot]);
    }
    std::string text;
    for (std::int64_t disk = 0; disk < disks; ++disk) {
        text += fmt::format(
            "disk {{ number: {} kind: SATA_HDD model: 'Bench HDD' serial: 'B{}' size: 4000787030016 ata {{ {} "
            "log_page {{ address: 0x9A text: 'CN0AB12C345678901A00' }} }} }} ",
            disk, disk, attributes);
    }
    return text;
}

void DecodeSmart(benchmark::State& state)
{
    SmartDataFetcher::Sector block{};
    for (std::size_t slot = 0; slot < 30; ++slot) {
        block[2 + 12 * slot] = kSmartAttributeIds[slot];
    }
    Measure(state, 1, [&] {
        SmartDataCollection collection;
        SmartDataFetcher::ParseSmartAttributes(collection, block);
        SmartDataFetcher::ParseSmartThresholds(collection, block);
        return collection;
    });
    state.counters["budget_ns"] = 1000;
    state.counters["budget_allocations"] = 0;
}
BENCHMARK(DecodeSmart);

// Every value of every attribute. Only the arena, its block and the name are allocated.
void MapSmartDynamic(benchmark::State& state)
{
    SmartDataCollection collection;
    collection.name = "SMART0";
    collection.attributes.fill({123456789, 100, 99, 10});
    Measure(state, 1, [&] {
        const auto arena = Veyra::Orbis::Plugins::NewMessageArena();
        return SmartDataGetter::parseCacheToIMessage<veyra::orbis::datatypes::SmartDynamicInfo>(collection, *arena);
    });
    state.counters["budget_ns"] = 3000;
    state.counters["budget_allocations"] = 8;
}
BENCHMARK(MapSmartDynamic);

template <class Retriever>
void Collect(benchmark::State& state)
{
    orbis::bench::MachineInForce machine(Machine(state.range(0)));
    orbis::bench::MeasureCollection<Retriever>(state, state.range(0), machine);
    // The walk makes a set of all disks for each disk, as documented, so the cost per disk may grow, but no faster than the number
    // of disks.
    state.counters["budget_growth"] = 128.0 / 16.0;
}
BENCHMARK(Collect<Veyra::Orbis::Plugins::SmartStaticInfoRetriever>)->Name("CollectSmartStatic")->Arg(1)->Arg(16)->Arg(128);
BENCHMARK(Collect<Veyra::Orbis::Plugins::SmartDynamicInfoRetriever>)->Name("CollectSmartDynamic")->Arg(1)->Arg(16)->Arg(128);

}  // namespace
