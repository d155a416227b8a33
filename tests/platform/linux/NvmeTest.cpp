// NVMe requests as admin commands: those sent to the kernel, their answers, and those that are never sent.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <vector>

#include <fcntl.h>
#include <linux/nvme_ioctl.h>
#include <sys/ioctl.h>

#include "CapturedMachine.h"
#include "PortHelpers.h"

namespace orbis::tests {
namespace {

using namespace platform;

// A controller that keeps what it was sent, fills data with a pattern, and ends as a test says.
class LinuxNvme : public testing::Test {
protected:
    LinuxNvme()
    {
        drives.ioctl = [this](const std::string& node, unsigned long request, void* argument) {
            EXPECT_EQ(node, "nvme0n1");
            if (request != NVME_IOCTL_ADMIN_CMD) {
                errno = ENOTTY;
                return -1;
            }
            auto& command = *static_cast<nvme_admin_cmd*>(argument);
            sent.push_back(command);
            if (failure != 0) {
                errno = failure;
                return -1;
            }
            auto* data = reinterpret_cast<unsigned char*>(static_cast<std::uintptr_t>(command.addr));
            for (std::uint32_t i = 0; i < command.data_len; ++i) {
                data[i] = static_cast<unsigned char>(i * 7 + 1);
            }
            command.result = 0x01020304;
            return status;
        };
    }

    Answer AskQuery(StorageProtocolSpecificData protocol, std::size_t room, std::size_t querySize = sizeof(StorageProtocolQuery),
                    std::uint32_t property = kStorageDeviceProtocolSpecificProperty)
    {
        return Ask(io, device, kIoctlStorageQueryProperty,
                   BytesOf(StorageProtocolQuery{{property, kPropertyStandardQuery}, protocol}, querySize), room);
    }

    Answer AskCommand(StorageProtocolCommandHead head, const std::array<std::uint32_t, 16>& words, std::size_t room,
                      std::size_t size = 144)
    {
        std::vector<std::uint8_t> request = BytesOf(head, 144);
        std::memcpy(request.data() + 80, words.data(), 64);
        request.resize(size);
        return Ask(io, device, kIoctlStorageProtocolCommand, request, room);
    }

    static StorageProtocolSpecificData Log(std::uint32_t identifier, std::uint32_t length)
    {
        StorageProtocolSpecificData protocol;
        protocol.protocolType = kProtocolTypeNvme;
        protocol.dataType = kNvmeDataTypeLogPage;
        protocol.requestValue = identifier;
        protocol.dataOffset = sizeof(StorageProtocolSpecificData);
        protocol.dataLength = length;
        return protocol;
    }

    static StorageProtocolCommandHead Command(std::uint32_t length)
    {
        StorageProtocolCommandHead head;
        head.protocolType = kProtocolTypeNvme;
        head.flags = kProtocolCommandFlagAdapterRequest;
        head.commandLength = kProtocolCommandLengthNvme;
        head.dataFromDeviceTransferLength = length;
        head.dataFromDeviceBufferOffset = 144;
        head.timeOutValue = 10;
        head.commandSpecific = kProtocolSpecificNvmeAdminCommand;
        return head;
    }

    int status = 0;   // NVMe status of the next commands
    int failure = 0;  // errno instead
    std::vector<nvme_admin_cmd> sent;
    PlayedDrives drives;
    CapturedTree tree = CapturedTree::Named("every-transport.tree");
    linux_system::Platform machine{tree.Roots(), drives.Calls()};
    DeviceIo& io = machine.DeviceIoPort();
    DeviceHandle device = OpenDevice(io, DrivePath(0));
};

}  // namespace

TEST_F(LinuxNvme, IdentifyControllerFillsAWholePage)
{
    StorageProtocolSpecificData identify = Log(1, 4096);
    identify.dataType = kNvmeDataTypeIdentify;
    const Answer answer = AskQuery(identify, 48 + 4096);
    ASSERT_EQ(answer.bytes.size(), 48U + 4096U) << answer.error;
    const auto descriptor = answer.As<StorageProtocolDataDescriptor>();
    EXPECT_EQ(descriptor.version, 48U);
    EXPECT_EQ(descriptor.size, 48U);
    EXPECT_EQ(descriptor.protocol.dataOffset, 40U);
    EXPECT_EQ(descriptor.protocol.dataLength, 4096U);
    EXPECT_EQ(answer.bytes[48 + 4095], static_cast<std::uint8_t>(4095 * 7 + 1));
    ASSERT_EQ(sent.size(), 1U);
    EXPECT_EQ(sent[0].opcode, 0x06);
    EXPECT_EQ(sent[0].nsid, 0U);
    EXPECT_EQ(sent[0].cdw10, 1U);
    EXPECT_EQ(sent[0].data_len, 4096U);

    // A controller writes all 4096 bytes, however few are asked for.
    identify.dataLength = 16;
    EXPECT_EQ(AskQuery(identify, 64).bytes.size(), 64U);
    EXPECT_EQ(sent.back().data_len, 4096U);
    identify.requestValue = 0;  // of a namespace
    identify.requestSubValue = 7;
    EXPECT_EQ(AskQuery(identify, 64).error, 0U);
    EXPECT_EQ(sent.back().nsid, 7U);
}

TEST_F(LinuxNvme, LogPagesAreControllerWideWithLengthAndOffset)
{
    StorageProtocolSpecificData log = Log(0xCA, 0x41000);
    log.requestSubValue = 0x1234;
    log.requestSubValue2 = 0x5;
    log.requestSubValue3 = 0x77;
    log.requestSubValue4 = 0x1 | 0x9 << 1;  // retain the event; log specific field 9
    ASSERT_EQ(AskQuery(log, 48 + 0x41000).bytes.size(), 48U + 0x41000U);
    ASSERT_EQ(sent.size(), 1U);
    EXPECT_EQ(sent[0].opcode, 0x02);
    EXPECT_EQ(sent[0].nsid, 0xFFFFFFFFU);
    // 0x41000 bytes are 0x10400 double words: the count from 0 is 0x103FF, its halves 0x03FF and 0x0001.
    EXPECT_EQ(sent[0].cdw10, 0x03FF89CAU);
    EXPECT_EQ(sent[0].cdw11, 0x00770001U);
    EXPECT_EQ(sent[0].cdw12, 0x1234U);
    EXPECT_EQ(sent[0].cdw13, 0x5U);
    EXPECT_EQ(sent[0].data_len, 0x41000U);
}

TEST_F(LinuxNvme, RefusalsAreTheErrorsThatWindowsWouldShow)
{
    struct Case {
        int status;
        int failure;
        std::uint32_t error;
    };
    for (const Case& expected :
         {Case{0x001, 0, win32::kInvalidFunction},   // Invalid Command Opcode
          Case{0x4002, 0, win32::kInvalidFunction},  // Invalid Field in Command, do not retry
          Case{0x4109, 0, win32::kInvalidFunction},  // Invalid Log Page
          Case{0x281, 0, win32::kIoDevice},          // Unrecovered Read Error
          Case{0x00B, 0, win32::kInvalidParameter},  // Invalid Namespace or Format
          Case{0, EACCES, win32::kAccessDenied}, Case{0, EPERM, win32::kAccessDenied}, Case{0, ENOTTY, win32::kNotSupported},
          Case{0, EOPNOTSUPP, win32::kNotSupported}, Case{0, ENODEV, win32::kNoSuchDevice}, Case{0, ENXIO, win32::kNoSuchDevice},
          Case{0, EIO, win32::kIoDevice}, Case{0, ETIMEDOUT, win32::kSemTimeout}}) {
        status = expected.status;
        failure = expected.failure;
        EXPECT_EQ(AskQuery(Log(2, 512), 560).error, expected.error) << expected.status << " " << expected.failure;
    }
}

TEST_F(LinuxNvme, ImpossibleQueriesNeverLeave)
{
    EXPECT_EQ(AskQuery(Log(2, 512), 560, 47).error, win32::kInvalidParameter);
    EXPECT_EQ(AskQuery(Log(2, 510), 560).error, win32::kInvalidParameter);
    EXPECT_TRUE(sent.empty());
    // Whatever is no NVMe drive knows no such property.
    device = OpenDevice(io, DrivePath(4));
    EXPECT_EQ(AskQuery(Log(2, 512), 560).error, win32::kInvalidFunction);
    EXPECT_EQ(AskCommand(Command(512), {2}, 656).error, win32::kInvalidFunction);
}

TEST_F(LinuxNvme, ReadingProtocolCommandIsSentUnchanged)
{
    const std::array<std::uint32_t, 16> words{0x02, 0xFFFFFFFF, 2, 3, 0, 0, 0, 0, 0, 0, 0x007F00C0, 0x11, 12, 13, 14, 15};
    std::array<std::uint32_t, 16> log = words;
    log[11] = 0;
    const Answer answer = AskCommand(Command(512), log, 144 + 512);
    ASSERT_EQ(answer.bytes.size(), 144U + 512U) << answer.error;
    const auto head = answer.As<StorageProtocolCommandHead>();
    EXPECT_EQ(head.returnStatus, kProtocolStatusSuccess);
    EXPECT_EQ(head.fixedProtocolReturnData, 0x01020304U);
    EXPECT_EQ(answer.bytes[144 + 511], static_cast<std::uint8_t>(511 * 7 + 1));
    ASSERT_EQ(sent.size(), 1U);
    EXPECT_EQ(sent[0].nsid, 0xFFFFFFFFU);
    EXPECT_EQ(sent[0].cdw10, 0x007F00C0U);
    EXPECT_EQ(sent[0].cdw15, 15U);
    EXPECT_EQ(sent[0].timeout_ms, 10000U);

    status = 0x4109;
    const Answer refused = AskCommand(Command(512), log, 656);
    EXPECT_EQ(refused.error, 0U) << "the answer says how the command ended";
    EXPECT_EQ(refused.As<StorageProtocolCommandHead>().returnStatus, kProtocolStatusError);
    EXPECT_EQ(refused.As<StorageProtocolCommandHead>().errorCode, 0x109U);

    // More than the command asks the controller for, or less: it would write past the buffer.
    sent.clear();
    EXPECT_EQ(AskCommand(Command(508), log, 656).error, win32::kInvalidParameter);
    EXPECT_EQ(AskCommand(Command(512), words, 656).error, win32::kInvalidParameter);
    // Every opcode but Get Log Page, Identify and Get Features; flags beside the opcode; data to the device.
    for (std::uint32_t word = 0; word <= 0x106; ++word) {
        if (word != 2 && word != 6 && word != 10) {
            EXPECT_EQ(AskCommand(Command(512), {word}, 656).error, win32::kAccessDenied) << word;
        }
    }
    StorageProtocolCommandHead writing = Command(512);
    writing.dataToDeviceTransferLength = 512;
    EXPECT_EQ(AskCommand(writing, log, 656).error, win32::kAccessDenied);
    StorageProtocolCommandHead io2 = Command(512);
    io2.commandSpecific = 2;  // an NVM command
    EXPECT_EQ(AskCommand(io2, log, 656).error, win32::kAccessDenied);
    EXPECT_EQ(AskCommand(Command(512), log, 656, 143).error, win32::kInvalidParameter);
    EXPECT_TRUE(sent.empty());
}

TEST_F(LinuxNvme, FeaturesHaveRoomForWhateverTheyReturn)
{
    const Answer answer = AskCommand(Command(0), {0x0A, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x02}, 144);
    EXPECT_EQ(answer.As<StorageProtocolCommandHead>().fixedProtocolReturnData, 0x01020304U);
    ASSERT_EQ(sent.size(), 1U);
    EXPECT_EQ(sent[0].data_len, 4096U);
}

TEST_F(LinuxNvme, AccessIsForReadingAndDenialShowsInEachRequest)
{
    EXPECT_EQ(drives.openFlags & O_ACCMODE, O_RDONLY) << "though reading and writing was asked";
    EXPECT_EQ(drives.openFlags & (O_NONBLOCK | O_CLOEXEC), O_NONBLOCK | O_CLOEXEC);
    drives.denied = {"nvme0n1"};
    device = OpenDevice(io, DrivePath(0));
    ASSERT_TRUE(device.IsValid());
    EXPECT_EQ(AskQuery(Log(2, 512), 560).error, win32::kAccessDenied);
    EXPECT_EQ(AskCommand(Command(512), {2}, 656).error, win32::kAccessDenied);
    EXPECT_EQ(Ask(io, device, kIoctlDiskGetDriveGeometry, {}, 24).bytes.size(), 24U);
    EXPECT_EQ(Ask(io, device, 0x4711, {}, 24).error, win32::kInvalidFunction);
    EXPECT_TRUE(sent.empty());
}

}  // namespace orbis::tests
