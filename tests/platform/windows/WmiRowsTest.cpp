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
#include "windows/Wine.h"

namespace Veyra::Orbis::Cpp::Common {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
namespace hresult = orbis::platform::hresult;

// What a query fails with, when the namespace is given by its path.
orbis::platform::Hresult FailureOf(const char16_t* path, const char16_t* query)
{
    WmiQuery rows;
    try {
        rows.Connect(path);
        rows.Execute(query);
        return rows.Next();
    } catch (const ResultException& failure) {
        return failure.Result();
    }
}

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

TEST(WindowsWmi, SaysWhatIsUnknown)
{
    EXPECT_EQ(FailureOf(u"root\\no_such_namespace", u"SELECT * FROM Win32_DiskDrive"), hresult::kWbemInvalidNamespace);
    EXPECT_EQ(FailureOf(u"root\\cimv2", u"SELECT * FROM No_Such_Class"),
              orbis::tests::OnWine() ? hresult::kWbemSFalse : hresult::kWbemInvalidClass)
        << "Wine takes an unknown class for one without rows";
    EXPECT_EQ(FailureOf(u"root\\cimv2", u"this is no query"), hresult::kWbemInvalidQuery);

    const WmiCommonLib rows(u"SELECT * FROM Win32_OperatingSystem", WmiNamespace::CimV2);
    ASSERT_FALSE(rows.IsEnd());
    try {
        (void)rows.GetStringByField(u"NoSuchProperty");
        ADD_FAILURE() << "read a property that no system has";
    } catch (const ResultException& failure) {
        EXPECT_EQ(failure.Result(), hresult::kWbemNotFound);
    }
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
