// The record of a physical disk, assembled from device requests and WMI on simulated machines.
#include <functional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <fmt/format.h>
#include <gmock/gmock.h>

#include "Common/PhysicalDiskInfoFetcher.h"
#include "Common/ResultException.h"
#include "JournalInForce.h"
#include "MachineInForce.h"
#include "platform/Requests.h"

namespace Veyra::Orbis::Cpp::Common {
namespace {

using namespace orbis::platform;
using HardwareAccessLib::BasicDiskInfo;
using HardwareAccessLib::DiskDriveMediaType;
using orbis::fakes::MachineInForce;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* kNone = "00000000-0000-0000-0000-000000000000";

// A GPT disk with the partitions of `partitions`, and `more` fields of it.
std::string Gpt(const std::string& partitions, const std::string& more = "")
{
    return "disk { kind: NVME size: 10737418240 gpt { disk_id: '{0a1b2c3d-4e5f-6071-8293-a4b5c6d7e8f9}' " + partitions + "} " +
           more + "}";
}
std::string Partition(int number, const std::string& volume)
{
    return fmt::format("partition {{ name: 'P{0}' id: 'ABCDEF00-0000-0000-0000-00000000000{0}' size: 1048576 {1} }} ", number,
                       volume.empty() ? "" : "volume {" + volume + "}");
}

PhysicalDiskInfo Fetch(std::uint32_t disk = 0, PhysicalDiskInfoFetcher&& fetcher = PhysicalDiskInfoFetcher())
{
    return fetcher.GetPhysicalDiskInfo(fetcher.GetBasicDiskInfo(disk, {{0, DiskDriveMediaType::SolidState}}));
}

std::vector<std::string> Describe(const std::vector<PartitionInfo>& partitions)
{
    std::vector<std::string> lines;
    for (const PartitionInfo& partition : partitions) {
        lines.push_back(fmt::format("{} {} '{}' {} {}{}{}{}", partition.index, partition.guid, partition.name, partition.size,
                                    partition.serial.empty() ? "-" : partition.serial, partition.isBootVolume ? " boot" : "",
                                    partition.isPageFilePresent ? " page" : "", partition.isCrashDump ? " dump" : ""));
    }
    return lines;
}

TEST(PhysicalDiskInfo, JoinsPartitionsWithTheirVolumes)
{
    const MachineInForce machine(R"(
        disk { number: 0 kind: SATA_SSD model: "LUMEN S500" size: 10737418240
               ata { log_page { address: 0x9A text: "EPPID" } }
               gpt { disk_id: "0a1b2c3d-4e5f-6071-8293-a4b5c6d7e8f9"
                     partition { id: "00000001-0002-0003-0405-060708090a0b" type: "efi" size: 104857600 volume { serial: 1 } }
                     partition { number: 5 name: "Basic \u00FC" id: "{AAAAAAAA-0000-0000-0000-000000000001}" size: 5242879
                                 volume { letter: "C" serial: 0xDEADBEEF boot: true page_file: true } }
                     partition { name: "folder only" id: "AAAAAAAA-0000-0000-0000-000000000002" size: 1048576
                                 volume { mount_point: "C:\\mount\\" serial: 2 page_file: true } }
                     partition { name: "both" id: "AAAAAAAA-0000-0000-0000-000000000003" size: 1048576
                                 volume { letter: "E" mount_point: "C:\\a\\" mount_point: "C:\\b\\" serial: 3 page_file: true } }
                     partition { name: "unnamed by Windows" size: 1048576 volume { letter: "F" serial: 4 boot: true } } } }
        recovery { mini_dump_directory: "e:\\dumps" })");
    const PhysicalDiskInfo disk = Fetch();
    EXPECT_EQ(disk.name, "DISK0");
    EXPECT_EQ(disk.diskNumber, 0U);
    EXPECT_EQ(disk.model, "LUMEN S500" + std::string(30, ' '));
    EXPECT_EQ(disk.eppid, "EPPID" + std::string(15, ' '));
    EXPECT_EQ(disk.size, 10236U) << "1305 cylinders of 255 x 63 x 512 bytes; the disk has 10240";
    EXPECT_EQ(disk.mediaType, DiskDriveMediaType::SolidState);
    EXPECT_EQ(disk.guid, "0A1B2C3D-4E5F-6071-8293-A4B5C6D7E8F9");
    EXPECT_THAT(Describe(disk.partitions),
                ElementsAre("1 00000001-0002-0003-0405-060708090A0B '' 100 -",  //
                            "5 AAAAAAAA-0000-0000-0000-000000000001 'Basic \u00FC' 4 DEADBEEF boot page",
                            "3 AAAAAAAA-0000-0000-0000-000000000002 'folder only' 1 -",
                            "4 AAAAAAAA-0000-0000-0000-000000000003 'both' 1 00000003 page dump",
                            fmt::format("5 {} 'Not Used' 1 -", kNone)))
        << "an all-zero identifier joins nothing, not even the volume that is on it";
}

// The reply of a disk with two MBR partitions as Windows gives it: style, count 4, signature; entries with offset, length, number,
// type, boot indicator, recognised, hidden sectors, and the identifier that Windows makes up.
constexpr const char* kMbrReply = R"(exchange { control_code: 0x70050 output { size: 624
    hex: "00000000 04000000 78563412 11223344"
    patch { offset: 48  hex: "00000000 00000000 0000100000000000 0000001900000000 01000000 00000000 07 01 01 00 00080000 44332211000000000000000000000010" }
    patch { offset: 192 hex: "00000000 00000000 0000101900000000 0000F07D09000000 02000000 00000000 0C 00 01 00 0008C800 44332211000000000000000000000020" }
    patch { offset: 336 hex: "00000000" } } })";

TEST(PhysicalDiskInfo, MbrPartitionsHaveNoIdentifierAndJoinNothing)
{
    const MachineInForce machine(
        "disk { kind: USB_STICK size: 41943040000 mbr { partition { size: 419430400 volume { letter: 'C' boot: true "
        "serial: 5 } } } " +
        std::string(kMbrReply) + "}");
    const PhysicalDiskInfo disk = Fetch();
    EXPECT_EQ(disk.guid, "") << "the signature is no GPT identifier";
    EXPECT_EQ(disk.model, std::nullopt);
    EXPECT_EQ(disk.eppid, std::nullopt);
    EXPECT_THAT(Describe(disk.partitions),
                ElementsAre(fmt::format("1 {} 'Not Used' 400 -", kNone), fmt::format("2 {} 'Not Used' 38879 -", kNone),
                            fmt::format("0 {} 'Not Used' 0 -", kNone), fmt::format("0 {} 'Not Used' 0 -", kNone)))
        << "the empty entries of the table are entries too";
}

TEST(PhysicalDiskInfo, ADiskWithoutATableHasNoPartitions)
{
    const MachineInForce machine("disk { kind: NVME size: 1073741824 } disk { number: 1 kind: NVME size: 1073741824 gpt {} }");
    EXPECT_THAT(Fetch(0).partitions, IsEmpty());
    EXPECT_EQ(Fetch(0).guid, "");
    EXPECT_EQ(Fetch(1).guid, "") << "an all-zero disk identifier is none";
}

TEST(PhysicalDiskInfo, TheLayoutBufferGrowsUpToABound)
{
    std::string many;
    for (int number = 1; number <= 200; ++number) {
        many += fmt::format("partition {{ id: '{:08X}-0000-0000-0000-000000000001' size: 1 }} ", number);
    }
    {
        const MachineInForce machine(Gpt(many));
        const PhysicalDiskInfo disk = Fetch();
        ASSERT_EQ(disk.partitions.size(), 200U);
        EXPECT_EQ(disk.partitions.back().guid, "000000C8-0000-0000-0000-000000000001");
    }
    {
        const MachineInForce machine(Gpt("", "exchange { control_code: 0x70050 uses: 1 error: 234 }"));
        EXPECT_THAT(Fetch().partitions, IsEmpty()) << "ERROR_MORE_DATA asks for more room too";
    }
    const MachineInForce machine(Gpt("", "exchange { control_code: 0x70050 error: 122 }"));
    orbis::fakes::JournalInForce journal;
    EXPECT_THROW(static_cast<void>(Fetch()), ResultException);
    std::vector<std::size_t> entries;
    for (const auto& call : journal.Take<orbis::insight::call::Control>()) {
        if (call.code == kIoctlDiskGetDriveLayoutEx) {
            entries.push_back((call.output.size() - 0x30) / 0x90);
        }
    }
    EXPECT_THAT(entries, ElementsAre(128, 256, 512, 1024));
}

// A value that Windows does not know is absent; a value that cannot be read is a failure.
TEST(PhysicalDiskInfo, DistinguishesUnknownFromUnreadable)
{
    const std::string lettered = Partition(1, "letter: 'D' serial: 7 boot: true page_file: true");
    const std::string joined = "1 ABCDEF00-0000-0000-0000-000000000001 'P1' 1 ";
    const auto change = [](const std::string& className, const std::string& property, const std::string& value) {
        return "row_change { class_name: '" + className + "' property { name: '" + property + "' " + value + " } }";
    };
    struct Case {
        std::string name, change, expected;  // empty: raises
    };
    const std::vector<Case> cases{
        {"all known", "", joined + "00000007 boot page"},
        {"no serial number", change("Win32_LogicalDisk", "VolumeSerialNumber", "null: true"), joined + "- boot page"},
        {"flags NULL", change("Win32_Volume", "BootVolume", "null: true"), joined + "00000007 page"},
        {"flags missing", change("Win32_Volume", "PageFilePresent", "missing: true"), joined + "00000007 boot"},
        {"letter a string without a string", change("Win32_Volume", "DriveLetter", "null_text: true"), joined + "00000007"},
        {"no row for the letter", "row_change { class_name: 'Win32_Volume' drop: true }", joined + "00000007"},
        {"serial number unreadable", change("Win32_LogicalDisk", "VolumeSerialNumber", "get_error: 0x80041001"), ""},
        {"flag unreadable", change("Win32_Volume", "BootVolume", "get_error: 0x80070005"), ""},
        {"letter unreadable", change("Win32_Volume", "DriveLetter", "get_error: 0x80041001"), ""},
        {"a volume without a name", change("Win32_Volume", "DeviceID", "null: true"), ""},
        {"a drive without a name", change("Win32_LogicalDisk", "Caption", "null: true"), ""},
    };
    for (const auto& [name, rowChange, expected] : cases) {
        SCOPED_TRACE(name);
        const MachineInForce machine(Gpt(lettered, rowChange));
        if (expected.empty()) {
            EXPECT_THROW(static_cast<void>(Fetch()), ResultException);
        } else {
            EXPECT_THAT(Describe(Fetch().partitions), ElementsAre(expected));
        }
    }
}

TEST(PhysicalDiskInfo, TwoLogicalDisksOfOneLetterAreAnError)
{
    const MachineInForce machine(
        Gpt(Partition(1, "letter: 'D' serial: 7")) +
        "wmi_class { name: 'Win32_LogicalDisk' append: true row { property { name: 'Caption' text: 'D:' } } }");
    EXPECT_THAT([] { static_cast<void>(Fetch()); }, ::testing::ThrowsMessage<std::runtime_error>("Duplicate drive letter found!"));
}

TEST(PhysicalDiskInfo, TheDumpDirectoryNeedsADrive)
{
    for (const auto& [directory, isOnD] : std::vector<std::pair<std::string, bool>>{
             {"D:", true}, {"d:/dumps", true}, {"C:/D:", false}, {"//server/D:", false}, {"", false}, {"D", false}}) {
        const MachineInForce machine(Gpt(Partition(1, "letter: 'D'")) + "recovery { mini_dump_directory: '" + directory + "' }");
        EXPECT_EQ(Fetch().partitions.at(0).isCrashDump, isOnD) << directory;
    }
}

// A stand-in for the system behind the virtual operations.
class TwoLettersOnOnePartition final : public PhysicalDiskInfoFetcher {
public:
    VolumeRecords FetchVolumeRecords() override
    {
        const std::string guid = "ABCDEF00-0000-0000-0000-000000000001";
        return {{guid, "Y:", 0}, {"ABCDEF00-0000-0000-0000-000000000000", "A:", 0}, {guid, "X:", 9}};
    }
    LogicalDisks FetchLogicalDisks() override { return {{"A:", "A"}, {"X:", "X"}, {"Y:", "Y"}}; }
    VolumeFactsByDrive FetchVolumeFacts() override { return {{"X:", {"", false, true}}}; }
    std::string FetchCrashDumpDirectory() override { return "X:\\"; }
};

TEST(PhysicalDiskInfo, OfTwoLettersTheFirstCounts)
{
    const MachineInForce machine(Gpt(Partition(1, "") + Partition(2, "")));
    EXPECT_THAT(Describe(Fetch(0, TwoLettersOnOnePartition()).partitions),
                ElementsAre("1 ABCDEF00-0000-0000-0000-000000000001 'P1' 1 X page dump",
                            "2 ABCDEF00-0000-0000-0000-000000000002 'P2' 1 -"));
}

TEST(PhysicalDiskInfo, MediaTypesByDeviceId)
{
    const auto fetch = [](const std::string& deviceId) {
        const MachineInForce machine(R"(wmi_class { wmi_namespace: "root\\microsoft\\windows\\storage" name: "MSFT_PhysicalDisk"
            row { property { name: "DeviceId" text: "0" } property { name: "MediaType" i4: 3 } }
            row { property { name: "DeviceId" text: ")" +
                                     deviceId + R"(" } property { name: "MediaType" i4: 260 } } })");
        std::string text;
        try {
            for (const auto& [number, type] : PhysicalDiskInfoProvider().FetchMediaTypes()) {
                text += fmt::format("{}={} ", number, static_cast<int>(type));
            }
        } catch (const std::runtime_error& failure) {
            text = failure.what();
        }
        return text;
    };
    const std::string invalid = "PhysicalDiskInfoFetcher::FetchMediaTypes: Invalid device id :";
    EXPECT_EQ(fetch("0"), "0=3 0=4 ") << "the low 8 bits of the type";
    EXPECT_EQ(fetch(" 12b"), "0=3 12=4 ");
    EXPECT_EQ(fetch("-1"), "0=3 4294967295=4 ");
    EXPECT_EQ(fetch("{abc}"), invalid + "{abc}");
    EXPECT_EQ(fetch(""), invalid);
    EXPECT_EQ(fetch("2147483648"), invalid + "2147483648");
}

TEST(PhysicalDiskInfo, MegaBytesTransferredAreRoundedDown)
{
    for (const auto& [bytes, megaBytes] : std::vector<std::pair<std::int64_t, std::int64_t>>{{1048575, 0}, {1048576, 1}}) {
        const MachineInForce machine(
            Gpt(Partition(1, "letter: 'D'"), fmt::format("bytes_read_before: {} bytes_written_before: 3145728", bytes)));
        std::int64_t read = -1;
        std::int64_t written = -1;
        PhysicalDiskInfoProvider().GetMegaBytesTransferred("d", read, written);
        EXPECT_EQ(read, megaBytes);
        EXPECT_EQ(written, 3);
    }
}

TEST(PhysicalDiskInfo, ADiskIsInvalidWhenNothingIsKnownOfIt)
{
    for (int media = 0; media < 7; ++media) {
        for (const std::uint64_t size : {0U, 1U}) {
            for (const std::string guid : {"", "G"}) {
                PhysicalDiskInfo disk;
                disk.mediaType = static_cast<DiskDriveMediaType>(media);
                disk.size = size;
                disk.guid = guid;
                const bool isKnownMedia = media == 3 || media == 4 || media == 5;
                EXPECT_EQ(PhysicalDiskInfoProvider().IsInvalidDisk(disk), size == 0 && guid.empty() && !isKnownMedia);
            }
        }
    }
}

TEST(PhysicalDiskInfo, KnowsWhetherADriveIsPresent)
{
    const MachineInForce machine("disk { number: 3 kind: NVME size: 1 }");
    EXPECT_TRUE(PhysicalDiskInfoFetcher().IsDrivePresent(3));
    EXPECT_FALSE(PhysicalDiskInfoFetcher().IsDrivePresent(0));
}

// The line of every other failure is in the fault sweep's table. A layout that claims more entries
// than it holds is rejected.
TEST(PhysicalDiskInfo, ChecksTheEntryCountAgainstTheReply)
{
    struct Case {
        std::string reply;
        std::int32_t line;  // 0: no failure
    };
    for (const auto& [reply, line] :
         std::vector<Case>{{"output { size: 47 hex: '01000000 00000000' }", 211},
                           {"output { size: 48 hex: '01000000 00000000' }", 0},
                           {"output { size: 191 hex: '01000000 01000000' }", 212},
                           {"output { size: 192 hex: '01000000 01000000' }", 0},
                           {"output { size: 192 hex: '01000000 FFFFFFFF' }", 212},
                           {"output { size: 192 hex: '01000000 01000000' } returned: 100", 212},
                           {"output { size: 192 hex: '01000000 01000000' } returned: 4000000000", 0},
                           {"output { size: 192 hex: '01000000 81000000' } returned: 4000000000", 212}}) {
        SCOPED_TRACE(reply);
        const MachineInForce machine(Gpt("", "exchange { control_code: 0x70050 " + reply + " }"));
        std::int32_t raised = 0;
        try {
            static_cast<void>(Fetch());
        } catch (const ResultException& failure) {
            raised = failure.Line();
        }
        EXPECT_EQ(raised, line);
    }
}

}  // namespace
}  // namespace Veyra::Orbis::Cpp::Common
