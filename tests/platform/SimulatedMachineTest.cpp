#include <gtest/gtest.h>

#include "platform/Requests.h"

#include "simulated/Machine.h"
#include "simulated/MachineFile.h"

namespace orbis::simulated {
namespace {

using namespace orbis::platform;

TEST(SimulatedMachine, ADiskIsOpenedByItsNumber)
{
    const auto machine = ParseMachine(R"(disk { number: 3 kind: NVME model: "Drive" size: 1000000000 })");
    DeviceIo& io = machine->DeviceIoPort();
    const NativeHandle handle = io.Open(u"\\\\.\\PhysicalDrive3", kGenericRead, 3, nullptr, kOpenExisting, 0, 0);
    ASSERT_NE(handle, kInvalidHandle);
    StorageDeviceNumber number;
    std::uint32_t returned = 0;
    ASSERT_TRUE(io.Control(handle, kIoctlStorageGetDeviceNumber, nullptr, 0, &number, sizeof(number), &returned, nullptr));
    EXPECT_EQ(number.deviceNumber, 3U);
    EXPECT_EQ(machine->OpenObjects().deviceHandles, 1);
    io.Close(handle);
    EXPECT_EQ(machine->OpenObjects(), OpenCounts{});
}

}  // namespace
}  // namespace orbis::simulated
