// Device calls and the device walk against this Windows.
#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include <gmock/gmock.h>

#include "platform/DeviceIo.h"
#include "platform/Errors.h"
#include "platform/Requests.h"
#include "platform/Setup.h"
#include "windows/Wine.h"

namespace orbis::platform {
namespace {

DeviceHandle OpenForReading(const char16_t* path)
{
    DeviceIo& io = DeviceIo::Current();
    return {io, io.Open(path, kGenericRead, kFileShareRead | kFileShareWrite, nullptr, kOpenExisting, 0, 0)};
}

template <class Answer>
Answer Ask(const DeviceHandle& device, std::uint32_t code)
{
    Answer answer{};
    std::uint32_t returned = 0;
    EXPECT_TRUE(device.Port()->Control(device.Get(), code, nullptr, 0, &answer, sizeof(answer), &returned, nullptr))
        << "error " << device.Port()->LastError();
    EXPECT_EQ(returned, sizeof(answer));
    return answer;
}

TEST(WindowsDeviceIo, AsksTheFirstDriveForItsNumberAndGeometry)
{
    const DeviceHandle drive = OpenForReading(u"\\\\.\\PhysicalDrive0");
    ASSERT_TRUE(drive.IsValid()) << "error " << DeviceIo::Current().LastError();

    const auto number = Ask<StorageDeviceNumber>(drive, kIoctlStorageGetDeviceNumber);
    EXPECT_EQ(number.deviceType, kFileDeviceDisk);
    EXPECT_EQ(number.deviceNumber, 0U);

    const auto geometry = Ask<DiskGeometry>(drive, kIoctlDiskGetDriveGeometry);
    EXPECT_GT(geometry.cylinders, 0);
    EXPECT_EQ(geometry.bytesPerSector % 512, 0U);
}

TEST(WindowsDeviceIo, SaysWhyADeviceDoesNotOpenOrAnswer)
{
    EXPECT_FALSE(OpenForReading(u"\\\\.\\PhysicalDrive99").IsValid());
    EXPECT_EQ(DeviceIo::Current().LastError(), win32::kFileNotFound);

    const DeviceHandle drive = OpenForReading(u"\\\\.\\PhysicalDrive0");
    std::uint32_t returned = 77;
    constexpr std::uint32_t kNoSuchCode = 0x00070FFC;
    EXPECT_FALSE(drive.Port()->Control(drive.Get(), kNoSuchCode, nullptr, 0, nullptr, 0, &returned, nullptr));
    EXPECT_THAT(drive.Port()->LastError(), ::testing::AnyOf(win32::kInvalidFunction, win32::kNotSupported));
    EXPECT_EQ(returned, 0U);
}

// The display adapter and the like are devices of every Windows, so there is one to read an instance id of.
TEST(WindowsSetup, ReadsTheInstanceIdOfADevice)
{
    constexpr std::uint32_t kAllClasses = 4;  // DIGCF_ALLCLASSES
    platform::Setup& setup = Setup::Current();
    const DeviceInfoSet set(setup, setup.ClassDevices(nullptr, nullptr, nullptr, kAllClasses));
    ASSERT_TRUE(set.IsValid());
    DeviceInfoData device;
    ASSERT_TRUE(setup.EnumDeviceInfo(set.Get(), 0, &device)) << "error " << setup.LastError();

    std::array<char16_t, 255> text{};
    std::uint32_t type = 0;
    std::uint32_t required = 0;
    EXPECT_FALSE(setup.DeviceProperty(set.Get(), device, kDeviceInstanceIdKey, nullptr, text.data(), sizeof(text), nullptr, 0));
    EXPECT_EQ(setup.LastError(), win32::kInvalidUserBuffer) << "the type is not optional";
    const bool read = setup.DeviceProperty(set.Get(), device, kDeviceInstanceIdKey, &type, text.data(), sizeof(text), &required, 0);
    if (tests::OnWine()) {
        EXPECT_FALSE(read) << "Wine keeps no such property";
        EXPECT_EQ(setup.LastError(), win32::kNotFound);
        return;
    }
    ASSERT_TRUE(read) << "error " << setup.LastError();
    EXPECT_EQ(type, kDevicePropertyTypeString);
    const std::u16string_view id(text.data());
    EXPECT_EQ(required, (id.size() + 1) * sizeof(char16_t));
    EXPECT_NE(id.find(u'\\'), std::u16string_view::npos);

    EXPECT_FALSE(setup.DeviceProperty(set.Get(), device, kDeviceInstanceIdKey, &type, text.data(), 2, &required, 0));
    EXPECT_EQ(setup.LastError(), win32::kInsufficientBuffer);
    EXPECT_EQ(required, (id.size() + 1) * sizeof(char16_t));
}

}  // namespace
}  // namespace orbis::platform
