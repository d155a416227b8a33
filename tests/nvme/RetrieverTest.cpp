// Both NVMe retrievers over a scripted device-query library: which drives they query, which items they return, which lines they
// log.
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "FakeSondix.h"
#include "HostSdk/Exceptions.h"
#include "LogLines.h"
#include "NvmeIdentifyControllerDataRetriever.h"
#include "SmartNvmeInfoRetriever.h"
#include "simulated/MachineFile.h"

namespace Veyra::Orbis::Plugins {
namespace {

namespace datatypes = ::veyra::orbis::datatypes;
using namespace std::string_literals;
using orbis::fakes::FakeSondix;
using orbis::fakes::LogLine;
using orbis::tests::HealthGetter;
using orbis::tests::HealthRetriever;
using orbis::tests::IdentifyGetter;
using orbis::tests::IdentifyRetriever;
using Sdk::Common::Identifiers::ItemId;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using veyra::sondix::StorageBusType;

// WMI knows drives 0 and 2; what they are comes from the scripted library.
class NvmeRetrieverTest : public ::testing::Test {
protected:
    NvmeRetrieverTest() { orbis::platform::Platform::Replace(m_Machine.get()); }
    ~NvmeRetrieverTest() override
    {
        orbis::platform::Platform::Replace(nullptr);
        EXPECT_THAT(m_Library.Live(), IsEmpty());
        EXPECT_THAT(m_Library.faults, IsEmpty());
        EXPECT_EQ(m_Machine->OpenObjects(), orbis::simulated::OpenCounts{});
    }

    template <class Retriever>
    std::vector<std::string> Keys(const ItemId& itemId)
    {
        m_Log->lines.clear();
        const auto list = Retriever(m_Log).CollectData(itemId);
        std::vector<std::string> keys;
        EXPECT_TRUE(list.has_value()) << "an empty list is not no list";
        for (const auto& item : list.value()) {
            EXPECT_NE(item.Value(), nullptr);
            EXPECT_EQ(item.Time(), m_Machine->TimePort().UtcNow());
            keys.push_back(item.ItemId().ToString());
        }
        return keys;
    }
    std::vector<std::string> Identify(const ItemId& itemId) { return Keys<NvmeIdentifyControllerDataRetriever>(itemId); }
    std::vector<std::string> Health(const ItemId& itemId) { return Keys<SmartNvmeInfoRetriever>(itemId); }

    std::unique_ptr<orbis::simulated::Machine> m_Machine = orbis::simulated::ParseMachine(R"pb(
        disk { number: 0 kind: NVME model: "One" serial: "1" firmware: "F" size: 1000 pnp_device_id: "NVME\\0" }
        disk { number: 2 kind: NVME model: "Two" serial: "2" firmware: "F" size: 1000 pnp_device_id: "NVME\\2" })pb");
    FakeSondix m_Library;
    std::shared_ptr<orbis::fakes::RecordingLog> m_Log = std::make_shared<orbis::fakes::RecordingLog>();
};

// All lines of ordinary drives are in tests/golden/workstation.log.
TEST_F(NvmeRetrieverTest, RawBytesAreTracedAsUtf8WithTheirZeros)
{
    m_Library.drives[0].bytes = {{"IIdentifyControllerData::FGUID", "\x01\0\xFF"s}, {"IIdentifyControllerData::UNVMCAP", "A"}};
    m_Library.drives[3].nulls = {"SXNvmNewIdentifyControllerData"};
    EXPECT_THAT(Identify(ItemId::All()), ElementsAre("Disk_NVME\\0"));
    const auto zeros = [](std::size_t count) { return std::string(count, '\0'); };
    EXPECT_THAT(m_Log->lines,
                ::testing::IsSupersetOf(
                    {IdentifyGetter("!controllerData is true, skip this one."),
                     IdentifyRetriever("Trace", "Disk_NVME\\0 ByteStringObjects: FruGloballyUniqueIdentifier: 0x\x01" + zeros(1) +
                                                    "\uFFFD" + zeros(13) + ", TotalNvmCapacity: 0x, UnallocatedNvmCapacity: 0xA" +
                                                    zeros(15))}));
    EXPECT_EQ(m_Log->sourceLines.back(), 1) << "the count stands where the line belongs";
}

TEST_F(NvmeRetrieverTest, HealthAnswersForADriveThatHasNeitherLog)
{
    m_Library.drives[0].busType = StorageBusType::BusTypeRAID;
    m_Library.drives[1].busType = StorageBusType::BusTypeUsb;
    m_Library.drives[2].nulls = {"SXNvmNewHealthInfo", "SXNvmNewCustomizedHealthInfo"};
    const auto list = SmartNvmeInfoRetriever(m_Log).CollectData(ItemId::All());
    ASSERT_EQ(list->size(), 2U);
    EXPECT_TRUE(list->at(0).Value()->has_health_info() && list->at(0).Value()->has_customized_health_info());
    EXPECT_FALSE(list->at(1).Value()->has_health_info() || list->at(1).Value()->has_customized_health_info());
}

TEST_F(NvmeRetrieverTest, AnswersOneItemOrRefuses)
{
    m_Library.drives[0];
    m_Library.drives[2];
    const ItemId second("Disk_NVME\\2");
    EXPECT_THAT(Identify(second), ElementsAre("Disk_NVME\\2"));
    EXPECT_THAT(m_Log->lines, ::testing::Contains(IdentifyRetriever(
                                  "Debug", "get specific data for NvmeIdentifyControllerDataRetriever, itemID: Disk_NVME\\2")));
    EXPECT_THAT(Health(second), ElementsAre("Disk_NVME\\2"));
    EXPECT_THAT(m_Log->lines,
                ::testing::Contains(HealthRetriever("Debug", "Specific data for SmartNvmeInfoRetriever, itemId : Disk_NVME\\2")));

    using Sdk::Exceptions::ArgumentOutOfRangeException;
    const auto refuses = ::testing::Throws<ArgumentOutOfRangeException>(
        ::testing::Property(&ArgumentOutOfRangeException::Message, "cannot find data with specific ID: Disk_{0}"));
    EXPECT_THAT([this] { (void)Identify(ItemId("Disk_{0}")); }, refuses);  // a text that looks like a format is not one
    EXPECT_THAT([this] { (void)Health(ItemId("Disk_{0}")); }, refuses);
}

TEST_F(NvmeRetrieverTest, WithoutDrivesAnswersAnEmptyListWhateverIsAsked)
{
    for (const auto& itemId : {ItemId::All(), ItemId("Disk_NVME\\0")}) {
        EXPECT_THAT(Identify(itemId), IsEmpty());
        EXPECT_EQ(m_Log->lines.back(), IdentifyRetriever("Debug", "No identify controller data has been reached out"));
        EXPECT_THAT(Health(itemId), IsEmpty());
        EXPECT_THAT(m_Log->lines, ElementsAre(HealthRetriever("Debug", "No SMART NVMe data has been reached out")));
    }
    EXPECT_THAT(m_Library.calls, ::testing::Each("SXGetPhysicalDrives"));
}

TEST_F(NvmeRetrieverTest, TwoDrivesWithoutInventoryRecordCollide)
{
    m_Library.drives[1];
    EXPECT_THAT(Identify(ItemId::All()), ElementsAre("Disk_"));
    EXPECT_THAT(Health(ItemId::All()), ElementsAre("Disk_"));
    m_Library.drives[31];
    EXPECT_THROW(Identify(ItemId::All()), Sdk::Exceptions::ArgumentException);
    EXPECT_EQ(m_Log->lines.back(), IdentifyGetter("Disk_ collected.")) << "said before the dictionary refuses";
    EXPECT_THROW(Health(ItemId::All()), Sdk::Exceptions::ArgumentException);
}

// The messages live as long as any item of the collection.
TEST_F(NvmeRetrieverTest, ItemsOutliveTheListAndTheRetriever)
{
    m_Library.drives[0].bytes["IIdentifyControllerData::MN"] = "A model name that is longer than it";
    m_Library.drives[2];
    std::shared_ptr<const datatypes::NvmeIdentifyControllerData> kept;
    {
        auto list = NvmeIdentifyControllerDataRetriever(m_Log).CollectData(ItemId::All());
        kept = list->front().Value();
    }
    EXPECT_EQ(kept->model_number(), "A model name that is longer than it");
}

}  // namespace
}  // namespace Veyra::Orbis::Plugins
