#include <gtest/gtest.h>

#include "PortHelpers.h"
#include "simulated/FaultingPlatform.h"
#include "simulated/MachineFile.h"

namespace orbis::simulated {
namespace {

using namespace orbis::platform;
using enum FaultKind;

class FaultingPlatformTest : public testing::Test {
protected:
    ~FaultingPlatformTest() override
    {
        EXPECT_EQ(machine->OpenObjects(), OpenCounts{});
        EXPECT_TRUE(machine->Misuses().empty()) << machine->Misuses().front();
    }
    std::unique_ptr<Machine> machine = ParseMachine(R"(disk { number: 0 kind: NVME model: "A" size: 1048576 } smbios {})");
    FaultingPlatform faults{*machine};
};

TEST_F(FaultingPlatformTest, DeviceCallsReportTheChosenErrorShortDataOrNothing)
{
    DeviceIo& io = faults.DeviceIoPort();
    const DeviceHandle device = tests::OpenDevice(io, u"\\\\.\\PhysicalDrive0");
    const auto ask = [&] { return tests::Ask(io, device, kIoctlStorageGetDeviceNumber, {}, 12); };

    faults.FailAt(1, Error, win32::kCrc);
    EXPECT_EQ(ask().bytes.size(), 12U);
    EXPECT_FALSE(faults.Reached());
    EXPECT_EQ(ask().error, win32::kCrc);
    EXPECT_TRUE(faults.Reached());
    EXPECT_EQ(faults.Calls().at(1).subject, "0x002d1080 on \\\\.\\PhysicalDrive0");
    faults.FailAt(0, Error);
    EXPECT_EQ(ask().error, win32::kIoDevice) << "the operation's usual error";
    faults.FailAt(0, ShortData);
    EXPECT_EQ(ask().bytes.size(), 6U);
    faults.FailAt(0, Null);
    EXPECT_TRUE(ask().bytes.empty());
    EXPECT_EQ(ask().bytes.size(), 12U) << "once only";

    faults.FailAt(0, Null);
    EXPECT_FALSE(tests::OpenDevice(io, u"\\\\.\\PhysicalDrive0").IsValid());
    EXPECT_FALSE(tests::OpenDevice(io, u"\\\\.\\PhysicalDrive9").IsValid());
    EXPECT_EQ(io.LastError(), win32::kFileNotFound) << "the inner port's error after a call that passed";
    faults.FailAt(0, ShortData);
    EXPECT_TRUE(tests::OpenDevice(io, u"\\\\.\\PhysicalDrive0").IsValid());
    EXPECT_FALSE(faults.Reached()) << "an open cannot be short";
}

// WMI and the device walk fail in the tests of their users, every call in every way.
TEST_F(FaultingPlatformTest, FirmwareCountersAndTextFailToo)
{
    Firmware& firmware = faults.FirmwarePort();
    faults.PassAll();
    const std::uint32_t size = firmware.SystemFirmwareTable(kFirmwareProviderSmbios, 0, nullptr, 0);
    faults.FailAt(0, ShortData);
    EXPECT_EQ(firmware.SystemFirmwareTable(kFirmwareProviderSmbios, 0, nullptr, 0), size / 2);
    faults.FailAt(0, Error);
    EXPECT_EQ(firmware.SystemFirmwareTable(kFirmwareProviderSmbios, 0, nullptr, 0), 0U);
    EXPECT_EQ(firmware.LastError(), win32::kInvalidFunction);

    PdhQueryObject* query = nullptr;
    faults.FailAt(0, Error, pdh::kMemoryAllocation);
    EXPECT_EQ(faults.PdhPort().OpenQuery(nullptr, 0, &query), pdh::kMemoryAllocation);
    faults.FailAt(0, Error);
    EXPECT_EQ(faults.TextPort().WideToUtf8(u"a", 1, nullptr, 0), 0);
}

}  // namespace
}  // namespace orbis::simulated
