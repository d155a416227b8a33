// How drives are found and queried, and how short, contradictory and refused answers are handled.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "FakeDrives.h"
#include "platform/Errors.h"
#include "sondix/sondix.h"

namespace orbis::tests {
namespace {

using namespace platform;
using veyra::sondix::StorageBusType;

constexpr std::uint32_t kMakersLog = 0xD1;

class ReadingTest : public testing::Test {
protected:
    ReadingTest()
    {
        m_Drive.identify = MakersIdentify();
        m_Drive.logs[0x02] = Bytes(512, 0x01);
        m_Drive.logs[kMakersLog] = MakersHealthLog();
    }
    ~ReadingTest() override { EXPECT_EQ(m_Machine.openHandles, 0); }

    static bool IsGiven(veyra::sondix::IObject* object)
    {
        SXDelete(object);
        return object != nullptr;
    }
    static bool HasIdentify() { return IsGiven(SXNvmNewIdentifyControllerData(3)); }
    static bool HasHealth() { return IsGiven(SXNvmNewHealthInfo(3)); }
    static bool HasCustomizedHealth() { return IsGiven(SXNvmNewCustomizedHealthInfo(3)); }

    FakeDrives m_Machine;
    FakeDrive& m_Drive = m_Machine.drives[3];
};

TEST_F(ReadingTest, MaskHasEveryDriveThatExistsAlsoOneThatRefusesToBeOpened)
{
    EXPECT_EQ(SXGetPhysicalDrives(), 1U << 3);
    for (const auto& [error, isPresent] : {std::pair{win32::kAccessDenied, true},
                                           {win32::kSharingViolation, true},
                                           {win32::kBusy, true},
                                           {win32::kNotReady, true},
                                           {win32::kGenFailure, true},
                                           {win32::kFileNotFound, false},
                                           {win32::kPathNotFound, false},
                                           {win32::kNoSuchDevice, false},
                                           {win32::kTooManyOpenFiles, false}}) {
        m_Drive.openError = error;
        EXPECT_EQ(SXGetPhysicalDrives(), isPresent ? 1U << 3 : 0U) << "error " << error;
    }
    m_Drive.openError = 0;
    for (const int number : {0, 31, 32}) {
        m_Machine.drives[number];
    }
    EXPECT_EQ(SXGetPhysicalDrives(), 0x80000009U);
    m_Machine.drives.clear();
    EXPECT_EQ(SXGetPhysicalDrives(), 0U);
}

TEST_F(ReadingTest, BusTypeIsTheNumberThatTheDriverGives)
{
    for (const std::uint32_t bus : {0U, 7U, 8U, 11U, 17U, 20U, 200U}) {
        m_Drive.busType = static_cast<BusType>(bus);
        EXPECT_EQ(static_cast<std::uint32_t>(SXQueryStorageBusType(3)), bus);
    }
    EXPECT_EQ(SXQueryStorageBusType(4), StorageBusType::BusTypeUnknown);
    EXPECT_EQ(SXQueryStorageBusType(-1), StorageBusType::BusTypeUnknown);
    m_Drive.descriptorError = win32::kInvalidFunction;
    EXPECT_EQ(SXQueryStorageBusType(3), StorageBusType::BusTypeUnknown);
}

TEST_F(ReadingTest, BusTypeOfADescriptorThatLiesIsUnknown)
{
    const auto busAfter = [this](std::size_t offset, std::uint32_t value, std::uint32_t returned) {
        m_Drive.lie = [=](Answer& answer) {
            std::memcpy(answer.bytes + offset, &value, sizeof value);
            answer.returned = returned;
        };
        return SXQueryStorageBusType(3);
    };
    constexpr std::size_t kVersion = 0;
    constexpr std::size_t kSize = 4;
    EXPECT_EQ(busAfter(kSize, 36, 36), StorageBusType::BusTypeNvme);  // the shortest that holds every number
    EXPECT_EQ(busAfter(kSize, 40, 35), StorageBusType::BusTypeUnknown);
    EXPECT_EQ(busAfter(kSize, 40, 0), StorageBusType::BusTypeUnknown);
    EXPECT_EQ(busAfter(kSize, 40, 1025), StorageBusType::BusTypeUnknown);
    EXPECT_EQ(busAfter(kSize, 35, 40), StorageBusType::BusTypeUnknown);
    EXPECT_EQ(busAfter(kVersion, 35, 40), StorageBusType::BusTypeUnknown);
}

// One change to the head of a protocol data descriptor, and whether the answer still holds a page.
struct DescriptorCase {
    const char* what;
    std::size_t offset;
    std::uint32_t value;
    std::int64_t returnedLess = 0;  // bytes fewer than the true number
    bool isSound = false;
};

TEST_F(ReadingTest, ProtocolDataIsTakenOnlyFromASoundAnswer)
{
    constexpr std::size_t kVersion = 0;
    constexpr std::size_t kSize = 4;
    constexpr std::size_t kDataOffset = 8 + 16;
    constexpr std::size_t kDataLength = 8 + 20;
    const auto cases = {DescriptorCase{"true", kVersion, 48, 0, true},
                        DescriptorCase{"version of another structure", kVersion, 47},
                        DescriptorCase{"version 0", kVersion, 0},
                        DescriptorCase{"size without the head", kSize, 40},
                        DescriptorCase{"size of everything", kSize, 48 + 4096},
                        DescriptorCase{"data inside the head", kDataOffset, 39},
                        DescriptorCase{"data at the start", kDataOffset, 0},
                        DescriptorCase{"data one byte too late", kDataOffset, 41},
                        DescriptorCase{"offset that wraps in 32 bits", kDataOffset, 0xFFFFFFF8},
                        DescriptorCase{"length one byte short", kDataLength, 511},
                        DescriptorCase{"length 0", kDataLength, 0},
                        DescriptorCase{"length of more than was returned", kDataLength, 4097},
                        DescriptorCase{"length that wraps in 32 bits", kDataLength, 0xFFFFFFF0},
                        DescriptorCase{"returned one byte short", kVersion, 48, 1},
                        DescriptorCase{"returned the head alone", kVersion, 48, 512},
                        DescriptorCase{"returned less than the head", kVersion, 48, 513},
                        DescriptorCase{"returned more than there is room for", kVersion, 48, -1}};
    for (const auto& testCase : cases) {
        SCOPED_TRACE(testCase.what);
        m_Drive.lie = [&](Answer& answer) {
            std::memcpy(answer.bytes + testCase.offset, &testCase.value, sizeof testCase.value);
            answer.returned = static_cast<std::uint32_t>(answer.returned - testCase.returnedLess);
        };
        EXPECT_EQ(HasHealth(), testCase.isSound);
        // Identify has a longer page, so a length of 511 or more is short there.
        EXPECT_EQ(HasIdentify(), testCase.isSound);
    }
}

TEST_F(ReadingTest, NoObjectForMissingOrNonNvmeDrive)
{
    m_Drive.identify.reset();
    EXPECT_FALSE(HasIdentify() || HasHealth() || HasCustomizedHealth());
    m_Drive = {};
    m_Drive.identify = MakersIdentify();
    m_Drive.openError = win32::kAccessDenied;
    EXPECT_FALSE(HasIdentify() || HasHealth() || HasCustomizedHealth());
    m_Machine.drives.clear();
    EXPECT_FALSE(HasIdentify() || HasHealth() || HasCustomizedHealth());
}

TEST_F(ReadingTest, MakersLogIsAskedForAsACommandWhenThePropertyIsRefusedAsNotSupported)
{
    EXPECT_TRUE(HasCustomizedHealth());
    EXPECT_EQ(m_Machine.commandRequests, 0);
    for (const auto error : {win32::kInvalidFunction, win32::kNotSupported}) {
        m_Drive.logPropertyError = error;
        m_Machine.commandRequests = 0;
        EXPECT_TRUE(HasCustomizedHealth());
        EXPECT_EQ(m_Machine.commandRequests, 1);
    }

    // The log needs write access.
    m_Drive.writeOpenError = win32::kAccessDenied;
    EXPECT_FALSE(HasCustomizedHealth());
    m_Drive.writeOpenError = 0;

    // Any error but "not supported" means that the drive does not have the log, or not now.
    m_Machine.commandRequests = 0;
    for (const auto error : {win32::kIoDevice, win32::kAccessDenied, win32::kInvalidParameter, win32::kSemTimeout}) {
        m_Drive.logPropertyError = error;
        EXPECT_FALSE(HasCustomizedHealth());
    }
    // So does a malformed answer, whatever error an earlier request left behind.
    m_Drive.logPropertyError = 0;
    m_Drive.lie = [](Answer& answer) { answer.returned -= answer.returned == 48 + 512 ? 1 : 0; };
    EXPECT_FALSE(HasCustomizedHealth());
    EXPECT_EQ(m_Machine.commandRequests, 0);
}

TEST_F(ReadingTest, CommandAnswerIsTakenOnlyWhenItIsSound)
{
    m_Drive.logPropertyError = win32::kNotSupported;
    const auto soundAfter = [this](std::size_t offset, std::uint32_t value, std::uint32_t returnedLess = 0) {
        m_Drive.lie = [=](Answer& answer) {
            if (answer.code == kIoctlStorageProtocolCommand) {
                std::memcpy(answer.bytes + offset, &value, sizeof value);
                answer.returned -= returnedLess;
            }
        };
        return HasCustomizedHealth();
    };
    constexpr auto kStatus = offsetof(StorageProtocolCommandHead, returnStatus);
    constexpr auto kLength = offsetof(StorageProtocolCommandHead, dataFromDeviceTransferLength);
    constexpr auto kOffset = offsetof(StorageProtocolCommandHead, dataFromDeviceBufferOffset);
    EXPECT_TRUE(soundAfter(kStatus, kProtocolStatusSuccess));
    for (const auto status : {kProtocolStatusPending, kProtocolStatusError, kProtocolStatusInvalidRequest, kProtocolStatusThrottled,
                              kProtocolStatusNotSupported}) {
        EXPECT_FALSE(soundAfter(kStatus, status)) << status;
    }
    EXPECT_FALSE(soundAfter(kLength, 511));
    EXPECT_FALSE(soundAfter(kLength, 513));
    EXPECT_FALSE(soundAfter(kOffset, 0));
    EXPECT_FALSE(soundAfter(kOffset, 0xFFFFFFF0));
    EXPECT_FALSE(soundAfter(kStatus, kProtocolStatusSuccess, 1));
}

TEST_F(ReadingTest, AnotherMakersDriveIsNotAskedForTheMakersLog)
{
    m_Drive.identify = Bytes(4096, 0xFF);
    EXPECT_FALSE(HasCustomizedHealth());
    EXPECT_EQ(m_Machine.logRequests, 0);
    EXPECT_EQ(m_Machine.commandRequests, 0);
}

}  // namespace
}  // namespace orbis::tests
