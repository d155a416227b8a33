// ATA and SCSI pass-through: the command blocks that leave for the kernel, status and registers that come back, and what never
// leaves.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <set>
#include <vector>

#include <scsi/sg.h>

#include "CapturedMachine.h"
#include "PortHelpers.h"

namespace orbis::tests {
namespace {

using namespace platform;
using Bytes = std::vector<std::uint8_t>;

constexpr std::uint32_t kSata = 5;
constexpr std::uint32_t kUsb = 11;

// Sense data in descriptor format with an ATA status return descriptor (SAT): error, count, LBA, device, status.
Bytes AtaSense(std::uint8_t key, std::uint8_t error, std::uint8_t status)
{
    return {0x72, key, 0x00, 0x1D, 0, 0, 0, 14, 0x09, 12, 0, error, 0, 0x11, 0, 0x22, 0, 0x33, 0, 0x44, 0xA0, status};
}

class LinuxPassThrough : public testing::Test {
protected:
    LinuxPassThrough()
    {
        drives.ioctl = [this](const std::string& /*node*/, unsigned long request, void* argument) {
            if (request != SG_IO || failure != 0) {
                errno = failure != 0 ? failure : ENOTTY;
                return -1;
            }
            auto& header = *static_cast<sg_io_hdr_t*>(argument);
            EXPECT_EQ(header.interface_id, 'S');
            cdb.assign(header.cmdp, header.cmdp + header.cmd_len);
            length = header.dxfer_len;
            direction = header.dxfer_direction;
            timeout = header.timeout;
            if (header.dxfer_len != 0) {
                std::memset(header.dxferp, 0x5A, header.dxfer_len);
            }
            header.status = status;
            header.host_status = hostStatus;
            header.driver_status = static_cast<unsigned short>(sense.empty() ? 0 : 8);
            header.resid = residual;
            header.sb_len_wr = static_cast<unsigned char>(std::min<std::size_t>(sense.size(), header.mx_sb_len));
            std::copy_n(sense.begin(), header.sb_len_wr, header.sbp);
            return 0;
        };
    }

    void Open(std::uint32_t number) { device = OpenDevice(io, DrivePath(number)); }

    struct AtaAnswer {
        std::uint32_t error = 0;
        std::array<std::uint8_t, 8> registers{};
    };
    AtaAnswer AskAta(std::array<std::uint8_t, 8> registers, std::uint32_t bytes, std::uint16_t flags = 3)
    {
        data.assign(bytes, 0);
        AtaPassThroughDirect request;
        request.length = sizeof(request);
        request.ataFlags = flags;
        request.dataTransferLength = bytes;
        request.timeOutValue = 60;
        request.dataBuffer = data.data();
        request.currentTaskFile = registers;
        const Answer answer = Ask(io, device, kIoctlAtaPassThroughDirect, BytesOf(request), sizeof(request));
        return {answer.error, answer.As<AtaPassThroughDirect>().currentTaskFile};
    }

    Answer AskScsi(const Bytes& command, std::uint32_t bytes, std::uint8_t dataIn = 1, std::size_t room = 128)
    {
        data.assign(bytes, 0);
        ScsiPassThroughDirect request;
        request.length = sizeof(request);
        request.cdbLength = static_cast<std::uint8_t>(command.size());
        request.senseInfoLength = 64;
        request.dataIn = dataIn;
        request.dataTransferLength = bytes;
        request.timeOutValue = 60;
        request.dataBuffer = data.data();
        request.senseInfoOffset = 64;
        std::copy(command.begin(), command.end(), request.cdb.begin());
        return Ask(io, device, kIoctlScsiPassThroughDirect, BytesOf(request, 128), room);
    }

    // The next answer of the drive.
    std::uint8_t status = 0;
    unsigned short hostStatus = 0;
    int residual = 0;
    int failure = 0;
    Bytes sense;
    // The commands that it received.
    Bytes cdb;
    std::uint32_t length = 0;
    int direction = 0;
    unsigned timeout = 0;

    Bytes data;
    PlayedDrives drives;
    CapturedTree tree = CapturedTree::Named("every-transport.tree");
    linux_system::Platform machine{tree.Roots(), drives.Calls()};
    DeviceIo& io = machine.DeviceIoPort();
    DeviceHandle device = OpenDevice(io, DrivePath(kSata));
};

}  // namespace

TEST_F(LinuxPassThrough, AtaCommandsAreTranslated)
{
    const AtaAnswer answer = AskAta({0, 0, 0, 0, 0, 0, 0xEC, 0}, 512);
    EXPECT_EQ(answer.error, 0U);
    EXPECT_EQ(answer.registers[6], 0x50);
    EXPECT_EQ(data[511], 0x5A);
    EXPECT_EQ(cdb, (Bytes{0x85, 0x08, 0x0E, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0xEC, 0})) << "one block, though the count was 0";
    EXPECT_EQ(direction, SG_DXFER_FROM_DEV);
    EXPECT_EQ(timeout, 60000U);

    EXPECT_EQ(AskAta({0, 1, 0x9A, 0, 0, 0, 0x2F, 0}, 512).error, 0U);
    EXPECT_EQ(cdb, (Bytes{0x85, 0x09, 0x0E, 0, 0, 0, 1, 0, 0x9A, 0, 0, 0, 0, 0, 0x2F, 0})) << "extended by its nature";
    EXPECT_EQ(AskAta({0xD0, 1, 0, 0x4F, 0xC2, 0xA0, 0xB0, 0}, 512).error, 0U);
    EXPECT_EQ(cdb, (Bytes{0x85, 0x08, 0x0E, 0, 0xD0, 0, 1, 0, 0, 0, 0x4F, 0, 0xC2, 0xA0, 0xB0, 0}));
}

// SMART RETURN STATUS: the registers are all there is to know. A drive that does as told still answers CHECK CONDITION then.
TEST_F(LinuxPassThrough, RegistersComeBackFromCommandsWithoutData)
{
    const std::array<std::uint8_t, 8> smart{0xDA, 0, 0, 0x4F, 0xC2, 0, 0xB0, 0};
    status = 2;
    sense = AtaSense(1, 0, 0x50);
    EXPECT_EQ(AskAta(smart, 0, 1).registers, (std::array<std::uint8_t, 8>{0, 0x11, 0x22, 0x33, 0x44, 0xA0, 0x50, 0}));
    EXPECT_EQ(cdb, (Bytes{0x85, 0x06, 0x20, 0, 0xDA, 0, 0, 0, 0, 0, 0x4F, 0, 0xC2, 0, 0xB0, 0}));
    EXPECT_EQ(direction, SG_DXFER_NONE);
    // The same, squeezed into the fixed format: error, status, device, count; LBA.
    sense = {0x70, 0, 0x01, 0, 0x50, 0xA0, 0x11, 10, 0, 0x22, 0x33, 0x44, 0x00, 0x1D, 0, 0, 0, 0};
    EXPECT_EQ(AskAta(smart, 0, 1).registers, (std::array<std::uint8_t, 8>{0, 0x11, 0x22, 0x33, 0x44, 0xA0, 0x50, 0}));
    // Many bridges hang on the request for registers.
    Open(kUsb);
    status = 0;
    sense.clear();
    EXPECT_EQ(AskAta(smart, 0, 1).registers[6], 0x50);
    EXPECT_EQ(cdb[2], 0x00);
}

TEST_F(LinuxPassThrough, AnAbortIsAnAnswerAndARefusalIsNot)
{
    status = 2;
    for (const Bytes& aborted : {AtaSense(0x0B, 0x04, 0x51), Bytes{0x70, 0, 0x0B, 0, 0, 0, 0, 10, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}}) {
        sense = aborted;
        const AtaAnswer answer = AskAta({0, 1, 0x9A, 0, 0, 0, 0x2F, 0}, 512);
        EXPECT_EQ(answer.error, 0U);
        EXPECT_EQ(answer.registers[6], 0x51);
        EXPECT_EQ(answer.registers[0], 0x04);
    }

    // No translation at all: ILLEGAL REQUEST, in both formats; then sense data that ends too early or not at all.
    sense = {0x70, 0, 0x05, 0, 0, 0, 0, 10, 0, 0, 0, 0, 0x20, 0, 0, 0, 0, 0};
    EXPECT_EQ(AskAta({0, 0, 0, 0, 0, 0, 0xEC, 0}, 512).error, win32::kInvalidFunction);
    sense = {0x72, 0x05, 0x20, 0, 0, 0, 0, 0};
    EXPECT_EQ(AskAta({0, 0, 0, 0, 0, 0, 0xEC, 0}, 512).error, win32::kInvalidFunction);
    sense = AtaSense(1, 0, 0x50);
    for (const std::size_t size : {std::size_t{21}, std::size_t{9}, std::size_t{1}, std::size_t{0}}) {
        sense.resize(size);
        EXPECT_EQ(AskAta({0, 0, 0, 0, 0, 0, 0xEC, 0}, 512).error, win32::kIoDevice) << size;
    }
    sense.assign(64, 0);
    sense[0] = 0x72;  // descriptors of no length, to the end
    EXPECT_EQ(AskAta({0, 0, 0, 0, 0, 0, 0xEC, 0}, 512).error, win32::kIoDevice);
}

TEST_F(LinuxPassThrough, AtaCommandsThatMayChangeADriveNeverLeave)
{
    // With data READ LOG (DMA) EXT, IDENTIFY (PACKET) DEVICE and SMART READ DATA / THRESHOLDS / LOG may pass, without CHECK POWER
    // MODE and SMART RETURN STATUS: of 256 commands and 256 features of SMART nothing else.
    const std::set<std::pair<int, int>> withData{{0x2F, 0},    {0x47, 0},    {0xA1, 0},   {0xEC, 0},
                                                 {0xB0, 0xD0}, {0xB0, 0xD1}, {0xB0, 0xD5}};
    const std::set<std::pair<int, int>> without{{0xE5, 0}, {0xB0, 0xDA}};
    for (int value = 0; value < 512; ++value) {
        const auto [command, features] = value < 256 ? std::pair(value, 0) : std::pair(0xB0, value - 256);
        const std::array<std::uint8_t, 8> registers{static_cast<std::uint8_t>(features), 1, 0, 0x4F, 0xC2, 0,
                                                    static_cast<std::uint8_t>(command),  0};
        const bool mayRead = withData.contains({command, features});
        EXPECT_EQ(AskAta(registers, 512).error != win32::kAccessDenied, mayRead) << command << ' ' << features;
        EXPECT_EQ(AskAta(registers, 0, 1).error != win32::kAccessDenied, without.contains({command, features})) << command;
    }
    cdb.clear();
    EXPECT_EQ(AskAta({0, 1, 0, 0, 0, 0, 0xEC, 0}, 512, 1 | 4).error, win32::kAccessDenied) << "data to the drive";
    EXPECT_EQ(AskAta({0, 1, 0, 0, 0, 0, 0xEC, 0}, 512, 1).error, win32::kInvalidParameter) << "data from nowhere";
    EXPECT_EQ(AskAta({0, 2, 0x9A, 0, 0, 0, 0x2F, 0}, 512).error, win32::kInvalidParameter) << "two sectors into one";
    EXPECT_EQ(AskAta({0, 0, 0, 0, 0, 0, 0xEC, 0}, 1024).error, win32::kInvalidParameter)
        << "two sectors of a command that moves one";
    EXPECT_EQ(AskAta({0, 1, 0, 0, 0, 0, 0xEC, 0}, 500).error, win32::kInvalidParameter);
    EXPECT_TRUE(cdb.empty());
}

// The state is in the count register. A drive or bridge that refuses is no sleeper, nor is one that returns no registers.
TEST_F(LinuxPassThrough, ThePowerStateIsAskedForByCheckPowerMode)
{
    const auto stateOf = [&](std::uint32_t number) { return io.DiskPowerState(DrivePath(number).c_str()); };
    status = 2;
    for (const std::uint32_t number : {kSata, kUsb}) {
        for (const auto& [count, expected] : std::vector<std::pair<std::uint8_t, PowerState>>{{0x00, PowerState::Asleep},
                                                                                              {0x01, PowerState::Asleep},
                                                                                              {0x40, PowerState::Asleep},
                                                                                              {0x41, PowerState::Awake},
                                                                                              {0x80, PowerState::Awake},
                                                                                              {0xFF, PowerState::Awake}}) {
            sense = AtaSense(1, 0, 0x50);
            sense[13] = count;
            EXPECT_EQ(stateOf(number), expected) << int{count};
            EXPECT_EQ(cdb, (Bytes{0x85, 0x06, 0x20, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xE5, 0}));
            EXPECT_LE(timeout, 5000U);
        }
        for (const Bytes& refused : {AtaSense(0x0B, 0x04, 0x51), Bytes{0x72, 0x05, 0x20, 0, 0, 0, 0, 0}, Bytes{}}) {
            sense = refused;
            EXPECT_EQ(stateOf(number), PowerState::Unknown);
        }
    }
    status = 0;
    EXPECT_EQ(stateOf(kUsb), PowerState::Awake) << "registers that do not come back";
    failure = EIO;
    EXPECT_EQ(stateOf(kSata), PowerState::Unknown);
    failure = 0;
    drives.denied = {"sdb"};
    EXPECT_EQ(stateOf(kSata), PowerState::Unknown) << "no rights";
    cdb.clear();
    for (const std::uint32_t number : {0U, 4U, 7U, 10U}) {
        EXPECT_EQ(stateOf(number), PowerState::Awake) << "NVMe, a solid-state disk, no ATA, behind RAID: " << number;
    }
    EXPECT_TRUE(cdb.empty());
}

// Opening the node of a suspended disk resumes it, so it is not opened, by its volumes neither, nor for their serial numbers.
TEST_F(LinuxPassThrough, WhatTheKernelHasSuspendedIsNotOpened)
{
    tree.Add("sys/dev/block/8:17 -> ../../class/block/sdb1\ndev/disk/by-uuid/1111-2222 -> ../../sdb1\n");
    tree.Append("proc/self/mountinfo", "21 1 8:17 / / rw - ext4 /dev/sdb1 rw");
    std::string ext(8192, '\0');
    ext.replace(1024 + 56, 2, "\x53\xEF");
    ext.replace(1024 + 104, 4, "\xAA\xBB\xCC\xDD");
    tree.Write("dev/sdb1", ext);
    const auto serial = [&]() -> std::u16string {
        for (const auto& row :
             Query(machine.WmiPort(), u"root\\cimv2", u"SELECT * FROM Win32_LogicalDisk", {u"Caption", u"VolumeSerialNumber"})
                 .rows) {
            if (row[0].text == u"C:") {
                return row[1].text.value_or(u"");
            }
        }
        return u"no volume";
    };
    EXPECT_EQ(serial(), u"AABBCCDD");
    const std::string power = "sys/devices/pci0000:00/0000:00:1f.2/ata3/host2/target2:0:0/2:0:0:0/power/runtime_status";
    for (const auto& [runtime, expected] : std::vector<std::pair<const char*, PowerState>>{{"active\n", PowerState::Awake},
                                                                                           {"suspending\n", PowerState::Asleep},
                                                                                           {"suspended\n", PowerState::Asleep},
                                                                                           {"resuming\n", PowerState::Awake}}) {
        tree.Write(power, runtime);
        for (const std::u16string& path : {DrivePath(kSata), std::u16string(u"\\\\.\\C:")}) {
            drives.openFlags = 0;
            EXPECT_EQ(io.DiskPowerState(path.c_str()), expected) << runtime;
            EXPECT_EQ(drives.openFlags != 0, expected == PowerState::Awake) << runtime;
        }
        EXPECT_EQ(serial(), expected == PowerState::Awake ? u"AABBCCDD" : u"11112222") << runtime;
    }
}

TEST_F(LinuxPassThrough, ScsiStatusAndSenseStandWhereWindowsPutsThem)
{
    residual = 4;
    Answer answer = AskScsi({0x12, 0, 0, 0, 36, 0}, 36);
    ASSERT_EQ(answer.error, 0U);
    EXPECT_EQ(cdb, (Bytes{0x12, 0, 0, 0, 36, 0}));
    EXPECT_EQ(answer.As<ScsiPassThroughDirect>().dataTransferLength, 32U);
    EXPECT_EQ(data[31], 0x5A);
    EXPECT_EQ(data[32], 0) << "what did not come is zero";

    residual = 0;
    status = 2;
    sense = {0x70, 0, 0x05, 0, 0, 0, 0, 10, 0, 0, 0, 0, 0x20, 0, 0, 0, 0, 0};
    answer = AskScsi({0x12, 0, 0, 0, 36, 0}, 36);
    ASSERT_EQ(answer.error, 0U) << "CHECK CONDITION is an answer";
    const auto pass = answer.As<ScsiPassThroughDirect>();
    EXPECT_EQ(pass.scsiStatus, 2);
    EXPECT_EQ(pass.senseInfoLength, sense.size());
    EXPECT_TRUE(std::equal(sense.begin(), sense.end(), answer.bytes.begin() + 64));

    status = 0;  // sense data may come with good news too
    EXPECT_EQ(AskScsi({0x12, 0, 0, 0, 36, 0}, 36).As<ScsiPassThroughDirect>().senseInfoLength, sense.size());
    sense.clear();
    for (const auto& [host, error] : std::vector<std::pair<unsigned short, std::uint32_t>>{
             {1, win32::kNoSuchDevice}, {3, win32::kSemTimeout}, {7, win32::kIoDevice}}) {
        hostStatus = host;
        EXPECT_EQ(AskScsi({0x12, 0, 0, 0, 36, 0}, 36).error, error) << host;
    }
    hostStatus = 0;
    failure = EPERM;
    EXPECT_EQ(AskScsi({0x12, 0, 0, 0, 36, 0}, 36).error, win32::kAccessDenied);
    failure = ENOTTY;  // NVMe and virtio
    EXPECT_EQ(AskScsi({0x12, 0, 0, 0, 36, 0}, 36).error, win32::kNotSupported);
}

TEST_F(LinuxPassThrough, ScsiCommandsThatMayChangeADriveNeverLeave)
{
    const Bytes smartRead{0x85, 0x08, 0x0E, 0, 0xD0, 0, 1, 0, 0, 0, 0x4F, 0, 0xC2, 0, 0xB0, 0};
    EXPECT_EQ(AskScsi(smartRead, 512).error, 0U);
    EXPECT_EQ(cdb, smartRead);
    cdb.clear();
    const auto changed = [&](std::size_t at, std::uint8_t value) {
        Bytes command = smartRead;
        command[at] = value;
        return command;
    };
    for (const Bytes& command : {
             changed(14, 0xF4),                                             // SECURITY ERASE UNIT inside
             changed(4, 0xD6),                                              // SMART WRITE LOG inside
             changed(1, 0x0A),                                              // PIO data-out
             changed(2, 0x06),                                              // to the device
             changed(1, 0x28),                                              // repeated
             Bytes{0x4D, 1, 0x42, 0, 0, 0, 0, 2, 0, 0},                     // LOG SENSE that saves
             Bytes{0x9E, 0x12, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 32, 0, 0},  // a service action that is not known
         }) {
        EXPECT_EQ(AskScsi(command, 512).error, win32::kAccessDenied) << int{command[0]};
        EXPECT_EQ(AskScsi(command, 512, 0).error, win32::kAccessDenied) << int{command[0]};
    }
    // TEST UNIT READY, REQUEST SENSE, INQUIRY, MODE SENSE, READ CAPACITY, LOG SENSE and REPORT LUNS: no other command without more.
    const std::set<int> reads{0x00, 0x03, 0x12, 0x1A, 0x25, 0x4D, 0x5A, 0xA0};
    for (int opcode = 0; opcode < 256; ++opcode) {
        const Bytes command{static_cast<std::uint8_t>(opcode), 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
        EXPECT_EQ(AskScsi(command, 512).error != win32::kAccessDenied, reads.contains(opcode)) << opcode;
    }
    cdb.clear();
    EXPECT_EQ(AskScsi({0x12, 0, 0, 0, 36, 0}, 36, 0).error, win32::kAccessDenied) << "data to the device";
    EXPECT_EQ(AskScsi({0x12, 0, 0, 0, 36, 0}, (1U << 20) + 1).error, win32::kInvalidParameter);
    EXPECT_TRUE(cdb.empty());
}

}  // namespace orbis::tests
