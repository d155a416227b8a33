// The disk inventory: which rows make it, and by which record a drive is known.
#include <vector>

#include <gmock/gmock.h>

#include "Common/ResultException.h"
#include "FakeWmi.h"
#include "StorageHelper.h"

namespace Veyra::Orbis::Plugins {
namespace {

using orbis::fakes::FakeProperty;
using orbis::fakes::FakeRow;
using orbis::fakes::FakeWmiMachine;
using orbis::fakes::WmiBalance;
using orbis::platform::VariantType;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

FakeRow Row(std::uint32_t index, const std::u16string& pnpDeviceId)
{
    return {{u"Index", FakeProperty::Number(VariantType::Int32, index)},
            {u"SCSIPort", FakeProperty::Number(VariantType::Int32, 3)},
            {u"Model", FakeProperty::Text(u"Model")},
            {u"PNPDeviceID", FakeProperty::Text(pnpDeviceId)},
            {u"FirmwareRevision", FakeProperty::Text(u"1.0")}};
}

class InventoryTest : public ::testing::Test {
protected:
    ~InventoryTest() override { EXPECT_EQ(m_Machine.wmi.balance, WmiBalance{}); }

    [[nodiscard]] std::vector<std::string> PnpDeviceIds()
    {
        std::vector<std::string> ids;
        for (const DiskDeviceInfo& device : StorageHelper::getDeviceInfo()) {
            ids.push_back(device.pnpDeviceId);
        }
        return ids;
    }

    FakeWmiMachine m_Machine;
};

TEST_F(InventoryTest, ReadsFivePropertiesOfEachDriveInOrder)
{
    m_Machine.wmi.rows = {Row(4, u"SCSI\\DISK\\\u00E9")};
    const std::vector<DiskDeviceInfo> devices = StorageHelper::getDeviceInfo();
    ASSERT_EQ(devices.size(), 1U);
    EXPECT_EQ(devices[0].index, 4U);
    EXPECT_EQ(devices[0].scsiPort, 3U);
    EXPECT_EQ(devices[0].model, "Model");
    EXPECT_EQ(devices[0].pnpDeviceId, "SCSI\\DISK\\\xC3\xA9");
    EXPECT_EQ(devices[0].firmwareRevision, "1.0");
    std::vector<std::string> asked;
    std::ranges::copy_if(m_Machine.wmi.calls, std::back_inserter(asked),
                         [](const std::string& call) { return call.starts_with("Get") || call.starts_with("ExecQuery"); });
    EXPECT_THAT(asked, ElementsAre("ExecQuery WQL SELECT * FROM Win32_DiskDrive 0x30", "Get Index", "Get SCSIPort", "Get Model",
                                   "Get PNPDeviceID", "Get FirmwareRevision"));
}

TEST_F(InventoryTest, LeavesOutRowsThatCannotBeReadWhole)
{
    for (const char16_t* name : {u"Index", u"SCSIPort", u"Model", u"PNPDeviceID", u"FirmwareRevision"}) {
        FakeRow broken = Row(1, u"broken");
        broken.erase(name);
        m_Machine.wmi.rows = {Row(0, u"first"), broken, Row(2, u"last")};
        EXPECT_THAT(PnpDeviceIds(), ElementsAre("first", "last"));
    }
    // NULL is unreadable for a text, and 0 for a number.
    FakeRow nulls = Row(9, u"nulls");
    nulls[u"Index"] = nulls[u"SCSIPort"] = FakeProperty::Null();
    m_Machine.wmi.rows = {nulls};
    EXPECT_THAT(PnpDeviceIds(), ElementsAre("nulls"));
    nulls[u"FirmwareRevision"] = FakeProperty::Null();
    m_Machine.wmi.rows = {nulls};
    EXPECT_THAT(PnpDeviceIds(), IsEmpty());
}

TEST_F(InventoryTest, IsEmptyWithoutDrives) { EXPECT_THAT(StorageHelper::getDeviceInfo(), IsEmpty()); }

TEST_F(InventoryTest, AFailingQueryLeaves)
{
    m_Machine.wmi.rows = {Row(0, u"first"), Row(1, u"second")};
    m_Machine.wmi.Fail("Next", orbis::platform::hresult::kWbemFailed, 1);
    EXPECT_THROW(static_cast<void>(PnpDeviceIds()), Cpp::Common::ResultException);
}

TEST_F(InventoryTest, FindsTheFirstRecordOfADriveNumber)
{
    m_Machine.wmi.rows = {Row(0, u"zero"), Row(7, u"first seven"), Row(7, u"second seven")};
    const std::vector<DiskDeviceInfo> devices = StorageHelper::getDeviceInfo();
    const auto idOf = [&devices](std::uint32_t number) {
        return StorageHelper::itemIdOf(StorageHelper::findDeviceIdByPhysicalDriveNumber(devices, number)).ToString();
    };
    EXPECT_EQ(idOf(7), "Disk_first seven");
    EXPECT_EQ(idOf(0), "Disk_zero");
    EXPECT_EQ(idOf(1), "Disk_");
    EXPECT_EQ(StorageHelper::findDeviceIdByPhysicalDriveNumber({}, 0).index, 0U);
}

}  // namespace
}  // namespace Veyra::Orbis::Plugins
