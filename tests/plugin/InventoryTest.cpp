// The disk inventory: which rows make it, and by which record a drive is known.
#include <algorithm>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <gmock/gmock.h>

#include "Common/ResultException.h"
#include "MachineInForce.h"
#include "StorageHelper.h"
#include "WmiTrace.h"

namespace Veyra::Orbis::Plugins {
namespace {

using orbis::fakes::MachineInForce;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

// A row of Win32_DiskDrive; `change` replaces what a property holds, or takes it away.
std::string Row(int index, const std::string& pnpDeviceId, const std::string& changed = "", const std::string& change = "")
{
    std::string row = "row {";
    for (const auto& [name, value] : {std::pair{"Index", fmt::format("i4: {}", index)},
                                      {"SCSIPort", "i4: 3"},
                                      {"Model", "text: 'Model'"},
                                      {"PNPDeviceID", "text: '" + pnpDeviceId + "'"},
                                      {"FirmwareRevision", "text: '1.0'"}}) {
        const bool isChanged = changed.find(name) != std::string::npos;
        row += isChanged && change.empty() ? "" : fmt::format(" property {{ name: '{}' {} }}", name, isChanged ? change : value);
    }
    return row + " }";
}
std::string Drives(const std::string& rows) { return "wmi_class { name: 'Win32_DiskDrive' " + rows + " }"; }

std::vector<std::string> PnpDeviceIds(const std::string& rows)
{
    const MachineInForce machine(Drives(rows));
    std::vector<std::string> ids;
    for (const DiskDeviceInfo& device : StorageHelper::getDeviceInfo()) {
        ids.push_back(device.pnpDeviceId);
    }
    return ids;
}

TEST(InventoryTest, ReadsFivePropertiesOfEachDriveInOrder)
{
    const MachineInForce machine(Drives(Row(4, "DISK-\u00E9")));
    const orbis::tests::WmiTrace trace;
    const std::vector<DiskDeviceInfo> devices = StorageHelper::getDeviceInfo();
    ASSERT_EQ(devices.size(), 1U);
    EXPECT_EQ(devices[0].index, 4U);
    EXPECT_EQ(devices[0].scsiPort, 3U);
    EXPECT_EQ(devices[0].model, "Model");
    EXPECT_EQ(devices[0].pnpDeviceId, "DISK-\u00E9");
    EXPECT_EQ(devices[0].firmwareRevision, "1.0");
    std::vector<std::string> asked;
    std::ranges::copy_if(trace.calls, std::back_inserter(asked),
                         [](const std::string& call) { return call.starts_with("Get") || call.starts_with("ExecQuery"); });
    EXPECT_THAT(asked, ElementsAre("ExecQuery WQL SELECT * FROM Win32_DiskDrive 48", "Get Index", "Get SCSIPort", "Get Model",
                                   "Get PNPDeviceID", "Get FirmwareRevision"));
}

TEST(InventoryTest, LeavesOutRowsThatCannotBeReadWhole)
{
    EXPECT_THAT(PnpDeviceIds(""), IsEmpty());
    for (const char* name : {"Index", "SCSIPort", "Model", "PNPDeviceID", "FirmwareRevision"}) {
        EXPECT_THAT(PnpDeviceIds(Row(0, "first") + Row(1, "broken", name) + Row(2, "last")), ElementsAre("first", "last")) << name;
    }
    // NULL is unreadable for a text, and 0 for a number.
    EXPECT_THAT(PnpDeviceIds(Row(9, "nulls", "Index SCSIPort", "null: true")), ElementsAre("nulls"));
    EXPECT_THAT(PnpDeviceIds(Row(9, "nulls", "FirmwareRevision", "null: true")), IsEmpty());
}

TEST(InventoryTest, AFailingQueryLeaves)
{
    EXPECT_THROW(PnpDeviceIds(Row(0, "first") + "row { next_error: 0x80041001 }"), Cpp::Common::ResultException);
}

TEST(InventoryTest, FindsTheFirstRecordOfADriveNumber)
{
    const MachineInForce machine(Drives(Row(0, "zero") + Row(7, "first seven") + Row(7, "second seven")));
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
