// The native library's WMI layer over real COM and the WMI service of this Windows.
#include <future>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "Common/ResultException.h"
#include "Common/WmiCommonLib.h"
#include "StorageHelper.h"
#include "platform/Errors.h"
#include "platform/Wmi.h"

namespace Veyra::Orbis::Cpp::Common {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
namespace hresult = orbis::platform::hresult;

TEST(WindowsWmi, ReadsTheRowOfTheRunningSystem)
{
    WmiCommonLib rows(u"SELECT * FROM Win32_OperatingSystem", WmiNamespace::CimV2);
    ASSERT_FALSE(rows.IsEnd());
    EXPECT_THAT(rows.GetStringByField(u"Caption"), HasSubstr("Windows"));
    EXPECT_EQ(rows.GetStringByField(u"Version"), rows.GetStringByField(u"version")) << "property names have no case";
    EXPECT_GT(rows.GetUint64ByField(u"TotalVisibleMemorySize"), 1024U) << "64-bit numbers come as text";
    EXPECT_TRUE(rows.GetBoolByField(u"Primary"));
    rows.Next();
    EXPECT_TRUE(rows.IsEnd());
}

TEST(WindowsWmi, AQueryMayHaveNoRows)
{
    const WmiCommonLib rows(u"SELECT * FROM Win32_LogicalDisk WHERE DeviceID = '?:'", WmiNamespace::CimV2);
    EXPECT_TRUE(rows.IsEnd());
}

// A row is one of the inventory when it has all five properties. Where WMI's own rows lack one, as Wine's lack two, they drop.
TEST(WindowsWmi, TheInventoryHasTheDrivesWithAllProperties)
{
    std::vector<std::uint32_t> complete;
    WmiCommonLib rows(u"SELECT * FROM Win32_DiskDrive", WmiNamespace::CimV2);
    ASSERT_FALSE(rows.IsEnd()) << "this machine has no disk drive";
    for (; !rows.IsEnd(); rows.Next()) {
        try {
            (void)rows.GetUint32ByField(u"SCSIPort");
            (void)rows.GetStringByField(u"FirmwareRevision");
            complete.push_back(rows.GetUint32ByField(u"Index"));
        } catch (const ResultException& failure) {
            EXPECT_EQ(failure.Result(), hresult::kWbemNotFound);
        }
    }
    std::vector<std::uint32_t> listed;
    for (const Plugins::DiskDeviceInfo& drive : Plugins::StorageHelper::getDeviceInfo()) {
        EXPECT_THAT(drive.pnpDeviceId, Not(IsEmpty()));
        listed.push_back(drive.index);
    }
    EXPECT_EQ(listed, complete);
}

// A host may call on a thread of a single-threaded apartment; COM refuses the change of model, and WMI answers all the same.
TEST(WindowsWmi, AnswersOnAThreadInASingleThreadedApartment)
{
    auto caption = std::async(std::launch::async, [] {
        orbis::platform::Wmi& wmi = orbis::platform::Wmi::Current();
        constexpr std::uint32_t kApartmentThreaded = 2;
        constexpr std::uint32_t kMultiThreaded = 0;
        EXPECT_EQ(wmi.InitializeCom(kApartmentThreaded), hresult::kOk);
        EXPECT_EQ(wmi.InitializeCom(kMultiThreaded), hresult::kRpcChangedMode);
        return WmiCommonLib(u"SELECT * FROM Win32_OperatingSystem", WmiNamespace::CimV2).GetStringByField(u"Caption");
    });
    EXPECT_THAT(caption.get(), HasSubstr("Windows"));
}

}  // namespace
}  // namespace Veyra::Orbis::Cpp::Common
