// The cost of the static and the dynamic collection on machines of 1, 16 and 128 disks.
#include <cstdint>
#include <string>

#include <fmt/format.h>

#include "Collecting.h"
#include "PhysicalDiskDynamicInfoRetriever.h"
#include "PhysicalDiskStaticInfoRetriever.h"

namespace {

// Every disk has IDENTIFY data, three partitions and a volume; the system's disk has the only drive letter.
std::string Machine(std::int64_t disks)
{
    std::string text = "smbios { oem_strings { text: 'first' text: '1[0A1B]' } } recovery { mini_dump_directory: 'C:/Minidump' } ";
    for (std::int64_t disk = 0; disk < disks; ++disk) {
        const std::string letter = disk == 0 ? "letter: 'C' boot: true page_file: true" : "";
        text += fmt::format("disk {{ number: {} kind: SATA_SSD model: 'Bench SSD' serial: 'B{}' size: 1000204886016 ", disk, disk);
        text += "gpt { disk_id: '00000000-0000-0000-0001-000000000000' ";
        for (int partition = 0; partition < 3; ++partition) {
            text += fmt::format("partition {{ id: '00000000-0000-0000-0002-{:012}' size: 1048576 ", 3 * disk + partition);
            text += partition == 0 ? "volume { serial: 7 " + letter + " } } " : "} ";
        }
        text += "} } ";
    }
    return text;
}

template <bool isObserved>
void CollectStatic(benchmark::State& state)
{
    orbis::bench::MachineInForce machine(Machine(state.range(0)), isObserved);
    orbis::bench::MeasureCollection<Veyra::Orbis::Plugins::PhysicalDiskStaticInfoRetriever>(state, state.range(0), machine);
    // For each disk the walk makes a set of all disks and the join reads the volumes of all disks anew, as documented. The cost per
    // disk may grow as the number of disks does, but no faster.
    state.counters["budget_growth"] = 128.0 / 16.0;
}
BENCHMARK(CollectStatic<false>)->Name("CollectStatic")->Arg(1)->Arg(16)->Arg(128);
BENCHMARK(CollectStatic<true>)->Name("ObserveStatic")->Arg(16);

// Disks with drive letters; there are at most 24 of them.
template <bool isObserved>
void CollectDynamic(benchmark::State& state)
{
    std::string text;
    for (std::int64_t disk = 0; disk < state.range(0); ++disk) {
        text += fmt::format(
            "disk {{ number: {} kind: SATA_SSD model: 'Bench SSD' serial: 'B{}' size: 1000204886016 activity {{ }} "
            "gpt {{ partition {{ size: 1048576 volume {{ letter: '{}' }} }} }} }} ",
            disk, disk, static_cast<char>('C' + disk));
    }
    orbis::bench::MachineInForce machine(text, isObserved);
    orbis::bench::MeasureCollection<Veyra::Orbis::Plugins::PhysicalDiskDynamicInfoRetriever>(state, state.range(0), machine);
}
BENCHMARK(CollectDynamic<false>)->Name("CollectDynamic")->Arg(1)->Arg(16)->Arg(24);
BENCHMARK(CollectDynamic<true>)->Name("ObserveDynamic")->Arg(16);

}  // namespace
