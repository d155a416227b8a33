// Every log line of both NVMe collections on the example workstation, through the real device-query library.
#include <memory>
#include <string>

#include <gmock/gmock.h>

#include "LogLines.h"
#include "NvmeIdentifyControllerDataRetriever.h"
#include "SmartNvmeInfoRetriever.h"
#include "simulated/MachineFile.h"

namespace Veyra::Orbis::Plugins {
namespace {

using orbis::fakes::LogLine;
using orbis::tests::HealthGetter;
using orbis::tests::HealthRetriever;
using orbis::tests::IdentifyGetter;
using orbis::tests::IdentifyRetriever;
using ::testing::ElementsAre;

class NvmeWorkstationTest : public ::testing::Test {
protected:
    NvmeWorkstationTest() { orbis::platform::Platform::Replace(m_Machine.get()); }
    ~NvmeWorkstationTest() override { orbis::platform::Platform::Replace(nullptr); }

    template <class Retriever>
    void Collect()
    {
        EXPECT_EQ(Retriever(m_Log).CollectData(Sdk::Common::Identifiers::ItemId::All())->size(), 3U);
        EXPECT_EQ(m_Machine->OpenObjects(), orbis::simulated::OpenCounts{});
        EXPECT_THAT(m_Machine->Misuses(), ::testing::IsEmpty());
    }

    std::unique_ptr<orbis::simulated::Machine> m_Machine = orbis::simulated::LoadMachineFile("machines/workstation.txtpb");
    std::shared_ptr<orbis::fakes::RecordingLog> m_Log = std::make_shared<orbis::fakes::RecordingLog>();
    const std::string m_First = "Disk_SCSI\\DISK&VEN_NVME&PROD_VEYRA_PX8_1TB\\5&1F2E3D4C&0&000000";
    const std::string m_Second = "Disk_SCSI\\DISK&VEN_NVME&PROD_VEYRA_VALUE_500G\\5&0A9B8C7D&0&000000";
    const std::string m_Raid = "Disk_SCSI\\DISK&VEN_NVME&PROD_VEYRA_PX8_2TB\\4&3C5D7E9F&0&020000";
};

TEST_F(NvmeWorkstationTest, IdentifyLines)
{
    Collect<NvmeIdentifyControllerDataRetriever>();
    // No drive has an FRU identifier, and the lowest byte of every capacity is zero.
    const std::string bytes =
        " ByteStringObjects: FruGloballyUniqueIdentifier: 0x, TotalNvmCapacity: 0x, UnallocatedNvmCapacity: 0x";
    EXPECT_THAT(
        m_Log->lines,
        ElementsAre(IdentifyRetriever("Debug", "datatypeId: 'NvmeIdentifyControllerData', itemId: '*'"),
                    IdentifyGetter("Fetching IdentifyControllerData for PhysicalDrive0"), IdentifyGetter(m_First + " collected."),
                    IdentifyGetter("Fetching IdentifyControllerData for PhysicalDrive1"), IdentifyGetter(m_Second + " collected."),
                    IdentifyGetter("Fetching IdentifyControllerData for PhysicalDrive2"), IdentifyGetter(m_Raid + " collected."),
                    IdentifyGetter("Fetching IdentifyControllerData for PhysicalDrive3"),
                    IdentifyGetter("Skipping 11 because its bustype is 11"),
                    IdentifyGetter("Fetching IdentifyControllerData for PhysicalDrive4"),
                    IdentifyGetter("Skipping PhysicalDrive4 because it doesn't exist"),
                    IdentifyGetter("Fetching IdentifyControllerData for PhysicalDrive5"),
                    IdentifyGetter("Skipping 11 because its bustype is 11"),
                    IdentifyGetter("Fetching IdentifyControllerData for PhysicalDrive6"),
                    IdentifyGetter("Skipping 7 because its bustype is 7"), IdentifyRetriever("Trace", m_First + bytes),
                    IdentifyRetriever("Trace", m_Second + bytes), IdentifyRetriever("Trace", m_Raid + bytes),
                    IdentifyRetriever("Debug", "get all data for NvmeIdentifyControllerDataRetriever"),
                    LogLine{"Trace", "Got total info for NvmeIdentifyControllerDataRetriever: {0}", "", ""}));
    EXPECT_EQ(m_Log->sourceLines.back(), 3);
}

TEST_F(NvmeWorkstationTest, HealthLines)
{
    // Only the first drive carries the maker's log.
    Collect<SmartNvmeInfoRetriever>();
    EXPECT_THAT(
        m_Log->lines,
        ElementsAre(
            HealthGetter("Fetching NvmeHealthInfo for PhysicalDrive0"), HealthGetter("Fetching HealthInfo for PhysicalDrive0"),
            HealthGetter("Fetching CuctomizedHealthInfo for PhysicalDrive0"), HealthGetter(m_First + " collected."),
            HealthGetter("Fetching NvmeHealthInfo for PhysicalDrive1"), HealthGetter("Fetching HealthInfo for PhysicalDrive1"),
            HealthGetter(m_Second + " collected."), HealthGetter("Fetching NvmeHealthInfo for PhysicalDrive2"),
            HealthGetter("Fetching HealthInfo for PhysicalDrive2"), HealthGetter(m_Raid + " collected."),
            HealthGetter("Fetching NvmeHealthInfo for PhysicalDrive3"), HealthGetter("Skipping 11 because its bustype is 11"),
            HealthGetter("Fetching NvmeHealthInfo for PhysicalDrive4"),
            HealthGetter("Skipping PhysicalDrive4 because it doesn't exist"),
            HealthGetter("Fetching NvmeHealthInfo for PhysicalDrive5"), HealthGetter("Skipping 11 because its bustype is 11"),
            HealthGetter("Fetching NvmeHealthInfo for PhysicalDrive6"), HealthGetter("Skipping 7 because its bustype is 7"),
            HealthRetriever("Trace", "Got total info for SmartNvmeInfoCollector: 3")));
}

}  // namespace
}  // namespace Veyra::Orbis::Plugins
