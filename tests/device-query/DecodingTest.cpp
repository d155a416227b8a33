// Bytes of a real drive, compared with the readings of another program. The walking-bit tests cover every bit, the maker's layouts
// included.
#include <gtest/gtest.h>

#include <string>

#include "FakeDrives.h"
#include "HexFile.h"
#include "Owned.h"
#include "sondix/sondix.h"

namespace orbis::tests {
namespace {

using namespace veyra::sondix::nvme;

class DecodingTest : public testing::Test {
protected:
    FakeDrives m_Machine;
    FakeDrive& m_Drive = m_Machine.drives[0];
};

TEST_F(DecodingTest, IdentifyOfARealDrive)
{
    m_Drive.identify = ReadHex("nvme-4tb-identify-controller.hex");
    m_Drive.identify->resize(4096);
    const auto identify = Owned(SXNvmNewIdentifyControllerData(0));
    ASSERT_NE(identify, nullptr);
    EXPECT_EQ(identify->VID(), 0x1D97);
    EXPECT_EQ(identify->SN().Str(), "SERIALMASKED        ");
    EXPECT_EQ(identify->MN().Str(), "Lexar SSD NM790 4TB                     ");
    EXPECT_EQ(identify->FR().Str(), "12237   ");
    EXPECT_EQ(identify->IEEE().Hex(), "CAF25B");
    EXPECT_EQ(identify->MDTS(), 7);
    EXPECT_EQ(identify->CNTRLTYPE(), 1);
    EXPECT_EQ(identify->WCTEMP() - 273, 90);
    EXPECT_EQ(identify->CCTEMP() - 273, 95);
    EXPECT_EQ(identify->TNVMCAP().Str(), "");  // 4 TB is a multiple of 256 bytes
    EXPECT_EQ(identify->NPSS(), 4);
    const auto version = Owned(identify->VER());
    EXPECT_EQ(version->Major(), 2);
    EXPECT_EQ(version->Minor(), 0);
    EXPECT_EQ(version->Tertiary(), 0);
    EXPECT_EQ(Owned(identify->FRMW())->NumberOfFirmwareSlots(), 2);
    EXPECT_TRUE(Owned(identify->OACS())->DeviceSelfTest());
    EXPECT_FALSE(Owned(identify->OACS())->NamespaceManagementAndAttachment());
}

TEST_F(DecodingTest, HealthLogOfARealDrive)
{
    m_Drive.identify = Bytes(4096);
    m_Drive.logs[0x02] = ReadHex("nvme-4tb-health-log.hex");
    const auto health = Owned(SXNvmNewHealthInfo(0));
    ASSERT_NE(health, nullptr);
    EXPECT_EQ(health->CompositeTemperature(), 33);
    EXPECT_EQ(health->TemperatureSensor1(), 33);
    EXPECT_EQ(health->TemperatureSensor2(), 25);
    EXPECT_EQ(health->TemperatureSensor3(), -273);  // not implemented
    EXPECT_EQ(health->AvailableSpare(), 100);
    EXPECT_EQ(health->AvailableSpareThreshold(), 10);
    EXPECT_EQ(health->PowerCycles().bytes[0], 3);
    EXPECT_EQ(health->UnsafeShutdowns().bytes[0], 2);
    EXPECT_EQ(health->NumberOfErrorInformationLogEntries().bytes[0], 2);
    EXPECT_EQ(health->HostReadCommands().bytes[0], 40);
    EXPECT_EQ(health->HostReadCommands().Str().size(), 16U);
    EXPECT_EQ(health->HostWriteCommands().Str(), "");
}

}  // namespace
}  // namespace orbis::tests
