// The cost of the NVMe collections: one mapping of each kind, and whole collections of 1, 8 and 32 drives.
#include <cstdint>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <google/protobuf/arena.h>
#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>

#include "Collecting.h"
#include "MessageArena.h"
#include "NvmeDataGetter.h"
#include "NvmeIdentifyControllerDataRetriever.h"
#include "NvmeMapping.h"
#include "SmartNvmeInfoRetriever.h"

namespace {

using google::protobuf::Arena;
using google::protobuf::Message;
using orbis::bench::MachineInForce;
using orbis::bench::Measure;
namespace NvmeMapping = Veyra::Orbis::Plugins::NvmeMapping;
using Veyra::Orbis::Plugins::NvmeDataGetter;

// An ordinary NVMe drive with five power states.
constexpr const char* kDrive = R"pb(
    kind: NVME
    model: "Bench NVMe 1 TB"
    firmware: "1.0.0"
    size: 1000204886016
    nvme {
      power_state { max_power: 850 }
      power_state { max_power: 550 }
      power_state { max_power: 400 }
      power_state { max_power: 5 entry_latency: 4000 exit_latency: 2000 non_operational: true }
      power_state { max_power: 3 entry_latency: 4000 exit_latency: 30000 non_operational: true }
      identify { offset: 112 hex: "0123456789ABCDEF0123456789ABCDEF" }
      health {
        data_units_read: 123457
        data_units_written: 234567
        host_read_commands: 345679
        host_write_commands: 456789
        controller_busy_time: 567891
        power_cycles: 6789
        power_on_hours: 7891
        unsafe_shutdowns: 91
        media_errors: 1
        error_log_entries: 11
        temperature_sensor: 310
        temperature_sensor: 320
      }
    }
)pb";

// The description of a machine with such drives.
std::string Machine(std::int64_t drives)
{
    std::string text;
    for (std::int64_t i = 0; i < drives; ++i) {
        const auto number = std::to_string(i);
        text += "disk { number: " + number + " serial: \"BENCH-" + number + "\"" + kDrive + "}\n";
    }
    return text;
}

// The message and its sub-messages, without the wrappers of single values.
std::int64_t Messages(const Message& message)
{
    std::int64_t count = 1;
    std::vector<const google::protobuf::FieldDescriptor*> fields;
    message.GetReflection()->ListFields(message, &fields);
    for (const auto* field : fields) {
        if (field->message_type() == nullptr || field->message_type()->file()->name() == "google/protobuf/wrappers.proto") {
            continue;
        }
        if (field->is_repeated()) {
            for (int i = 0; i < message.GetReflection()->FieldSize(message, field); ++i) {
                count += Messages(message.GetReflection()->GetRepeatedMessage(message, field, i));
            }
        } else {
            count += Messages(message.GetReflection()->GetMessage(message, field));
        }
    }
    return count;
}

// The budget of a mapping: `nanoseconds`, three allocations for each message, and one for each of its byte arrays, which protobuf
// keeps outside the arena.
template <class Object, class Map>
void MeasureMapping(benchmark::State& state, Object* object, Map map, double nanoseconds, double byteArrays)
{
    const auto held = NvmeMapping::TakeOwnership(object);
    const auto arena = Veyra::Orbis::Plugins::NewMessageArena();
    const auto messages = Messages(*map(held.get(), *arena));
    Measure(state, 1, [&] {
        const auto one = Veyra::Orbis::Plugins::NewMessageArena();
        return map(held.get(), *one);
    });
    state.counters["budget_ns"] = nanoseconds;
    state.counters["budget_allocations"] = 3.0 * static_cast<double>(messages) + byteArrays;
}

void MapIdentify(benchmark::State& state)
{
    const MachineInForce machine(Machine(1));
    MeasureMapping(state, SXNvmNewIdentifyControllerData(0), NvmeDataGetter::toIdentifyControllerData, 5000, 3);
}
BENCHMARK(MapIdentify);

void MapHealth(benchmark::State& state)
{
    const MachineInForce machine(Machine(1));
    MeasureMapping(state, SXNvmNewHealthInfo(0), NvmeDataGetter::toNvmeHealthInfo, 2000, 10);
}
BENCHMARK(MapHealth);

template <class Retriever, bool isObserved = false>
void Collect(benchmark::State& state)
{
    MachineInForce machine(Machine(state.range(0)), isObserved);
    orbis::bench::MeasureCollection<Retriever>(state, state.range(0), machine);
}
BENCHMARK(Collect<Veyra::Orbis::Plugins::NvmeIdentifyControllerDataRetriever>)->Name("CollectIdentify")->Arg(1)->Arg(8)->Arg(32);
BENCHMARK(Collect<Veyra::Orbis::Plugins::NvmeIdentifyControllerDataRetriever, true>)->Name("ObserveIdentify")->Arg(8);
BENCHMARK(Collect<Veyra::Orbis::Plugins::SmartNvmeInfoRetriever, true>)->Name("ObserveHealth")->Arg(8);
BENCHMARK(Collect<Veyra::Orbis::Plugins::SmartNvmeInfoRetriever>)->Name("CollectHealth")->Arg(1)->Arg(8)->Arg(32);

}  // namespace
