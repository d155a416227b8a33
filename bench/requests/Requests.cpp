// Counts the requests that one pass of each collection makes, on simulated machines of 1, 6 and 32 disks, and prints a JSON array.
#include <array>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include <fmt/format.h>

#include "HostSdk/ItemId.h"
#include "StorageCollectorPlugin.h"
#include "insight/Journal.h"
#include "platform/Platform.h"
#include "platform/Text.h"
#include "simulated/MachineFile.h"

namespace {

namespace call = orbis::insight::call;
using orbis::insight::Record;
using orbis::platform::Utf16ToUtf8;
using Veyra::Orbis::Plugins::StorageCollectorPlugin;

// Every second disk is an NVMe drive, the others are SATA SSDs that report their marketed size; the first six have a drive letter.
std::string Machine(int disks)
{
    std::string text = "sample_step_ms: 1000 smbios { oem_strings { text: 'first' text: '1[0A1B]' } } ";
    for (int disk = 0; disk < disks; ++disk) {
        const std::string letter = disk < 6 ? fmt::format("letter: '{}'", static_cast<char>('C' + disk)) : std::string();
        text += fmt::format(
            "disk {{ number: {0} model: 'Counted' serial: 'C{0}' firmware: '1' size: 1000204886016 {1} gpt {{ disk_id: "
            "'00000000-0000-0000-0001-{0:012}' partition {{ id: '00000000-0000-0000-0002-{0:012}' size: 1048576 volume {{ serial: "
            "7 "
            "{2} }} }} partition {{ id: '00000000-0000-0000-0003-{0:012}' size: 1048576 }} }} activity {{ }} }} ",
            disk, disk % 2 == 0 ? "kind: NVME nvme { health { } }" : "kind: SATA_SSD ata { log_page { address: 0x9A text: 'X' } }",
            letter);
    }
    return text;
}

std::string Hex(const orbis::insight::Bytes& bytes)
{
    std::string text;
    for (const std::uint8_t byte : bytes) {
        text += fmt::format("{:02x}", byte);
    }
    return text;
}

// The kinds of requests that reach another process, a driver or the firmware.
enum Kind : std::size_t { Connections, Queries, Rows, Opens, Requests, Walks, FirmwareReads, CounterListings, kKinds };
constexpr std::array<const char*, kKinds> kNames{"connections", "queries",      "rows",           "opens",
                                                 "requests",    "device_walks", "firmware_reads", "counter_listings"};

struct Counted {
    Kind kind;
    std::string what;  // the same for identical requests
};

std::optional<Counted> Count(const Record& record)
{
    if (const auto* connect = record.As<call::ConnectServer>()) {
        return Counted{Connections, Utf16ToUtf8(connect->path)};
    }
    if (const auto* query = record.As<call::ExecQuery>()) {
        return Counted{Queries, Utf16ToUtf8(query->query->space + u' ' + query->query->text)};
    }
    if (const auto* next = record.As<call::Next>()) {
        const auto row = Counted{Rows, fmt::format("{} {}", Utf16ToUtf8(next->query->text), next->rowIndex)};
        return next->returned > 0 ? std::optional(row) : std::nullopt;
    }
    if (const auto* open = record.As<call::Open>()) {
        return Counted{Opens, fmt::format("{} {}", Utf16ToUtf8(open->device->path), open->device->access)};
    }
    if (const auto* control = record.As<call::Control>()) {
        return Counted{Requests, fmt::format("{} {} {} {}", Utf16ToUtf8(control->device->path), control->code,
                                             Hex(control->request), Hex(control->dataBefore))};
    }
    if (record.As<call::ClassDevices>() != nullptr) {
        return Counted{Walks, {}};
    }
    if (const auto* firmware = record.As<call::SystemFirmwareTable>()) {
        return Counted{FirmwareReads, fmt::format("{} {}", firmware->provider, firmware->content.size())};
    }
    if (const auto* listing = record.As<call::EnumInstances>()) {
        return Counted{CounterListings, fmt::format("{} {}", Utf16ToUtf8(listing->object), listing->charactersBefore)};
    }
    if (const auto* listing = record.As<call::CounterInstances>()) {
        return Counted{CounterListings, fmt::format("{} {}", listing->path ? Utf16ToUtf8(*listing->path) : std::string(),
                                                    listing->charactersBefore)};
    }
    return std::nullopt;
}

struct Collection {
    const char* name;
    std::function<void(StorageCollectorPlugin&)> collect;
};

template <class Operation>
Collection Of(const char* name, Operation operation)
{
    return {name, [operation](StorageCollectorPlugin& plugin) {
                static_cast<void>((plugin.*operation)(Veyra::Orbis::Sdk::Common::Identifiers::ItemId::All(), {}));
            }};
}

const std::array<Collection, 6> kCollections{{
    Of("PhysicalDiskStaticInfo", &StorageCollectorPlugin::CollectPhysicalDiskStaticInfo),
    Of("PhysicalDiskDynamicInfo", &StorageCollectorPlugin::CollectPhysicalDiskDynamicInfo),
    Of("SmartStaticInfo", &StorageCollectorPlugin::CollectSmartStaticInfo),
    Of("SmartDynamicInfo", &StorageCollectorPlugin::CollectSmartDynamicInfo),
    Of("SmartNvmeInfo", &StorageCollectorPlugin::CollectSmartNvmeInfo),
    Of("NvmeIdentifyControllerData", &StorageCollectorPlugin::CollectNvmeIdentifyControllerData),
}};

// The second pass of a plug-in object, so that objects which are made once and kept do not count.
std::string CountOne(const Collection& collection, int disks)
{
    const auto machine = orbis::simulated::ParseMachine(Machine(disks));
    orbis::insight::Journal journal(*machine);
    orbis::platform::Platform::Replace(&journal);
    std::vector<Record> records;
    {
        StorageCollectorPlugin plugin(nullptr);
        collection.collect(plugin);
        static_cast<void>(journal.Take());
        collection.collect(plugin);
        records = journal.Take().records;
    }
    orbis::platform::Platform::Replace(nullptr);

    std::array<std::uint64_t, kKinds> counts{};
    std::uint64_t repeats = 0;
    std::set<std::string> seen;
    for (const Record& record : records) {
        if (const auto counted = Count(record)) {
            ++counts[counted->kind];
            repeats += seen.insert(fmt::format("{} {}", static_cast<int>(counted->kind), counted->what)).second ? 0 : 1;
        }
    }
    std::string text = fmt::format(R"({{"collection": "{}", "disks": {}, "repeats": {})", collection.name, disks, repeats);
    for (std::size_t kind = 0; kind < kKinds; ++kind) {
        text += fmt::format(R"(, "{}": {})", kNames[kind], counts[kind]);
    }
    return text + "}";
}

}  // namespace

int main()
{
    std::string text;
    for (const Collection& collection : kCollections) {
        for (const int disks : {1, 6, 32}) {
            text += (text.empty() ? "[" : ",\n ") + CountOne(collection, disks);
        }
    }
    std::puts((text + "]").c_str());
    return 0;
}
