// Disks through the operating system: requests sent, answers decoded, failures raised.
#include "Common/HardwareAccess.h"

#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <fmt/format.h>
#include <gmock/gmock.h>

#include "Common/ResultException.h"
#include "MachineInForce.h"
#include "Raises.h"
#include "platform/Text.h"

namespace Veyra::Orbis::Cpp::Common::HardwareAccessLib {
namespace {

using namespace orbis::platform;
using orbis::fakes::ExpectRaises;
using orbis::fakes::MachineInForce;
using orbis::simulated::FaultKind;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

const std::u16string kDisk = uR"(\\.\PhysicalDrive1)";

// An ATA disk; `exchange`: a recorded exchange, `ata`: further fields of the device.
std::string Sata(const std::string& exchange = "", const std::string& ata = "")
{
    return R"(disk { number: 1 kind: SATA_SSD model: "LUMEN S500" serial: "S1" firmware: "F1" size: 1073741824
                     interface_path: "\\\\?\\disk#one" ata { log_page { address: 0x9A text: "EPPID-0123456789ABC" } )" +
           ata + "}" + (exchange.empty() ? "" : "exchange {" + exchange + "}") + "}";
}
// The same behind a driver that accepts ATA pass-through and returns only zeros.
const std::string kZeroAta = Sata("control_code: 0x4D030 data { size: 512 }");

// Notes every call with all its arguments, the pointer to the data aside, and passes it on.
class Recorder final : public HardwareAccess {
public:
    std::vector<std::string> calls;

    DeviceInfoSet GetClassDevs(const Guid* classGuid, const char16_t* enumerator, void* parentWindow, std::uint32_t flags) override
    {
        EXPECT_EQ(*classGuid, kDiskInterfaceGuid);
        calls.push_back(fmt::format("devices {} {} {:X}", enumerator == nullptr, parentWindow == nullptr, flags));
        return HardwareAccess::GetClassDevs(classGuid, enumerator, parentWindow, flags);
    }
    DeviceHandle OpenDevice(const std::u16string& path, std::uint32_t access, std::uint32_t share, void* security,
                            std::uint32_t disposition, std::uint32_t flags, NativeHandle templateFile) override
    {
        EXPECT_EQ(security, nullptr);
        EXPECT_EQ(templateFile, 0);
        calls.push_back(fmt::format("open {} {:X} {} {} {}", Utf16ToUtf8(path), access, share, disposition, flags));
        return HardwareAccess::OpenDevice(path, access, share, security, disposition, flags, templateFile);
    }
    bool DeviceControl(const DeviceHandle& device, std::uint32_t code, void* in, std::uint32_t inSize, void* out,
                       std::uint32_t outSize, std::uint32_t* returned, void* overlapped) override
    {
        EXPECT_EQ(overlapped, nullptr);
        EXPECT_TRUE(in == nullptr || in == out) << "answered in place";
        constexpr std::uint32_t kPointer = 24;  // in both pass-through structures
        std::string request = fmt::format("{:X} ", code);
        for (std::uint32_t at = 0; at < inSize; ++at) {
            const bool isPointer = at >= kPointer && at < kPointer + sizeof(void*);
            request += isPointer ? "PP" : fmt::format("{:02X}", static_cast<const std::uint8_t*>(in)[at]);
        }
        calls.push_back(fmt::format("{} {}", request, outSize));
        return HardwareAccess::DeviceControl(device, code, in, inSize, out, outSize, returned, overlapped);
    }
};

// Removes the blanks that separate fields in the tables below.
std::string Packed(std::string_view fields)
{
    std::string packed(fields);
    std::erase(packed, ' ');
    return packed;
}
// A pass-through request of the table: control code, structure and output size.
std::string Ata(std::string_view structure) { return "4D030 " + Packed(structure) + " 48"; }
std::string Scsi(std::string_view structure)
{
    return "4D014 " + Packed(structure) + std::string(2 * (8 + 64), '0') + " 128";  // gap and sense area
}

TEST(HardwareAccess, SendsTheseBytesAndNoOthers)
{
    const std::string open = R"(open \\.\PhysicalDrive1 C0000000 3 3 0)";
    // Length, flags, path; transfer length, time-out; reserved; pointer; previous task file; features, count, LBA, device, command.
    const std::string ataIdentify =
        Ata("3000 0300 00000000 00020000 3C000000 00000000 00000000 PPPPPPPPPPPPPPPP 0000000000000000 00 00 000000 00 EC 00");
    const std::string ataReadLog =
        Ata("3000 0300 00000000 00020000 3C000000 00000000 00000000 PPPPPPPPPPPPPPPP 0000000000000000 00 01 9A0000 00 2F 00");
    // Length, status, path; CDB and sense lengths; direction; transfer length, time-out; pointer; sense offset; CDB; padding.
    const std::string scsiIdentify = Scsi(
        "3800 00 000000 10 40 01 000000 00020000 3C000000 00000000 PPPPPPPPPPPPPPPP 40000000 85080E00000001000000000000 00EC00 "
        "00000000");
    const std::string scsiReadLog = Scsi(
        "3800 00 000000 10 40 01 000000 00020000 3C000000 00000000 PPPPPPPPPPPPPPPP 40000000 85080E000000010 09A00000000 002F00 "
        "00000000");
    const std::string inquiry = Scsi(
        "3800 00 000000 06 40 01 000000 24000000 3C000000 00000000 PPPPPPPPPPPPPPPP 40000000 120000002400 00000000000000000000 "
        "00000000");

    struct Case {
        std::string name, machine;
        std::function<void(HardwareAccess&)> operation;
        std::vector<std::string> calls;
    };
    const std::vector<Case> cases{
        {"IDENTIFY DEVICE", Sata(), [](auto& hardware) { EXPECT_TRUE(hardware.ReadIdentifyData(kDisk)); }, {open, ataIdentify}},
        {"IDENTIFY DEVICE, nothing but zeros the first way",
         kZeroAta,
         [](auto& hardware) { EXPECT_TRUE(hardware.ReadIdentifyData(kDisk)); },
         {open, ataIdentify, open, scsiIdentify}},
        {"log page",
         Sata(),
         [](auto& hardware) { EXPECT_TRUE(hardware.ReadLogPage9A(kDisk)); },
         {open, ataIdentify, open, ataReadLog}},
        {"log page, nothing but zeros the first way",
         kZeroAta,
         [](auto& hardware) { EXPECT_TRUE(hardware.ReadLogPage9A(kDisk)); },
         {open, ataIdentify, open, scsiIdentify, open, scsiReadLog}},
        {"INQUIRY", Sata(), [](auto& hardware) { EXPECT_TRUE(hardware.ProbeScsiInquiry(kDisk)); }, {open, inquiry}},
        {"geometry",
         Sata(),
         [](auto& hardware) { EXPECT_EQ(hardware.GetDiskSizeInMegaBytes(1), 1019U) << "130 cylinders of 16065 sectors"; },
         {open, "70000  24"}},
        {"device walk",
         Sata(),
         [](auto& hardware) { EXPECT_EQ(hardware.GetAllBasicDiskInfo({}).size(), 1U); },
         {"devices true true 12", R"(open \\?\disk#one 80000000 3 3 0)", "2D1080  12", "devices true true 12"}},
    };
    for (const auto& [name, machine, operation, calls] : cases) {
        SCOPED_TRACE(name);
        const MachineInForce inForce(machine);
        Recorder hardware;
        operation(hardware);
        EXPECT_THAT(hardware.calls, ElementsAreArray(calls));
    }
}

TEST(HardwareAccess, ReadsAnswersOfTheDevice)
{
    struct Case {
        std::string name, machine, model, eppid;
    };
    const std::string model = "LUMEN S500" + std::string(30, ' ');
    const std::string eppid = "EPPID-0123456789ABC ";
    const std::vector<Case> cases{
        {"both ways open", Sata(), model, eppid},
        {"zeros the first way", kZeroAta, model, eppid},
        {"a raised failure of the first way ends IDENTIFY, not the log page", Sata("control_code: 0x4D030 error: 1"), "", eppid},
        {"no general-purpose logging", Sata("", "identify { offset: 168 hex: '00 40' }"), model, ""},
        {"the error bit the first way: the second is tried", Sata("ata_command: 0x2F usual: true ata_status: 0x51"), model, eppid},
        {"and CHECK CONDITION the second", Sata("ata_command: 0x2F usual: true ata_status: 0x51 scsi_status: 2"), model, ""},
        {"an empty page", Sata("ata_command: 0x2F data { size: 512 }"), model, ""},
        {"log page answered without data, not with what IDENTIFY left", Sata("ata_command: 0x2F ata_status: 0x50"), model, ""},
        {"the same the second way", Sata("control_code: 0x4D030 data { size: 512 } } exchange { ata_command: 0x2F"), model, ""},
        {"log page refused", Sata("ata_command: 0x2F error: 5"), model, ""},
        {"no such disk", "", "", ""},
    };
    for (const auto& [name, machine, expectedModel, expectedEppid] : cases) {
        SCOPED_TRACE(name);
        const MachineInForce inForce(machine);
        HardwareAccess hardware;
        EXPECT_EQ(hardware.GetModelFromIdentify(kDisk), expectedModel);
        EXPECT_EQ(hardware.GetStringFromLogPage9A(kDisk), expectedEppid);
    }
}

TEST(HardwareAccess, ProbesByInquiry)
{
    for (const auto& [exchange, expected] : std::vector<std::pair<std::string, bool>>{
             {"", true}, {"scsi_opcode: 0x12 usual: true scsi_status: 2", false}, {"scsi_opcode: 0x12 data { size: 36 }", false}}) {
        const MachineInForce machine(Sata(exchange));
        EXPECT_EQ(HardwareAccess().ProbeScsiInquiry(kDisk), expected) << exchange;
    }
}

TEST(HardwareAccess, WalksTheDisksInTheirOrder)
{
    const MachineInForce machine(R"(disk { number: 7 kind: NVME size: 1 interface_path: "first" instance_id: "A\\1" }
                                    disk { number: 0 kind: NVME size: 1 interface_path: "second" instance_id: "B\\2" })");
    const auto disks = HardwareAccess().GetAllBasicDiskInfo(
        {{0, DiskDriveMediaType::HardDisk}, {0, DiskDriveMediaType::SolidState}, {1, DiskDriveMediaType::StorageClassMemory}});
    std::vector<std::string> seen;
    for (const BasicDiskInfo& disk : disks) {
        seen.push_back(fmt::format("{} {} {} {} {} {}", disk.physicalDriveNumber, Utf16ToUtf8(disk.physicalDrivePath),
                                   Utf16ToUtf8(disk.devicePath), Utf16ToUtf8(disk.instanceId), disk.index,
                                   static_cast<int>(disk.mediaType)));
    }
    EXPECT_THAT(seen, ElementsAre(R"(7 \\.\PhysicalDrive7 first A\1 0 0)", R"(0 \\.\PhysicalDrive0 second B\2 1 3)"));
}

TEST(HardwareAccess, TheFirstFailureHidesTheDisksBehindIt)
{
    const MachineInForce machine(R"(disk { number: 0 kind: NVME size: 1 } disk { number: 1 kind: NVME size: 1 open_error: 5 }
                                    disk { number: 2 kind: NVME size: 1 })");
    EXPECT_EQ(HardwareAccess().GetAllBasicDiskInfo({}).size(), 1U);
    const MachineInForce empty("");
    EXPECT_THAT(HardwareAccess().GetAllBasicDiskInfo({}), IsEmpty());
}

TEST(HardwareAccess, InstanceIdsBeyond126CharactersReadAsEmpty)
{
    for (const std::size_t length : {126U, 127U}) {
        const std::string id(length, 'I');
        const MachineInForce machine("disk { kind: NVME size: 1 instance_id: '" + id + "' interface_path: 'disk' }");
        EXPECT_EQ(Utf16ToUtf8(HardwareAccess().GetBasicDiskInfo(0, {}).instanceId), length == 126 ? id : "");
    }
}

TEST(HardwareAccess, RaisesEveryFailureWithItsLine)
{
    const auto walk = [] { static_cast<void>(HardwareAccess().GetBasicDiskInfo(0, {})); };
    const auto size = [] { static_cast<void>(HardwareAccess().GetDiskSizeInMegaBytes(1)); };
    const auto identify = [] { static_cast<void>(HardwareAccess().ReadIdentifyData(kDisk)); };
    const auto probe = [] { static_cast<void>(HardwareAccess().ProbeScsiInquiry(kDisk)); };
    constexpr Hresult kDenied = hresult::kAccessDenied;
    constexpr Hresult kUnexpected = hresult::kUnexpected;
    struct Case {
        std::int32_t line;
        std::function<void()> use;
        const char* operation;  // that fails
        int nth;
        FaultKind kind;
        Hresult result;
    };
    const std::vector<Case> cases{
        {116, walk, "Setup::ClassDevices", 1, FaultKind::Error, kDenied},
        {116, walk, "Setup::ClassDevices", 1, FaultKind::Null, kDenied},
        {61, walk, "Setup::EnumDeviceInterfaces", 1, FaultKind::Error, kDenied},
        {63, walk, "Setup::DeviceInterfaceDetail", 1, FaultKind::Null, kUnexpected},
        {64, walk, "Setup::DeviceInterfaceDetail", 1, FaultKind::ShortData, kUnexpected},
        {68, walk, "Setup::DeviceInterfaceDetail", 2, FaultKind::Error, kDenied},
        {121, walk, "Setup::DeviceInterfaceDetail", 2, FaultKind::Null, kUnexpected},
        {35, walk, "Setup::EnumDeviceInfo", 1, FaultKind::Error, kDenied},
        {48, walk, "DeviceIo::Open", 1, FaultKind::Error, kDenied},
        {48, walk, "DeviceIo::Open", 1, FaultKind::Null, kDenied},
        {51, walk, "DeviceIo::Control", 1, FaultKind::Error, kDenied},
        {52, walk, "DeviceIo::Control", 1, FaultKind::ShortData, kUnexpected},
        {446, size, "DeviceIo::Open", 1, FaultKind::Error, kDenied},
        {449, size, "DeviceIo::Control", 1, FaultKind::Error, kDenied},
        {161, identify, "DeviceIo::Open", 1, FaultKind::Error, kDenied},
        {173, identify, "DeviceIo::Control", 1, FaultKind::Error, kDenied},
        {200, identify, "DeviceIo::Open", 2, FaultKind::Error, kDenied},
        {223, identify, "DeviceIo::Control", 2, FaultKind::Error, kDenied},
        {237, probe, "DeviceIo::Open", 1, FaultKind::Error, kDenied},
        {251, probe, "DeviceIo::Control", 1, FaultKind::Error, kDenied},
    };
    for (const auto& [line, use, operation, nth, kind, result] : cases) {
        MachineInForce machine(kZeroAta);
        ASSERT_TRUE(machine.FailNth(operation, nth, kind, win32::kAccessDenied, use));
        ExpectRaises(use, R"(cpp\Common\src\HardwareAccess)", line, result);
    }
}

// Lines 286 and 299 the first way, which is followed by the second, and 347 and 365 the second: none leaves.
TEST(HardwareAccess, AFailureWhileReadingALogPageEndsItsWay)
{
    struct Case {
        std::string machine;
        const char* operation;
        int nth;
        bool isRead;
        std::size_t calls;  // opens and requests
    };
    for (const auto& [text, operation, nth, isRead, calls] : std::vector<Case>{{Sata(), "DeviceIo::Open", 1, true, 5},
                                                                               {Sata(), "DeviceIo::Open", 2, true, 7},
                                                                               {Sata(), "DeviceIo::Control", 2, true, 8},
                                                                               {kZeroAta, "DeviceIo::Open", 3, false, 5},
                                                                               {kZeroAta, "DeviceIo::Control", 3, false, 6}}) {
        SCOPED_TRACE(fmt::format("{} {}", operation, nth));
        MachineInForce machine(text);
        Recorder hardware;
        ASSERT_TRUE(
            machine.FailNth(operation, nth, FaultKind::Error, {}, [] { EXPECT_TRUE(HardwareAccess().ReadLogPage9A(kDisk)); }));
        EXPECT_EQ(hardware.ReadLogPage9A(kDisk).has_value(), isRead);
        EXPECT_EQ(hardware.calls.size(), calls);
    }
}

TEST(HardwareAccess, DecodesAtaStrings)
{
    const auto decode = [](std::string_view text) {
        return HardwareAccess::DecodeAtaString({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
    };
    EXPECT_EQ(decode(""), "");
    EXPECT_EQ(decode("BADC  "), "ABCD  ");
    EXPECT_EQ(decode("BAC"), "ABC") << "the last byte of an odd length stays";
    EXPECT_EQ(decode(std::string_view("A\0\xFF\x01", 4)), std::string_view("\0A\x01\xFF", 4));
}

}  // namespace
}  // namespace Veyra::Orbis::Cpp::Common::HardwareAccessLib
