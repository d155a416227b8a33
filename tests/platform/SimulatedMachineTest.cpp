#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <numeric>
#include <thread>

#include "PortHelpers.h"
#include "simulated/Machine.h"
#include "simulated/MachineFile.h"

namespace orbis::simulated {
namespace {

using namespace orbis::platform;
using tests::Answer;
using tests::Ask;
using tests::BytesOf;
using tests::OpenDevice;
using Bytes = std::vector<std::uint8_t>;

class SimulatedMachineTest : public testing::Test {
protected:
    ~SimulatedMachineTest() override
    {
        if (machine != nullptr) {
            EXPECT_EQ(machine->OpenObjects(), OpenCounts{});
            EXPECT_TRUE(machine->Misuses().empty()) << machine->Misuses().front();
        }
    }
    void Make(const std::string& text) { machine = ParseMachine(text); }
    DeviceIo& Io() { return machine->DeviceIoPort(); }
    DeviceHandle Drive(std::uint32_t number) { return OpenDevice(Io(), tests::DrivePath(number)); }

    Answer Protocol(const DeviceHandle& drive, std::uint32_t dataType, std::uint32_t value, std::uint32_t length = 512,
                    std::uint32_t offset = 0, std::uint32_t dataOffset = sizeof(StorageProtocolSpecificData))
    {
        StorageProtocolQuery query;
        query.query.propertyId = kStorageDeviceProtocolSpecificProperty;
        query.protocol.protocolType = kProtocolTypeNvme;
        query.protocol.dataType = dataType;
        query.protocol.requestValue = value;
        query.protocol.requestSubValue = offset;
        query.protocol.dataOffset = dataOffset;
        query.protocol.dataLength = length;
        return Ask(Io(), drive, kIoctlStorageQueryProperty, BytesOf(query), 8 + dataOffset + std::size_t{length});
    }

    // One ATA command through ATA_PASS_THROUGH_DIRECT: the data, and the task file that came back.
    struct AtaOutcome {
        std::uint32_t error = 0;
        std::uint8_t status = 0;
        Bytes data = Bytes(512, 0xEE);
    };
    AtaOutcome Ata(const DeviceHandle& drive, std::uint8_t command, std::uint8_t features = 0, std::uint8_t lbaLow = 0)
    {
        AtaOutcome outcome;
        AtaPassThroughDirect pass;
        pass.length = sizeof(pass);
        pass.ataFlags = kAtaFlagsDataIn;
        pass.dataTransferLength = 512;
        pass.timeOutValue = 60;
        pass.dataBuffer = outcome.data.data();
        pass.currentTaskFile = {features, 1, lbaLow, 0x4F, 0xC2, 0, command, 0};
        const Answer answer = Ask(Io(), drive, kIoctlAtaPassThroughDirect, BytesOf(pass), sizeof(pass));
        outcome.error = answer.error;
        outcome.status = answer.As<AtaPassThroughDirect>().currentTaskFile[6];
        EXPECT_TRUE(answer.error != 0 || answer.As<AtaPassThroughDirect>().dataBuffer == outcome.data.data());
        return outcome;
    }

    // One CDB through SCSI_PASS_THROUGH_DIRECT with a sense area at offset 64.
    struct ScsiOutcome {
        std::uint32_t error = 0;
        std::uint8_t status = 0;
        Bytes sense;
        Bytes data = Bytes(512, 0xEE);
    };
    ScsiOutcome Scsi(const DeviceHandle& drive, const std::array<std::uint8_t, 16>& cdb, std::uint8_t cdbLength = 16)
    {
        ScsiOutcome outcome;
        ScsiPassThroughDirect pass;
        pass.length = sizeof(pass);
        pass.cdbLength = cdbLength;
        pass.senseInfoLength = 64;
        pass.dataIn = kScsiIoctlDataIn;
        pass.dataTransferLength = 512;
        pass.timeOutValue = 60;
        pass.dataBuffer = outcome.data.data();
        pass.senseInfoOffset = 64;
        pass.cdb = cdb;
        const Answer answer = Ask(Io(), drive, kIoctlScsiPassThroughDirect, BytesOf(pass, 128), 128);
        outcome.error = answer.error;
        outcome.status = answer.As<ScsiPassThroughDirect>().scsiStatus;
        outcome.sense.assign(answer.bytes.begin() + std::min<std::ptrdiff_t>(64, std::ssize(answer.bytes)), answer.bytes.end());
        return outcome;
    }
    static std::array<std::uint8_t, 16> AtaInScsi(std::uint8_t command, std::uint8_t features = 0)
    {
        return {0x85, 0x08, 0x0E, 0, features, 0, 1, 0, 0, 0, 0x4F, 0, 0xC2, 0, command, 0};
    }

    std::unique_ptr<Machine> machine;
};

Bytes Part(const Bytes& bytes, std::size_t offset, std::size_t length)
{
    return {bytes.begin() + static_cast<std::ptrdiff_t>(offset), bytes.begin() + static_cast<std::ptrdiff_t>(offset + length)};
}

TEST_F(SimulatedMachineTest, AtaPagesHaveAValidChecksumAndCommandsThatWriteAreAborted)
{
    Make("disk { number: 0 kind: SATA_HDD size: 1048576 ata { attribute { id: 194 value: 60 threshold: 5 raw: 40 } } }");
    const DeviceHandle drive = Drive(0);
    for (const Bytes& page : {Ata(drive, 0xEC).data, Ata(drive, 0xB0, 0xD0).data, Ata(drive, 0xB0, 0xD1).data}) {
        EXPECT_EQ(std::accumulate(page.begin(), page.end(), 0U) % 256, 0U);
    }
    // A real device aborts commands that write, unknown commands and log addresses that it does not have.
    for (const auto& [command, features, log] : {std::tuple{0xCA, 0, 0}, {0x2F, 0, 0x30}, {0xB0, 0xD8, 0}, {0xEF, 2, 0}}) {
        const auto outcome =
            Ata(drive, static_cast<std::uint8_t>(command), static_cast<std::uint8_t>(features), static_cast<std::uint8_t>(log));
        EXPECT_EQ(outcome.error, 0U);
        EXPECT_EQ(outcome.status, 0x51) << command;
        EXPECT_EQ(outcome.data, Bytes(512, 0xEE)) << "no data";
    }
    const auto aborted = Scsi(drive, AtaInScsi(0xCA));
    EXPECT_EQ(aborted.status, 2) << "CHECK CONDITION";
    EXPECT_EQ(Part(aborted.sense, 0, 2), (Bytes{0x72, 0x0B})) << "aborted command";
}

TEST_F(SimulatedMachineTest, EachKindRefusesWhatItsDriverRefuses)
{
    struct Case {
        const char* kind;
        std::uint32_t busType;
        std::uint32_t ata;         // error of ATA pass-through
        std::uint32_t translated;  // error of ATA PASS-THROUGH(16)
        std::uint8_t status;       // its SCSI status
        std::uint32_t inquiry;     // error of INQUIRY
        std::uint32_t nvme;        // error of a protocol-specific query
    };
    constexpr std::uint32_t kRefused = win32::kInvalidFunction;
    for (const Case& expected :
         {Case{"NVME", 17, kRefused, kRefused, 0, 0, 0}, Case{"NVME_RAID", 8, kRefused, kRefused, 0, 0, 0},
          Case{"SATA_HDD", 11, 0, 0, 0, 0, kRefused}, Case{"SATA_SSD", 11, 0, 0, 0, 0, kRefused},
          Case{"USB_STICK", 7, kRefused, 0, 2, 0, kRefused}, Case{"USB_SATA", 7, kRefused, 0, 0, 0, kRefused},
          Case{"SCM", 18, kRefused, kRefused, 0, kRefused, kRefused}}) {
        SCOPED_TRACE(expected.kind);
        Make(std::string("disk { number: 5 size: 1048576 model: \"A B\" kind: ") + expected.kind + " }");
        const DeviceHandle drive = Drive(5);
        EXPECT_EQ(Ask(Io(), drive, kIoctlStorageQueryProperty, BytesOf(StoragePropertyQueryHead{}, 12), 1024)
                      .As<StorageDeviceDescriptorHead>()
                      .busType,
                  static_cast<BusType>(expected.busType));
        EXPECT_EQ(Ata(drive, 0xEC).error, expected.ata);
        const auto translated = Scsi(drive, AtaInScsi(0xEC));
        EXPECT_EQ(translated.error, expected.translated);
        EXPECT_EQ(translated.status, expected.status);
        const auto inquiry = Scsi(drive, {0x12, 0, 0, 0, 36}, 6);
        EXPECT_EQ(inquiry.error, expected.inquiry);
        EXPECT_EQ(inquiry.data[36], 0xEE) << "no more than asked for";
        EXPECT_EQ(Protocol(drive, kNvmeDataTypeIdentify, 1, 4096).error, expected.nvme);
    }
}

TEST_F(SimulatedMachineTest, MalformedRequestsAreRefusedAsTheDriverDoes)
{
    Make(R"(disk { number: 0 kind: NVME size: 1048576 nvme { log_page { identifier: 5 content { hex: "0102030405060708" } } } })");
    const DeviceHandle nvme = Drive(0);
    EXPECT_EQ(Ask(Io(), nvme, kIoctlStorageQueryProperty, BytesOf(StoragePropertyQueryHead{99, 0}, 12), 64).error,
              win32::kInvalidFunction);
    EXPECT_EQ(Protocol(nvme, kNvmeDataTypeIdentify, 0x1F, 4096).error, win32::kInvalidFunction);
    EXPECT_EQ(Part(Protocol(nvme, kNvmeDataTypeLogPage, 5, 8, 4).bytes, 48, 8), (Bytes{5, 6, 7, 8, 0, 0, 0, 0}))
        << "from an offset";
    EXPECT_EQ(Protocol(nvme, kNvmeDataTypeLogPage, 5, 8, 9).error, win32::kInvalidFunction) << "past the page";

    StorageProtocolCommandHead head;
    head.protocolType = kProtocolTypeNvme;
    head.flags = kProtocolCommandFlagAdapterRequest;
    head.commandLength = kProtocolCommandLengthNvme;
    head.dataFromDeviceTransferLength = 512;
    head.dataFromDeviceBufferOffset = 144;
    head.timeOutValue = 10;
    head.commandSpecific = kProtocolSpecificNvmeAdminCommand;
    // Get Log Page of a page that does not exist (128 double words, zero-based): Invalid Log Page. A command that does not read:
    // Invalid Opcode.
    for (const auto& [opcode, error] : {std::pair<std::uint8_t, std::uint32_t>{0x02, 0x109}, {0x01, 1}}) {
        Bytes command = BytesOf(head, 144);
        command[80] = opcode;
        command[80 + 40] = 0xC0;
        command[80 + 42] = 127;
        const auto refused = Ask(Io(), nvme, kIoctlStorageProtocolCommand, command, 144 + 512).As<StorageProtocolCommandHead>();
        EXPECT_EQ(refused.returnStatus, kProtocolStatusError);
        EXPECT_EQ(refused.errorCode, error);
    }
}

TEST_F(SimulatedMachineTest, AccessLimitsRequestsOfAHandle)
{
    const std::string disk =
        R"(disk { number: 0 kind: SATA_SSD size: 4194304 gpt { partition { size: 1048576 volume { letter: "c" } } } })";
    Make(disk);
    for (const char16_t* path : {u"\\\\.\\physicaldrive0", u"\\\\.\\C:", u"\\\\?\\volume{00c0ffee-0000-0001-0000-000000000000}"}) {
        const DeviceHandle attributes = OpenDevice(Io(), path, kFileReadAttributes);
        ASSERT_TRUE(attributes.IsValid());
        EXPECT_EQ(Ask(Io(), attributes, kIoctlDiskPerformance, {}, 88).bytes.size(), 88U) << "any access will do";
        EXPECT_EQ(Ata(attributes, 0xEC).error, win32::kAccessDenied);
        EXPECT_EQ(Ata(OpenDevice(Io(), path, kGenericRead), 0xEC).error, win32::kAccessDenied);
        EXPECT_EQ(Ata(OpenDevice(Io(), path), 0xEC).error, 0U);
    }
    machine = ParseMachine("elevated: false " + disk);
    EXPECT_FALSE(OpenDevice(Io(), u"\\\\.\\PhysicalDrive0", kGenericRead).IsValid());
    EXPECT_EQ(Io().LastError(), win32::kAccessDenied);
    EXPECT_TRUE(OpenDevice(Io(), u"\\\\.\\PhysicalDrive0", 0).IsValid());
    machine = ParseMachine("disk { number: 0 kind: NVME size: 512 open_error: 32 open_error_access: 0x40000000 }");
    EXPECT_FALSE(OpenDevice(Io(), u"\\\\.\\PhysicalDrive0").IsValid());
    EXPECT_EQ(Io().LastError(), win32::kSharingViolation);
    EXPECT_TRUE(OpenDevice(Io(), u"\\\\.\\PhysicalDrive0", kGenericRead).IsValid());
}

TEST_F(SimulatedMachineTest, ARecordedExchangeAnswersWhatBeginsWithItsInput)
{
    Make(
        R"(device { path: "\\\\.\\Recorded" exchange { control_code: 0x70000 input { hex: "01 02" } output { hex: "aabb" } returned: 99 }
                     exchange { control_code: 0x70000 error: 23 } })");
    const DeviceHandle recorded = OpenDevice(Io(), u"\\\\.\\RECORDED", kGenericRead);
    EXPECT_EQ(Ask(Io(), recorded, 0x70000, {1, 2, 3}, 4).bytes, (Bytes{0xAA, 0xBB, 0, 0}));
    EXPECT_EQ(Ask(Io(), recorded, 0x70000, {1}, 4).error, win32::kCrc);
    EXPECT_EQ(Ask(Io(), recorded, 0x70004, {}, 4).error, win32::kInvalidFunction);
}

TEST_F(SimulatedMachineTest, AMachineRecordedFromLifeNeedsNoDescribedDisk)
{
    Make(R"(device_walk { device_interface { path: "\\\\?\\one" } device_interface { path: "\\\\?\\two" detail_error: 5 }
                          device { instance_id: "ONE" } device { instance_id: "TWO" property_error: 1168 } }
            device { path: "\\\\?\\one" exchange { control_code: 0x2D1080 output { hex: "07000000 09000000 00000000" } } }
            device { path: "\\\\?\\two" open_error: 5 })");
    const auto walked = tests::WalkDisks(machine->SetupPort());
    ASSERT_EQ(walked.size(), 2U);
    EXPECT_EQ(walked[0].path + u" " + walked[0].instanceId, u"\\\\?\\one ONE");
    EXPECT_TRUE(walked[1].path.empty() && walked[1].instanceId.empty()) << "both fail as recorded";
    EXPECT_EQ(
        Ask(Io(), OpenDevice(Io(), walked[0].path), kIoctlStorageGetDeviceNumber, {}, 12).As<StorageDeviceNumber>().deviceNumber,
        9U);
}

TEST_F(SimulatedMachineTest, ActivityCountsFromItsStartToTheNext)
{
    Make(
        R"(disk { number: 0 kind: NVME size: 4194304 bytes_read_before: 7 gpt { partition { size: 1048576 volume { letter: "C" } } }
              activity { from: 1 read_bytes_per_second: 4096000 } activity { from: 2 write_bytes_per_second: 10240 } })");
    machine->AdvanceClock(std::chrono::seconds(4));
    const auto performance =
        Ask(Io(), OpenDevice(Io(), u"\\\\.\\C:", kFileReadAttributes), kIoctlDiskPerformance, {}, 88).As<DiskPerformance>();
    EXPECT_EQ(std::pair(performance.bytesRead, performance.bytesWritten), std::pair(std::int64_t{4096007}, std::int64_t{20480}));
}

TEST_F(SimulatedMachineTest, ACounterInstanceMayBeRenamedOrReplaced)
{
    Make(
        "disk { number: 0 kind: NVME size: 512 bytes_read_before: 9 activity { read_bytes_per_second: 1 }"
        " counter_change { at: 2 restarts: true } counter_change { at: 4 name: '0 X:' } }");
    Pdh& pdh = machine->PdhPort();
    PdhQueryObject* query = nullptr;
    PdhCounterObject* counter = nullptr;
    ASSERT_EQ(pdh.OpenQuery(nullptr, 0, &query), pdh::kOk);
    ASSERT_EQ(pdh.AddEnglishCounter(query, u"\\PhysicalDisk(0)\\Disk Read Bytes/sec", 0, &counter), pdh::kOk);
    for (const std::uint32_t status :
         {pdh::kInvalidData, pdh::kValidData, pdh::kInvalidData, pdh::kValidData, pdh::kNoInstance}) {  // one a second
        PdhCounterValue value;
        EXPECT_EQ(pdh.CollectQueryData(query), pdh::kOk);
        static_cast<void>(pdh.FormattedValue(counter, pdh::kFormatDouble, &value));
        EXPECT_EQ(value.status, status) << "after " << machine->TimePort().UtcNow().time_since_epoch().count();
        machine->AdvanceClock(std::chrono::seconds(1));
    }
    EXPECT_EQ(pdh.CloseQuery(query), pdh::kOk);
}

TEST_F(SimulatedMachineTest, LettersOnNoDiskAreLogicalDisksAndTheLocalOnesVolumes)
{
    Make(
        "volume { letter: 'd' } volume { letter: 'N' drive_type: 4 } volume { letter: 'R' drive_type: 2 serial: 7 label: 'CARD' }");
    Wmi& wmi = machine->WmiPort();
    EXPECT_EQ(tests::Query(wmi, u"root\\cimv2", u"SELECT * FROM Win32_LogicalDisk").rows.size(), 3U);
    const auto volumes = tests::Query(wmi, u"root\\cimv2", u"SELECT * FROM Win32_Volume", {u"DriveLetter", u"Label", u"Capacity"});
    ASSERT_EQ(volumes.rows.size(), 2U) << "a share of another computer is no volume";
    EXPECT_EQ(volumes.rows[0][0].text, u"D:");
    EXPECT_EQ(volumes.rows[0][1].type, VariantType::Null) << "no medium";
    EXPECT_EQ(volumes.rows[1][1].text, u"CARD");
    EXPECT_EQ(volumes.rows[1][2].type, VariantType::Null);
}

// STATUS_NO_MEDIA_IN_DEVICE of the disk's class driver is ERROR_NOT_READY; that of optical drives knows no partitions.
TEST_F(SimulatedMachineTest, DrivesWithoutAMediumAndOpticalOnesAnswerAsTheirDriversDo)
{
    Make("disk { number: 1 kind: USB_STICK no_medium: true leaves_at: 9 } volume { letter: 'D' } volume { letter: 'E' disk: 1 }");
    for (const auto& [path, code, error] : {std::tuple{u"\\\\.\\PhysicalDrive1", kIoctlStorageGetDeviceNumber, win32::kSuccess},
                                            std::tuple{u"\\\\.\\PhysicalDrive1", kIoctlDiskGetDriveGeometry, win32::kNotReady},
                                            std::tuple{u"\\\\.\\PhysicalDrive1", kIoctlDiskGetDriveLayoutEx, win32::kNotReady},
                                            std::tuple{u"\\\\.\\E:", kIoctlDiskGetPartitionInfoEx, win32::kNotReady},
                                            std::tuple{u"\\\\.\\E:", kIoctlDiskPerformance, win32::kSuccess},
                                            std::tuple{u"\\\\.\\D:", kIoctlStorageGetDeviceNumber, win32::kSuccess},
                                            std::tuple{u"\\\\.\\D:", kIoctlDiskGetPartitionInfoEx, win32::kInvalidFunction},
                                            std::tuple{u"\\\\.\\D:", kIoctlDiskPerformance, win32::kInvalidFunction}}) {
        EXPECT_EQ(Ask(Io(), OpenDevice(Io(), path, kGenericRead), code, {}, 512).error, error) << Utf16ToUtf8(path) << code;
    }
    std::array<char16_t, 16> letters{};
    EXPECT_EQ(Io().LogicalDriveStrings(16, letters.data()), 8U);
    machine->AdvanceClock(std::chrono::seconds(9));
    EXPECT_EQ(Io().LogicalDriveStrings(16, letters.data()), 4U) << "E: went with its reader";
    EXPECT_FALSE(OpenDevice(Io(), u"\\\\.\\E:", kGenericRead).IsValid());
}

TEST_F(SimulatedMachineTest, ApartmentsAreKeptByThread)
{
    Make("");
    Wmi& wmi = machine->WmiPort();
    ComObject* locator = nullptr;
    EXPECT_EQ(wmi.CreateLocator(&locator), hresult::kCoNotInitialized);
    EXPECT_EQ(wmi.InitializeCom(0), hresult::kOk);
    EXPECT_EQ(wmi.InitializeSecurity(-1, 0, 3, 0), hresult::kOk);
    EXPECT_EQ(wmi.InitializeSecurity(-1, 0, 3, 0), hresult::kRpcTooLate);
    std::thread([&] {
        EXPECT_EQ(wmi.CreateLocator(&locator), hresult::kOk) << "in the multi-threaded apartment of the other thread";
        wmi.Release(locator);
        wmi.UninitializeCom();  // one too many
    }).join();
    EXPECT_EQ(machine->OpenObjects().comInitialisations, 0) << "one here, minus the one too many";
    Make("com { single_threaded: true locator_error: 0x80040154 }");
    EXPECT_EQ(machine->WmiPort().InitializeCom(0), hresult::kRpcChangedMode);
    EXPECT_EQ(machine->WmiPort().CreateLocator(&locator), hresult::kClassNotRegistered);
}

TEST_F(SimulatedMachineTest, MisuseIsSeenAndSurvived)
{
    Make("disk { number: 0 kind: NVME size: 512 }");
    const NativeHandle handle = Io().Open(u"\\\\.\\PhysicalDrive0", kGenericRead, 3, nullptr, kOpenExisting, 0, 0);
    EXPECT_TRUE(Io().Close(handle));
    EXPECT_FALSE(Io().Close(handle));
    Wmi& wmi = machine->WmiPort();
    const Bstr text = wmi.AllocateString(u"x");
    wmi.FreeString(text);
    wmi.FreeString(text);
    wmi.InitializeCom(0);
    ComObject* locator = nullptr;
    EXPECT_EQ(wmi.CreateLocator(&locator), hresult::kOk);
    std::thread([&] { wmi.Release(locator); }).join();
    wmi.Release(locator);
    wmi.UninitializeCom();
    EXPECT_EQ(machine->Misuses(),
              (std::vector<std::string>{
                  "DeviceIo::Close of a handle that is not open", "Wmi::FreeString of a string that is not allocated",
                  "Wmi::Release on a thread that did not make the interface", "Wmi::Release of an interface that is not held"}));
    EXPECT_EQ(machine->OpenObjects(), OpenCounts{});
    machine.reset();
}

TEST_F(SimulatedMachineTest, ASleepingDiskIsWokenByAnyRequestButOne)
{
    const std::string sleeper =
        "disk { number: 2 kind: SATA_HDD size: 1000000000 wakes_at: 60 gpt { partition { volume { letter: 'D' } } } ";
    Make(sleeper + "sleeps_at: 5 }");
    const std::u16string disk = tests::DrivePath(2);
    const auto state = [&] { return Io().DiskPowerState(disk.c_str()); };
    EXPECT_EQ(state(), PowerState::Awake);
    DeviceHandle early = OpenDevice(Io(), disk, 0);
    machine->AdvanceClock(std::chrono::seconds(5));
    EXPECT_EQ(Io().DiskPowerState(u"\\\\.\\d:"), PowerState::Asleep);
    EXPECT_EQ(state(), PowerState::Asleep) << "still";
    EXPECT_EQ(machine->Misuses(), std::vector<std::string>{});
    EXPECT_EQ(Ask(Io(), early, kIoctlStorageGetDeviceNumber, {}, 12).error, 0U);
    early.Reset();
    EXPECT_EQ(machine->Misuses(), std::vector<std::string>{"a request wakes DISK2, which is asleep"});
    EXPECT_EQ(state(), PowerState::Awake);

    Make(sleeper + "sleeps_at: 0 }");
    static_cast<void>(OpenDevice(Io(), u"\\\\.\\D:", 0));
    EXPECT_EQ(machine->Misuses(), std::vector<std::string>{}) << "nobody has asked";
    EXPECT_EQ(state(), PowerState::Awake) << "it was woken";
}

TEST_F(SimulatedMachineTest, NarrowTextIsDecodedByTheCodePageOfTheFile)
{
    struct Case {
        const char* codePage;
        std::u16string expected;  // of 41 80 E9 FF
    };
    for (const Case& expected :
         {Case{"65001", u"A\uFFFD\uFFFD\uFFFD"}, Case{"1252", u"A\u20ac\u00e9\u00ff"}, Case{"437", u"A\u00c7\u0398\u00a0"},
          Case{"28591", u"A\u0080\u00e9\u00ff"}, Case{"20127", u"A\uFFFD\uFFFD\uFFFD"}}) {
        Make(std::string("code_page: ") + expected.codePage);
        std::u16string wide(4, u'#');
        EXPECT_EQ(machine->TextPort().DefaultToWide("A\x80\xE9\xFF", 4, wide.data(), 4), 4);
        EXPECT_EQ(wide, expected.expected) << expected.codePage;
    }
}

}  // namespace
}  // namespace orbis::simulated
