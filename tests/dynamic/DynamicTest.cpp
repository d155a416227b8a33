#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

#include "HostSdk/Exceptions.h"
#include "PhysicalDiskDynamicInfoRetriever.h"
#include "RecordingLog.h"
#include "ScriptedCounters.h"
#include "simulated/Machine.h"
#include "simulated/MachineFile.h"

namespace {

using orbis::fakes::LogLine;
using orbis::fakes::RecordingLog;
using orbis::platform::Platform;
using orbis::tests::ScriptedCounters;
using Veyra::Orbis::Plugins::PhysicalDiskDynamicInfoRetriever;
using Veyra::Orbis::Sdk::Common::Identifiers::ItemId;

constexpr const char* kFile = R"(Plugins\StorageCollector\PhysicalDiskDynamicInfoRetriever)";
const std::string kClass = "Veyra::Orbis::Plugins::PhysicalDiskDynamicInfoRetriever::";
constexpr const char* kHotPlug =
    "it seems the number of disk names is greater than the number of PDH counters, which means the disk might be inserted. Refresh "
    "PDH "
    "query now.";

// Disks 0 (C: and D:) and 1 (E:), and disk 2 about which nothing is known: no size, no identifier, no media type.
constexpr const char* kMachine = R"(
disk { number: 0 kind: NVME model: "M0" serial: "S0" firmware: "F0" size: 1000204886016 pnp_device_id: "PNP0"
  bytes_read_before: 3145728 bytes_written_before: 1048575
  gpt { disk_id: "11111111-0000-0000-0000-000000000001"
    partition { size: 1073741824 id: "11111111-0000-0000-0000-0000000000c0" volume { letter: "C" } }
    partition { size: 1073741824 id: "11111111-0000-0000-0000-0000000000d0" volume { letter: "D" activity_share: 1 } } } }
disk { number: 1 kind: SATA_SSD model: "M1" serial: "S1" firmware: "F1" size: 1000204886016 pnp_device_id: "PNP1"
  gpt { disk_id: "22222222-0000-0000-0000-000000000001"
    partition { size: 1073741824 id: "22222222-0000-0000-0000-0000000000e0" volume { letter: "E" } } } }
disk { number: 2 kind: USB_STICK model: "M2" serial: "S2" firmware: "F2" size: 0 media_type: 0 pnp_device_id: "PNP2" }
)";

std::u16string Path(const char16_t* instance, const char16_t* counter)
{
    return std::u16string(u"\\PhysicalDisk(") + instance + u")\\" + counter;
}

class Dynamic : public testing::Test {
protected:
    Dynamic() : machine(orbis::simulated::ParseMachine(kMachine)), counters(*machine)
    {
        Platform::Replace(&counters);
        counters.instances = {u"0 C: D:", u"1 E:", u"_Total"};
    }
    ~Dynamic() override
    {
        retriever.reset();
        EXPECT_EQ(counters.openQueries, 0) << "queries left open";
        EXPECT_EQ(machine->OpenObjects(), orbis::simulated::OpenCounts{});
        Platform::Replace(nullptr);
    }

    // A collection of everything; constructs the retriever when there is none.
    auto Collect()
    {
        if (!retriever) {
            retriever.emplace(log);
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

    std::unique_ptr<orbis::simulated::Machine> machine;
    ScriptedCounters counters;
    std::shared_ptr<RecordingLog> log = std::make_shared<RecordingLog>();
    std::optional<PhysicalDiskDynamicInfoRetriever> retriever;
};

// Expected values were worked out outside this program, in single precision.
TEST_F(Dynamic, ConvertsInSinglePrecision)
{
    constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    struct Case {
        const char16_t* counter;
        double raw;
        float value;
        std::uint64_t obsolete;
    };
    constexpr std::uint64_t kHighest = std::numeric_limits<std::uint64_t>::max();
    const Case cases[] = {
        {u"% Idle Time", 0, 0, 0},
        {u"% Idle Time", 55.9, 55.9F, 55},
        {u"% Idle Time", 100.7, 100, 100},
        {u"% Idle Time", kInfinity, 100, 100},
        {u"% Disk Read Time", 100, 100, 100},
        {u"% Disk Read Time", 1e30, 100, 100},
        {u"% Disk Write Time", -5, -5, 0},
        {u"% Disk Write Time", 99.99, 99.99F, 99},
        {u"Disk Read Bytes/sec", 3.0 * 1048576, 3, 3},
        {u"Disk Read Bytes/sec", 1234567, 1.1773748397827148F, 1},
        {u"Disk Read Bytes/sec", kInfinity, std::numeric_limits<float>::infinity(), kHighest},
        {u"Disk Write Bytes/sec", 5e9, 4768.37158203125F, 4768},
        {u"Disk Write Bytes/sec", 1e30, 9.53674330756632e+23F, kHighest},
        {u"Avg. Disk sec/Read", 0.0042, 4.199999809265137F, 0},
        {u"Avg. Disk sec/Write", 1e-30, 1.0000000272452012e-27F, 0},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(testing::Message() << std::string(one.counter, one.counter + std::char_traits<char16_t>::length(one.counter))
                                        << " of " << one.raw);
        counters.values = {{Path(u"1 E:", one.counter), one.raw}};
        const auto message = Of(Collect(), "PNP1");
        switch (one.counter[2]) {
            case u'I':
                EXPECT_EQ(message.idle_time_percentage().value(), one.value);
                EXPECT_EQ(message.obsolete_idle_time_percentage().value(), one.obsolete);
                break;
            case u'D':
                EXPECT_EQ((one.counter[7] == u'R' ? message.read_time_percentage() : message.write_time_percentage()).value(),
                          one.value);
                EXPECT_EQ(
                    (one.counter[7] == u'R' ? message.obsolete_read_time_percentage() : message.obsolete_write_time_percentage())
                        .value(),
                    one.obsolete);
                break;
            case u's':
                EXPECT_EQ((one.counter[5] == u'R' ? message.byte_read_per_sec_in_mb() : message.byte_write_per_sec_in_mb()).value(),
                          one.value);
                EXPECT_EQ((one.counter[5] == u'R' ? message.obsolete_byte_read_per_sec_in_mb()
                                                  : message.obsolete_byte_write_per_sec_in_mb())
                              .value(),
                          one.obsolete);
                break;
            default:
                EXPECT_EQ((std::u16string_view(one.counter).ends_with(u"Read") ? message.avg_disk_ms_per_read()
                                                                               : message.avg_disk_ms_per_write())
                              .value(),
                          one.value);
        }
    }
    counters.values = {{Path(u"1 E:", u"% Idle Time"), kNaN}};
    const auto message = Of(Collect(), "PNP1");
    EXPECT_TRUE(std::isnan(message.idle_time_percentage().value())) << "what is no number stays none";
    EXPECT_EQ(message.obsolete_idle_time_percentage().value(), 0U);
}

TEST_F(Dynamic, TakesNumberFromTheFrontAndLetterFromTheBackOfAName)
{
    const auto items = Collect();
    ASSERT_EQ(items.size(), 2U) << "one per instance, without the total";
    const auto first = Of(items, "PNP0");
    EXPECT_EQ(first.byte_read_in_mb().value(), 3) << "of D:, the last volume";
    EXPECT_EQ(first.byte_write_in_mb().value(), 0) << "1,048,575 bytes are no megabyte";
    EXPECT_TRUE(Logged("Trace", "name: d, mega_bytes_read: 3, bytes_write: 0", "GetDynamicDiskData"));
    EXPECT_EQ(counters.samples, 2) << "one at construction, one in the collection";
    EXPECT_TRUE(Logged("Trace", "Got total info for PhysicalDiskDynamicInfoRetriever: 2", "CollectData"));
}

TEST_F(Dynamic, PassesOverNamesThatAreNone)
{
    counters.instances = {u"NoColon 7", u": first", u"C:", u" C:", u"x E:", u"99999999999 E:", u"9 E:", u"8 E:", u"_TOTAL"};
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
    counters.instances = {u"0 C:", u"2 E:", u"_Total"};
    const auto items = Collect();
    ASSERT_EQ(items.size(), 1U);
    EXPECT_EQ(items[0].ItemId(), ItemId("Disk_PNP0"));
    const LogLine skip{"Debug", "Skip Disk_PNP2: due to zero size, unknown media type, and GUID is empty.", kFile,
                       "Veyra::Orbis::Plugins::SelectItemIdsIfDiskGuidIsEmpty"};
    EXPECT_EQ(std::count(log->lines.begin(), log->lines.end(), skip), 1);
}

TEST_F(Dynamic, GoesWithoutACounterThatCouldNotBeCreated)
{
    counters.refused = {Path(u"1 E:", u"% Idle Time")};
    counters.values = {{Path(u"1 E:", u"% Disk Read Time"), 7.5}};
    const auto message = Of(Collect(), "PNP1");
    EXPECT_FALSE(message.has_idle_time_percentage());
    EXPECT_FALSE(message.has_obsolete_idle_time_percentage());
    EXPECT_EQ(message.read_time_percentage().value(), 7.5F);
    EXPECT_TRUE(Logged("Error",
                       "failed to create PDH counter '% Idle Time' for instance '1 E:':  PdhAddEnglishCounter failed for "
                       "\\PhysicalDisk(1 E:)\\% Idle Time: PDH status 0xC0000BB9}'",
                       "RefreshPdhQuery"));
}

TEST_F(Dynamic, ACounterWithoutAValueCostsItsDiskAlone)
{
    counters.unreadable = {Path(u"0 C: D:", u"Avg. Disk sec/Read")};
    const auto items = Collect();
    ASSERT_EQ(items.size(), 1U);
    EXPECT_EQ(items[0].ItemId(), ItemId("Disk_PNP1"));
    EXPECT_TRUE(Logged("Error",
                       "GetDynamicDiskData: failed to collect info via PDH query: PdhGetFormattedCounterValue failed for "
                       "\\PhysicalDisk(0 C: D:)\\Avg. Disk sec/Read: PDH status 0x800007D1",
                       "GetDynamicDiskData"));
}

TEST_F(Dynamic, RefreshesForANewDiskAndNotForOneThatWent)
{
    counters.instances = {u"0 C: D:", u"_Total"};
    EXPECT_EQ(Collect().size(), 1U);
    counters.instances = {u"0 C: D:", u"1 E:", u"_Total"};
    EXPECT_EQ(Collect().size(), 2U);
    EXPECT_EQ(counters.sleeps, std::vector<std::uint32_t>{1000});
    EXPECT_EQ(counters.opened, 2);
    EXPECT_EQ(counters.openQueries, 1) << "the query of before is closed";
    EXPECT_TRUE(Logged("Warning", kHotPlug, "GetDynamicDiskData"));
    counters.instances = {u"1 E:", u"_Total"};
    EXPECT_EQ(Collect().size(), 2U) << "a removed disk keeps its counters";
    EXPECT_EQ(counters.opened, 2);
}

TEST_F(Dynamic, AQueryThatWasNotToBeHadStaysAway)
{
    struct Case {
        const char* name;
        orbis::platform::PdhStatus ScriptedCounters::*status;
        std::vector<std::string> lines;
    };
    const Case cases[] = {
        {"open",
         &ScriptedCounters::openStatus,
         {"failed to create PDH query: PdhOpenQuery failed for live counters: PDH status 0xC0000BBB"}},
        {"enumerate",
         &ScriptedCounters::enumStatus,
         {"failed to get the instance names of perf counters: Veyra.Orbis.Common.Utilities.PdhException: PdhEnumObjectItems failed "
          "for PhysicalDisk: PDH status 0xC0000BBB"}},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(one.name);
        counters.*one.status = orbis::platform::pdh::kMemoryAllocation;
        retriever.emplace(log);
        counters.*one.status = 0;
        for (const std::string& line : one.lines) {
            EXPECT_TRUE(Logged("Error", line, "RefreshPdhQuery"));
        }
        EXPECT_TRUE(Collect().empty());
        EXPECT_TRUE(Collect().empty()) << "PDH is well again, but only construction opens the query";
        EXPECT_TRUE(Logged("Error",
                           "GetDynamicDiskData: failed to collect info via PDH query: PDH query is not available for retrieving "
                           "PhysicalDiskDynamicInfo data",
                           "GetDynamicDiskData"));
        retriever.reset();
    }
    // When instances could not be listed, what WMI calls the disks is written down for whoever looks into it.
    EXPECT_TRUE(Logged("Debug", "all physical disk names from WMI: 0 C: D:, 1 E:, 2, _Total", "QueryPhysicalDiskNameByWMI"));
}

TEST_F(Dynamic, ASampleThatFailsIsLoggedAtItsPlace)
{
    counters.sampleStatus = orbis::platform::pdh::kNoData;
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
