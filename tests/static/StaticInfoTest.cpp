// The static collector: what it says of a disk, when it says nothing, and its deliberate oddities.
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <fmt/format.h>
#include <gmock/gmock.h>

#include "HostSdk/Exceptions.h"
#include "JournalInForce.h"
#include "MachineInForce.h"
#include "PhysicalDiskStaticInfoRetriever.h"
#include "RecordingLog.h"

namespace Veyra::Orbis::Plugins {
namespace {

using orbis::fakes::LogLine;
using orbis::fakes::MachineInForce;
using orbis::fakes::RecordingLog;
using Sdk::Common::Identifiers::ItemId;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Message = PhysicalDiskStaticInfoRetriever::Message;

constexpr const char* kFile = "Plugins\\StorageCollector\\PhysicalDiskStaticInfoRetriever";

LogLine Getting(const std::string& text)
{
    return {"Debug", text, kFile, "Veyra::Orbis::Plugins::PhysicalDiskStaticInfoRetriever::GetStaticDiskData"};
}
LogLine Collecting(const std::string& level, const std::string& text)
{
    return {level, text, kFile, "Veyra::Orbis::Plugins::PhysicalDiskStaticInfoRetriever::CollectData"};
}

// Collects every disk.
std::vector<Message> CollectAll(const std::shared_ptr<RecordingLog>& log = std::make_shared<RecordingLog>())
{
    const auto items = PhysicalDiskStaticInfoRetriever(log).CollectData(ItemId::All());
    EXPECT_TRUE(items.has_value()) << "an empty list is not no list";
    std::vector<Message> messages;
    for (const auto& item : items.value()) {
        EXPECT_EQ(item.ItemId().ToString(), item.Value()->device_instance_id());
        messages.push_back(*item.Value());
    }
    return messages;
}

// A thousand cylinders of a thousand times 2^20 bytes.
constexpr const char* kMillionUnits = R"(exchange { control_code: 0x70000
    output { hex: "40420F0000000000 0C000000 01000000 00080000 00020000" } } )";
constexpr const char* kOem = R"(smbios { oem_strings { text: "first" text: "1[0A1B]" } } )";

std::string Gpt(unsigned partitions, const std::string& more = "")
{
    std::string text = R"(disk { number: 4 kind: SATA_HDD model: "HD" firmware: "FW 1" size: 0 pnp_device_id: "SCSI\\4"
                          gpt { disk_id: "11111111-2222-3333-4444-555555555555" )";
    for (unsigned number = 1; number <= partitions; ++number) {
        text += fmt::format("partition {{ id: '0000000{}-0000-0000-0000-000000000000' size: 2097152 name: 'f\u00FCr' ", number);
        text += number == 1 ? "volume { letter: 'C' serial: 0x1234ABCD boot: true } }" : "}";
    }
    return text + "} " + more + "} ";
}

// Three assignments stand inside the loop over the partitions.
TEST(StaticInfo, ReadsTheFirmwareOncePerPartition)
{
    for (const unsigned partitions : {0U, 1U, 3U}) {
        const MachineInForce machine(Gpt(partitions, kMillionUnits) + kOem);
        orbis::fakes::JournalInForce journal;
        const auto messages = CollectAll();
        ASSERT_EQ(messages.size(), 1U);
        EXPECT_EQ(messages[0].has_firmware_revision(), partitions > 0);
        EXPECT_EQ(messages[0].has_namespace_marketed_size_in_gb(), partitions > 0);
        EXPECT_EQ(messages[0].has_oem_type208_system_id(), partitions > 0);
        EXPECT_EQ(journal.Take<orbis::insight::call::SystemFirmwareTable>().size(), 2U * partitions) << "the size, and the table";
    }
}

TEST(StaticInfo, TypeAndCapabilityByMedia)
{
    for (const auto& [media, type, words] : std::vector<std::tuple<int, int, std::string>>{{0, 0, "Unknown"},
                                                                                           {1, 0, "Unknown"},
                                                                                           {3, 3, "HardDrive HDD"},
                                                                                           {4, 4, "HardDrive SSD"},
                                                                                           {5, 5, "HardDrive SCM"},
                                                                                           {6, 0, "Unknown"}}) {
        const MachineInForce machine(Gpt(0, fmt::format("media_type: {}", media)));
        const auto messages = CollectAll();
        ASSERT_EQ(messages.size(), 1U);
        EXPECT_TRUE(messages[0].has_type());
        EXPECT_EQ(static_cast<int>(messages[0].type()), type);
        EXPECT_EQ(fmt::format("{}", fmt::join(messages[0].capability(), " ")), words);
    }
}

TEST(StaticInfo, SystemIdIsTheSecondOemString)
{
    for (const auto& [structures, expected] : std::vector<std::pair<std::string, std::string>>{
             {"oem_strings { text: 'a' text: '1[0A1B]' }", "0A1B"},
             {"oem_strings { text: 'only one' } oem_strings { text: 'a' text: 'second' text: 'third' }", "second"},
             {"oem_strings { text: 'a' text: '1[x]y]11[[z' }", "xy1[z"},  // what a removal joins together stays
             {"oem_strings { text: 'a' text: '1[1[x]]' }", "x"},
             {"oem_strings { text: 'a' count: 2 } oem_strings { text: 'b' text: 'c' }", ""},  // claimed, not stored
             {"oem_strings { count: 0 text: 'a' text: 'b' }", ""},
             {"structure { type: 11 }", ""},  // no byte that counts
             {"", ""},
         }) {
        const MachineInForce machine("smbios {" + structures + "}");
        EXPECT_EQ(PhysicalDiskStaticInfoRetriever(nullptr).GetOEMStringsfromBIOS(), expected) << structures;
    }
    const MachineInForce machine("");
    EXPECT_EQ(PhysicalDiskStaticInfoRetriever(nullptr).GetOEMStringsfromBIOS(), "") << "no table";
}

// The reverse of every other collector.
TEST(StaticInfo, AnIdThatExistsFailsAndOneThatDoesNotIsAnsweredWithNothing)
{
    const MachineInForce machine(Gpt(0));
    const auto log = std::make_shared<RecordingLog>();
    PhysicalDiskStaticInfoRetriever retriever(log);
    using Sdk::Exceptions::ArgumentOutOfRangeException;
    EXPECT_THAT([&] { static_cast<void>(retriever.CollectData(ItemId("Disk_SCSI\\4"))); },
                ::testing::Throws<ArgumentOutOfRangeException>(
                    ::testing::Property(&ArgumentOutOfRangeException::Message, "cannot find data with specific ID: Disk_SCSI\\4")));
    log->lines.clear();
    const auto items = retriever.CollectData(ItemId("Disk_{0}")).value();
    ASSERT_EQ(items.size(), 1U);
    EXPECT_EQ(items[0].Value(), nullptr);
    EXPECT_EQ(items[0].ItemId().ToString(), "Disk_{0}");
    EXPECT_EQ(items[0].Time(), machine->TimePort().UtcNow());
    EXPECT_THAT(log->lines, ElementsAre(Getting("got disk index: '4', name: 'DISK4'"),
                                        Collecting("Trace", "Specific data for PhysicalDiskStaticInfoCollector, itemId : Disk_{0}"),
                                        Collecting("Trace", "Got total info for PhysicalDiskStaticInfoCollector: 1")));
}

TEST(StaticInfo, SkipsADiskOfWhichNothingIsKnown)
{
    const std::string empty = "disk { number: 1 kind: NVME media_type: 0 size: 0 pnp_device_id: 'X{1}' } ";
    const auto log = std::make_shared<RecordingLog>();
    const LogLine skip = Getting("Skip Disk_X{1}: due to zero size, unknown media type, and GUID is empty.");
    {
        const MachineInForce machine(empty + Gpt(0));
        EXPECT_EQ(CollectAll(log).size(), 1U);
        EXPECT_THAT(log->lines, ElementsAre(skip, Getting("got disk index: '4', name: 'DISK4'"),
                                            Collecting("Trace", "Got total info for PhysicalDiskStaticInfoCollector: 1")));
    }
    log->lines.clear();
    const MachineInForce machine(empty);
    EXPECT_THAT(CollectAll(log), IsEmpty());
    EXPECT_THAT(log->lines, ElementsAre(skip, Collecting("Debug", "No disk data been reached out")));
}

TEST(StaticInfo, ContinuesWithoutMediaTypes)
{
    const std::string invalid =
        R"(row_change { class_name: "MSFT_PhysicalDisk" property { name: "DeviceId" text: "\303\244{0}" } })";
    const auto log = std::make_shared<RecordingLog>();
    const MachineInForce machine(Gpt(1, invalid) + "code_page: 1252");
    const auto messages = CollectAll(log);
    ASSERT_EQ(messages.size(), 1U);
    EXPECT_EQ(static_cast<int>(messages[0].type()), 0);
    // Intentional: WMI's text is UTF-8 and is decoded in the system's code page.
    EXPECT_THAT(log->lines.at(0), Getting("GetStaticDiskData(): occur exception in FetchMediaTypes(): "
                                          "PhysicalDiskInfoFetcher::FetchMediaTypes: Invalid device id :\u00C3\u00A4{0}"));
    EXPECT_EQ(messages[0].partitions(0).name(), "f\u00FCr") << "a partition's name is as the disk has it";
}

TEST(StaticInfo, ADiskWithoutAnInventoryRowIsKeptUnderTheBareId)
{
    const std::string drop = "row_change { class_name: 'Win32_DiskDrive' drop: true } ";
    const std::string disk = "disk { number: 1 kind: NVME model: 'M' size: 1048576 " + drop;
    {
        const MachineInForce machine(disk + "}");
        const auto messages = CollectAll();
        ASSERT_EQ(messages.size(), 1U);
        EXPECT_EQ(messages[0].device_instance_id(), "Disk_");
        EXPECT_TRUE(messages[0].has_make_model());
        EXPECT_EQ(messages[0].make_model(), "");
    }
    const MachineInForce machine(disk + "} " + "disk { number: 2 kind: NVME size: 1048576 " + drop + "}");
    EXPECT_THROW(static_cast<void>(CollectAll()), Sdk::Exceptions::ArgumentException) << "two disks of one id";
}

TEST(StaticInfo, UsesInventoryModelWhenDriveReportsNone)
{
    const MachineInForce machine("disk { kind: NVME model: 'M' windows_model: 'From WMI' size: 1048576 }");
    EXPECT_EQ(CollectAll().at(0).make_model(), "From WMI");
}

TEST(StaticInfo, CollectsForOneCallerAtATime)
{
    const MachineInForce machine(Gpt(1) +
                                 "disk { number: 1 kind: NVME size: 1048576 } disk { number: 2 kind: NVME size: 1048576 }");
    const auto log = std::make_shared<RecordingLog>();
    PhysicalDiskStaticInfoRetriever retriever(log);
    const auto collect = [&retriever] {
        for (int round = 0; round < 20; ++round) {
            EXPECT_EQ(retriever.CollectData(ItemId::All())->size(), 3U);
        }
    };
    std::thread other(collect);
    collect();
    other.join();
    ASSERT_EQ(log->lines.size(), 2U * 20 * 4);
    for (std::size_t at = 0; at < log->lines.size(); at += 4) {
        EXPECT_THAT(log->lines[at + 3].message, ::testing::StartsWith("Got total info"));
        for (std::size_t line = at; line < at + 4; ++line) {
            EXPECT_EQ(log->threads[line], log->threads[at]) << "another caller's line inside a collection";
        }
    }
}

}  // namespace
}  // namespace Veyra::Orbis::Plugins
