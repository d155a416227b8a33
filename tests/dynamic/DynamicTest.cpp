// The dynamic collection on simulated machines, whose counters are computed or recorded in the machine file.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "HostSdk/Exceptions.h"
#include "MachineInForce.h"
#include "PhysicalDiskDynamicInfoRetriever.h"
#include "RecordingLog.h"
#include "platform/Forwarding.h"

namespace {

using orbis::fakes::LogLine;
using orbis::fakes::MachineInForce;
using orbis::fakes::RecordingLog;
using orbis::simulated::FaultKind;
using Veyra::Orbis::Plugins::PhysicalDiskDynamicInfoRetriever;
using Veyra::Orbis::Sdk::Common::Identifiers::ItemId;
namespace pdh = orbis::platform::pdh;

constexpr const char* kFile = R"(Plugins\StorageCollector\PhysicalDiskDynamicInfoRetriever)";
const std::string kClass = "Veyra::Orbis::Plugins::PhysicalDiskDynamicInfoRetriever::";
constexpr const char* kHotPlug =
    "it seems the number of disk names is greater than the number of PDH counters, which means the disk might be inserted. Refresh "
    "PDH query now.";

// Disks 0 (C: and D:), 1 (E:), and disk 2 without any data: no size, no identifier, no media type. Counters need time
// between their samples.
constexpr const char* kMachine = R"(sample_step_ms: 1000
disk { number: 0 kind: NVME model: "M0" serial: "S0" firmware: "F0" size: 1000204886016 pnp_device_id: "PNP0"
  bytes_read_before: 3145728 bytes_written_before: 1048575
  gpt { disk_id: "11111111-0000-0000-0000-000000000001"
    partition { size: 1073741824 id: "11111111-0000-0000-0000-0000000000c0" volume { letter: "C" } }
    partition { size: 1073741824 id: "11111111-0000-0000-0000-0000000000d0" volume { letter: "D" activity_share: 1 } } } }
disk { number: 1 kind: SATA_SSD model: "M1" serial: "S1" firmware: "F1" size: 1000204886016 pnp_device_id: "PNP1"
  gpt { disk_id: "22222222-0000-0000-0000-000000000001"
    partition { size: 1073741824 id: "22222222-0000-0000-0000-0000000000e0" volume { letter: "E" } } } }
disk { number: 2 kind: USB_STICK model: "M2" serial: "S2" firmware: "F2" size: 0 media_type: 0 pnp_device_id: "PNP2" arrives_at: 1000 }
)";

std::string Counter(const std::string& instance, const std::string& name, const std::string& samples)
{
    return fmt::format("counter {{ instance: '{}' name: '{}' {} }} ", instance, name, samples);
}
// Instances that are not those of the disks, all of whose counters are zero.
std::string Instances(const std::vector<std::string>& names)
{
    std::string text;
    for (const std::string& instance : names) {
        text += "instance: '" + instance + "' ";
        for (const char* name : {"% Idle Time", "% Disk Read Time", "% Disk Write Time", "Disk Read Bytes/sec",
                                 "Disk Write Bytes/sec", "Avg. Disk sec/Read", "Avg. Disk sec/Write"}) {
            text += Counter(instance, name, "sample {}");
        }
    }
    return text;
}
std::string Counters(const std::string& recorded) { return "counter_object { name: 'PhysicalDisk' " + recorded + "}"; }

// The value that a field of the message wraps.
template <class Wrapper>
auto ValueOf(const google::protobuf::Message& message, const std::string& field)
{
    const auto* descriptor = message.GetDescriptor()->FindFieldByName(field);
    return dynamic_cast<const Wrapper&>(message.GetReflection()->GetMessage(message, descriptor)).value();
}

// Counters that report success and no value.
class SuccessWithoutValue final : public orbis::platform::ForwardingPlatform, private orbis::platform::ForwardingPdh {
public:
    SuccessWithoutValue() : ForwardingPlatform(Platform::Current()), ForwardingPdh(Inner().PdhPort()) { Replace(this); }
    ~SuccessWithoutValue() override { Replace(&Inner()); }
    Pdh& PdhPort() noexcept override { return *this; }

private:
    orbis::platform::PdhStatus FormattedValue(orbis::platform::PdhCounterObject* counter, std::uint32_t format,
                                              orbis::platform::PdhCounterValue* value) override
    {
        static_cast<void>(ForwardingPdh::FormattedValue(counter, format, value));
        value->status = pdh::kNoInstance;
        return pdh::kOk;
    }
};

class Dynamic : public testing::Test {
protected:
    ~Dynamic() override { retriever.reset(); }

    void Use(const std::string& text)
    {
        retriever.reset();
        machine.reset();
        machine.emplace(text);
    }
    void Construct() { retriever.emplace(log); }
    // A collection of everything; constructs the retriever when there is none.
    auto Collect()
    {
        if (!retriever) {
            Construct();
        }
        return *retriever->CollectData(ItemId::All());
    }
    // The message of a disk, or an empty one when it has none.
    static PhysicalDiskDynamicInfoRetriever::Message Of(const auto& items, const char* pnp)
    {
        const auto found = std::find_if(items.begin(), items.end(),
                                        [&](const auto& item) { return item.ItemId() == ItemId(std::string("Disk_") + pnp); });
        return found == items.end() ? PhysicalDiskDynamicInfoRetriever::Message() : *found->Value();
    }
    // Whether a line was logged; lines about media types and skipped disks are not of interest here.
    bool Logged(const std::string& level, const std::string& text, const std::string& operation) const
    {
        return std::find(log->lines.begin(), log->lines.end(), LogLine{level, text, kFile, kClass + operation}) != log->lines.end();
    }

    std::optional<MachineInForce> machine{kMachine};
    std::shared_ptr<RecordingLog> log = std::make_shared<RecordingLog>();
    std::optional<PhysicalDiskDynamicInfoRetriever> retriever;
};

// Expected values were worked out outside this program, in single precision.
TEST_F(Dynamic, ConvertsInSinglePrecision)
{
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    constexpr std::uint64_t kHighest = std::numeric_limits<std::uint64_t>::max();
    struct Case {
        const char* counter;
        const char* field;
        double raw;
        float value;
        std::uint64_t obsolete = 0;
    };
    const Case cases[] = {
        {"% Idle Time", "idle_time_percentage", 0, 0, 0},
        {"% Idle Time", "idle_time_percentage", 55.9, 55.9F, 55},
        {"% Idle Time", "idle_time_percentage", 100.7, 100, 100},
        {"% Idle Time", "idle_time_percentage", kInfinity, 100, 100},
        {"% Disk Read Time", "read_time_percentage", 100, 100, 100},
        {"% Disk Read Time", "read_time_percentage", 1e30, 100, 100},
        {"% Disk Write Time", "write_time_percentage", -5, -5, 0},
        {"% Disk Write Time", "write_time_percentage", 99.99, 99.99F, 99},
        {"Disk Read Bytes/sec", "byte_read_per_sec_in_MB", 3.0 * 1048576, 3, 3},
        {"Disk Read Bytes/sec", "byte_read_per_sec_in_MB", 1234567, 1.1773748397827148F, 1},
        {"Disk Read Bytes/sec", "byte_read_per_sec_in_MB", kInfinity, std::numeric_limits<float>::infinity(), kHighest},
        {"Disk Write Bytes/sec", "byte_write_per_sec_in_MB", 5e9, 4768.37158203125F, 4768},
        {"Disk Write Bytes/sec", "byte_write_per_sec_in_MB", 1e30, 9.53674330756632e+23F, kHighest},
        {"Avg. Disk sec/Read", "avg_disk_MS_per_read", 0.0042, 4.199999809265137F},
        {"Avg. Disk sec/Write", "avg_disk_MS_per_write", 1e-30, 1.0000000272452012e-27F},
    };
    const auto collect = [this](const char* counter, double raw) {
        Use(kMachine + Counters(Counter("1 E:", counter, fmt::format("sample {{ value: {} }}", raw))));
        return Of(Collect(), "PNP1");
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(fmt::format("{} of {}", one.counter, one.raw));
        const auto message = collect(one.counter, one.raw);
        EXPECT_EQ(ValueOf<google::protobuf::FloatValue>(message, one.field), one.value);
        if (std::string_view(one.field).find("avg") == std::string_view::npos) {
            EXPECT_EQ(ValueOf<google::protobuf::UInt64Value>(message, std::string("OBSOLETE_") + one.field), one.obsolete);
        }
    }
    const auto message = collect("% Idle Time", std::numeric_limits<double>::quiet_NaN());
    EXPECT_TRUE(std::isnan(message.idle_time_percentage().value())) << "what is no number stays none";
    EXPECT_EQ(message.obsolete_idle_time_percentage().value(), 0U);
}

TEST_F(Dynamic, TakesNumberFromTheFrontAndLetterFromTheBackOfAName)
{
    Use(kMachine + Counters(Counter("0 C: D:", "% Idle Time", "sample { value: 1 } sample { value: 2 } sample { value: 3 }")));
    const auto items = Collect();
    ASSERT_EQ(items.size(), 2U) << "one per instance, without the total";
    const auto first = Of(items, "PNP0");
    EXPECT_EQ(first.idle_time_percentage().value(), 2) << "one sample at construction, one in the collection";
    EXPECT_EQ(first.byte_read_in_mb().value(), 3) << "of D:, the last volume";
    EXPECT_EQ(first.byte_write_in_mb().value(), 0) << "1,048,575 bytes are no megabyte";
    EXPECT_TRUE(Logged("Trace", "name: d, mega_bytes_read: 3, bytes_write: 0", "GetDynamicDiskData"));
    EXPECT_TRUE(Logged("Trace", "Got total info for PhysicalDiskDynamicInfoRetriever: 2", "CollectData"));
}

TEST_F(Dynamic, PassesOverNamesThatAreNone)
{
    Use(kMachine + Counters(Instances({"NoColon 7", ": first", "C:", " C:", "x E:", "99999999999 E:", "9 E:", "8 E:"}) +
                            "instance: '_TOTAL'"));
    const auto items = Collect();
    ASSERT_EQ(items.size(), 1U);
    EXPECT_EQ(items[0].ItemId(), ItemId("Disk_")) << "a drive number without a record";
    for (const char* name : {"nocolon 7", ": first", "c:", " c:", "invalid stoi argument"}) {
        EXPECT_TRUE(Logged("Warning",
                           std::string("GetDynamicDiskData: the \"") + name + "\" name is invalid, skipping to the next one.",
                           "GetDynamicDiskData"))
            << name;
    }
    EXPECT_TRUE(Logged("Error", "GetDynamicDiskData: skipped as an exception was raised (stoi argument out of range).",
                       "GetDynamicDiskData"));
    EXPECT_TRUE(Logged(
        "Error",
        "GetDynamicDiskData: failed to collect info via PDH query: An item with the same key has already been added. Key: Disk_",
        "GetDynamicDiskData"));
}

TEST_F(Dynamic, LeavesOutDisksOfWhichNothingIsKnown)
{
    Use(kMachine + Counters(Instances({"0 C:", "2 E:"}) + "instance: '_Total'"));
    machine.value()->AdvanceClock(std::chrono::seconds(1000));  // disk 2 is there
    const auto items = Collect();
    ASSERT_EQ(items.size(), 1U);
    EXPECT_EQ(items[0].ItemId(), ItemId("Disk_PNP0"));
    const LogLine skip{"Debug", "Skip Disk_PNP2: due to zero size, unknown media type, and GUID is empty.", kFile,
                       "Veyra::Orbis::Plugins::SelectItemIdsIfDiskGuidIsEmpty"};
    EXPECT_EQ(std::count(log->lines.begin(), log->lines.end(), skip), 1);
}

TEST_F(Dynamic, GoesWithoutACounterThatCouldNotBeCreated)
{
    // The ninth counter: idle time of the second disk, after the one that lists instances and the first disk's seven.
    ASSERT_TRUE(machine->FailNth("Pdh::AddEnglishCounter", 9, FaultKind::Error, pdh::kNoCounter, [this] { Construct(); }));
    Construct();
    const auto message = Of(Collect(), "PNP1");
    EXPECT_FALSE(message.has_idle_time_percentage());
    EXPECT_FALSE(message.has_obsolete_idle_time_percentage());
    EXPECT_TRUE(message.has_read_time_percentage());
    EXPECT_TRUE(Logged("Error",
                       "failed to create PDH counter '% Idle Time' for instance '1 E:':  PdhAddEnglishCounter failed for "
                       "\\PhysicalDisk(1 E:)\\% Idle Time: PDH status 0xC0000BB9}'",
                       "RefreshPdhQuery"));
}

TEST_F(Dynamic, ACounterWithoutAValueCostsItsDiskAlone)
{
    Use(kMachine + Counters(Counter("0 C: D:", "Avg. Disk sec/Read", fmt::format("sample {{ status: {} }}", pdh::kNoInstance))));
    const auto items = Collect();
    ASSERT_EQ(items.size(), 1U);
    EXPECT_EQ(items[0].ItemId(), ItemId("Disk_PNP1"));
    EXPECT_TRUE(Logged("Error",
                       "GetDynamicDiskData: failed to collect info via PDH query: PdhGetFormattedCounterValue failed for "
                       "\\PhysicalDisk(0 C: D:)\\Avg. Disk sec/Read: PDH status 0x800007D1",
                       "GetDynamicDiskData"));
    const SuccessWithoutValue inForce;
    Construct();
    EXPECT_TRUE(Collect().empty());
    retriever.reset();
}

TEST_F(Dynamic, RefreshesForANewDiskAndNotForOneThatWent)
{
    Use(std::string(kMachine) + R"(disk { number: 3 kind: NVME size: 1048576 pnp_device_id: "PNP3" arrives_at: 2.5 leaves_at: 100
                                          gpt { partition { size: 1048576 volume { letter: "F" } } } })");
    EXPECT_EQ(Collect().size(), 2U);
    machine.value()->AdvanceClock(std::chrono::seconds(1));
    const auto before = machine.value()->TimePort().UtcNow();
    EXPECT_EQ(Collect().size(), 3U);
    EXPECT_EQ(machine.value()->TimePort().UtcNow() - before, std::chrono::seconds(3)) << "a second of sleep between two samples";
    EXPECT_EQ(machine.value()->OpenObjects().counterQueries, 2) << "of values and of instances; those of before are closed";
    machine.value()->AdvanceClock(std::chrono::seconds(100));
    EXPECT_EQ(Collect().size(), 2U);
    const LogLine refresh{"Warning", kHotPlug, kFile, kClass + "GetDynamicDiskData"};
    EXPECT_EQ(std::count(log->lines.begin(), log->lines.end(), refresh), 1);
}

TEST_F(Dynamic, QueryStaysUnavailableAfterFailedOpen)
{
    ASSERT_TRUE(machine->FailNth("Pdh::OpenQuery", 1, FaultKind::Error, pdh::kMemoryAllocation, [this] { Construct(); }));
    log->lines.clear();
    const auto expectNoData = [this](const char* line) {
        Construct();
        EXPECT_TRUE(Logged("Error", line, "RefreshPdhQuery"));
        EXPECT_TRUE(Collect().empty());
        EXPECT_TRUE(Collect().empty()) << "only construction opens the query";
        EXPECT_TRUE(Logged("Error",
                           "GetDynamicDiskData: failed to collect info via PDH query: PDH query is not available for retrieving "
                           "PhysicalDiskDynamicInfo data",
                           "GetDynamicDiskData"));
    };
    expectNoData("failed to create PDH query: PdhOpenQuery failed for live counters: PDH status 0xC0000BBB");

    Use(kMachine + Counters("instances_error: 0xC0000BBB"));
    log->lines.clear();
    expectNoData(
        "failed to get the instance names of perf counters: Veyra.Orbis.Common.Utilities.PdhException: PdhEnumObjectItems failed "
        "for "
        "PhysicalDisk: PDH status 0xC0000BBB");
    // When instances cannot be listed, the log names the disks as WMI does.
    EXPECT_TRUE(Logged("Debug", "all physical disk names from WMI: 0 C: D:, 1 E:, _Total", "QueryPhysicalDiskNameByWMI"));
}

TEST_F(Dynamic, ASampleThatFailsIsLoggedAtItsPlace)
{
    Use("");  // without a disk there is no counter, and no data
    EXPECT_TRUE(Collect().empty());
    const std::string failure = "PdhCollectQueryData failed for the query: PDH status 0x800007D5";
    EXPECT_TRUE(
        Logged("Error", "GetDynamicDiskData: failed to sample the initial info via PDH query: " + failure, "RefreshPdhQuery"));
    EXPECT_TRUE(Logged("Error", "GetDynamicDiskData: failed to collect info via PDH query: " + failure, "GetDynamicDiskData"));
}

TEST_F(Dynamic, AnswersOneDiskOrSaysThatItHasNone)
{
    (void)Collect();
    const auto one = *retriever->CollectData(ItemId("Disk_PNP1"));
    ASSERT_EQ(one.size(), 1U);
    EXPECT_EQ(one[0].ItemId(), ItemId("Disk_PNP1"));
    EXPECT_TRUE(Logged("Trace", "Specific data for PhysicalDiskDynamicInfoRetriever, itemId : Disk_PNP1", "CollectData"));
    EXPECT_TRUE(Logged("Trace", "Got total info for PhysicalDiskDynamicInfoRetriever: 1", "CollectData"));
    try {
        (void)retriever->CollectData(ItemId("Disk_none"));
        FAIL() << "an id that is not there";
    } catch (const Veyra::Orbis::Sdk::Exceptions::ArgumentOutOfRangeException& exception) {
        EXPECT_EQ(exception.Message(), "cannot find data with specific ID: Disk_none");
    }
}

}  // namespace
