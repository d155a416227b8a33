// The data read from a drive, and the data that remains when the drive fails.
#include <algorithm>
#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <gmock/gmock.h>

#include "Common/ResultException.h"
#include "Common/SmartDataFetcher.h"
#include "HexFile.h"
#include "JournalInForce.h"
#include "MachineInForce.h"

namespace orbis::tests {
namespace {

using fakes::MachineInForce;
using simulated::FaultKind;
using Veyra::Orbis::Cpp::Common::SmartAttribute;
using Veyra::Orbis::Cpp::Common::SmartDataCollection;
using Veyra::Orbis::Cpp::Common::SmartDataFetcher;
using Veyra::Orbis::Cpp::Common::SmartSlotOf;
using Veyra::Orbis::Cpp::Common::HardwareAccessLib::BasicDiskInfo;
using Veyra::Orbis::Cpp::Common::HardwareAccessLib::DiskDriveMediaType;
using Veyra::Orbis::Cpp::Common::HardwareAccessLib::HardwareAccess;
using Veyra::Orbis::Cpp::Common::HardwareAccessLib::Sector;
using Bytes = std::vector<std::uint8_t>;

BasicDiskInfo Disk(std::uint32_t number = 3)
{
    BasicDiskInfo disk;
    disk.physicalDriveNumber = number;
    disk.physicalDrivePath = HardwareAccess::MakePhysicalDrivePath(number);
    disk.devicePath = u"not the path that is asked";
    return disk;
}

// raw/normalised/worst/threshold of the attributes that have any, by id; "-" for what is absent.
std::string Readings(const SmartDataCollection& collection)
{
    const auto text = [](const auto& value) { return value ? std::to_string(*value) : std::string("-"); };
    std::string all;
    for (std::size_t slot = 0; slot < collection.attributes.size(); ++slot) {
        const SmartAttribute& is = collection.attributes[slot];
        if (is.raw || is.normalised || is.worst || is.threshold) {
            all += std::to_string(Veyra::Orbis::Cpp::Common::kSmartAttributeIds[slot]) + ":" + text(is.raw) + "/" +
                   text(is.normalised) + "/" + text(is.worst) + "/" + text(is.threshold) + " ";
        }
    }
    return all;
}

// A rotating disk with a part identifier that tells its attribute 5; `exchanges` change how it answers.
std::string HardDisk(const std::string& exchanges = "")
{
    return R"(disk { number: 3 kind: SATA_HDD model: "DISK" size: 1048576 ata { log_page { address: 0x9A text: "CN0AB12C345678901A00" }
                attribute { id: 5 value: 100 worst: 90 threshold: 36 raw: 7 } } )" +
           exchanges + "}";
}
// WMI knows its attribute 12 alone.
const Bytes kWmiBlock{16, 0, 12, 0, 0, 98, 97, 44, 0, 0, 0, 0, 0, 0};

// Readings through the device are in SmartCollectionTest.cpp.
TEST(SmartRealDrive, GivesItsReadingsThroughWmiWithoutThresholds)
{
    const MachineInForce machine("");
    Bytes block = ReadHex("sata-ssd-4tb-smart-data.hex");
    block.resize(362);
    const SmartDataCollection read = SmartDataFetcher().GetSmartInformation(Disk(), block);
    EXPECT_EQ(Readings(read),
              "5:0/100/100/- 9:1379/99/99/- 12:196/99/99/- 177:4/99/99/- 179:0/100/100/- 181:0/100/100/- "
              "182:0/100/100/- 195:0/200/200/- 199:0/100/100/- 241:24021863545/99/99/- ");
    EXPECT_EQ(read.name, "SSD");
}

TEST(SmartRequest, IsTheOneThatDriversPassOn)
{
    // SCSI_PASS_THROUGH_DIRECT of a 64-bit process, its data pointer zeroed, the sense area behind it, and the command of SAT-4,
    // 12.2.2.3.
    constexpr std::string_view kExpected =
        "38 00 00 00 00 00 10 40 01 00 00 00 00 02 00 00 3c 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 "
        "40 00 00 00 85 08 0e 00 {} 00 01 00 00 00 4f 00 c2 00 b0 00";
    const MachineInForce machine(HardDisk());
    fakes::JournalInForce journal;
    SmartDataCollection collection;
    Sector thresholds{};
    ASSERT_TRUE(SmartDataFetcher().ReadSmartData(Disk().physicalDrivePath, collection));
    ASSERT_TRUE(SmartDataFetcher().ReadSmartThresholds(Disk().physicalDrivePath, thresholds));
    const auto controls = journal.Take<insight::call::Control>();
    ASSERT_EQ(controls.size(), 3U) << "INQUIRY, data, thresholds";
    for (const auto& [number, features] : {std::pair<std::size_t, const char*>{1, "d0"}, {2, "d1"}}) {
        const insight::Bytes& request = controls[number].request;
        EXPECT_EQ(controls[number].code, 0x4D014U);
        EXPECT_EQ(std::pair(request.size(), controls[number].output.size()), std::pair(std::size_t{128}, std::size_t{128}));
        EXPECT_EQ(fmt::format("{:02x}", fmt::join(request.begin(), request.begin() + 52, " ")), fmt::format(kExpected, features));
        EXPECT_TRUE(std::all_of(request.begin() + 52, request.end(), [](std::uint8_t byte) { return byte == 0; }));
        EXPECT_EQ(controls[number].device->path, uR"(\\.\PhysicalDrive3)");
        EXPECT_EQ(controls[number].device->access, 0xC0000000);
    }
}

// The parts of a collection: values of the device, thresholds, values of WMI, part identifier, model, name.
std::string Set(const SmartDataCollection& is)
{
    const auto told = [](bool isEmpty, bool isRight, char letter) { return isEmpty ? '-' : isRight ? letter : '?'; };
    const SmartAttribute& device = is.attributes[SmartSlotOf(5)];
    return {device.raw ? 'A' : '-',
            device.threshold ? 'T' : '-',
            is.attributes[SmartSlotOf(12)].raw ? 'W' : '-',
            told(!is.eppid, is.eppid == "CN0AB12C345678901A00", 'E'),
            is.modelName ? 'M' : '-',
            told(is.name.empty(), is.name == "SMART3", 'N')};
}

// Throws what is no exception class at one of its requests.
class Throwing final : public SmartDataFetcher {
public:
    explicit Throwing(int request) : m_Left(request) {}
    bool DeviceControl(const platform::DeviceHandle& device, std::uint32_t code, void* in, std::uint32_t inSize, void* out,
                       std::uint32_t outSize, std::uint32_t* returned, void* overlapped) override
    {
        if (--m_Left == 0) {
            throw 1;
        }
        return SmartDataFetcher::DeviceControl(device, code, in, inSize, out, outSize, returned, overlapped);
    }

private:
    int m_Left;
};

// The parts that are set after each step failed: the first open and its request, the second, and so on.
TEST(SmartFailure, LeavesWhatWasReadBefore)
{
    const std::string identify = "exchange { ata_command: 0xEC uses: 1 usual: true } ";
    const std::string error = "uses: 1 usual: true scsi_status: 2 ata_status: 0x51 }";
    struct Step {
        std::string error;  // CHECK CONDITION, or the error bit of the ATA status; the data comes all the same
        std::array<const char*, 6> set;
    };
    const std::vector<Step> steps{
        // open, request, error,    zeros,    exception of either kind
        {"exchange { scsi_opcode: 0x12 " + error, {"--WEMN", "--WEMN", "--WEMN", "--WEMN", "--WEMN", "--WEMN"}},
        {"exchange { ata_command: 0xB0 ata_features: 0xD0 " + error, {"--WEMN", "--WEMN", "--WEMN", "--WEMN", "--WEMN", "--WEMN"}},
        {"exchange { ata_command: 0xB0 ata_features: 0xD1 " + error, {"A-----", "A-----", "A-WEMN", "A-WEMN", "A-----", "A-----"}},
        // IDENTIFY DEVICE before the log page and the log page, both of which have a second way, and IDENTIFY DEVICE again for the
        // model and for the medium, which has none after a raised failure.
        {"exchange { ata_command: 0xEC " + error, {"ATWEMN", "ATWEMN", "ATWEMN", "ATWEMN", "ATWEMN", "ATW---"}},
        {"exchange { ata_command: 0x2F " + error, {"ATWEMN", "ATWEMN", "ATWEMN", "ATWEMN", "ATWEMN", "ATW---"}},
        {identify + "exchange { ata_command: 0xEC " + error, {"ATWE-N", "ATWE-N", "ATWEMN", "ATWEMN", "ATWE-N", "ATWE--"}},
        {identify + identify + "exchange { ata_command: 0xEC " + error,
         {"ATWEMN", "ATWEMN", "ATWEMN", "ATWEMN", "ATWEMN", "ATWEMN"}},
    };
    const auto read = [](SmartDataFetcher&& fetcher = {}) { return Set(fetcher.GetSmartInformation(Disk(), kWmiBlock)); };
    for (int number = 1; const auto& [exchange, set] : steps) {
        const auto afterFault = [&](const char* operation, FaultKind kind) {
            MachineInForce machine(HardDisk());
            EXPECT_TRUE(machine.FailNth(operation, number, kind, {}, read));
            return read();
        };
        const auto afterError = [&, &text = exchange] {
            const MachineInForce machine(HardDisk(text));
            return read();
        };
        const auto afterThrow = [&] {
            const MachineInForce machine(HardDisk());
            return read(Throwing(number));
        };
        EXPECT_EQ(afterFault("DeviceIo::Open", FaultKind::Error), set[0]) << number;
        EXPECT_EQ(afterFault("DeviceIo::Control", FaultKind::Error), set[1]) << number;
        EXPECT_EQ(afterError(), set[2]) << number;
        EXPECT_EQ(afterFault("DeviceIo::Control", FaultKind::Null), set[3]) << number;
        EXPECT_EQ(afterFault("DeviceIo::Control", FaultKind::BadAlloc), set[4]) << number;
        EXPECT_EQ(afterThrow(), set[5]) << number;
        ++number;
    }
}

TEST(SmartThresholds, RaiseWhatTheDriveRefuses)
{
    const auto read = [] {
        Sector thresholds{};
        (void)SmartDataFetcher().ReadSmartThresholds(Disk().physicalDrivePath, thresholds);
    };
    for (const char* operation : {"DeviceIo::Open", "DeviceIo::Control"}) {
        MachineInForce machine(HardDisk());
        ASSERT_TRUE(machine.FailNth(operation, 1, FaultKind::Error, {}, read));
        using Veyra::Orbis::Cpp::Common::ResultException;
        EXPECT_THAT(read, ::testing::Throws<ResultException>(
                              ::testing::Property(&ResultException::Unit, "cpp\\Common\\src\\SmartDataFetcher")));
    }
}

// An entry of a data block: id, flags, normalised, worst, six raw bytes, reserved.
Bytes Entry(std::uint8_t id, Bytes raw = {1, 2, 3, 4, 5, 6})
{
    Bytes entry{id, 0xFF, 0xFF, 100, 50};
    entry.insert(entry.end(), raw.begin(), raw.end());
    entry.push_back(0xFF);
    return entry;
}

Bytes Block(const std::vector<Bytes>& entries, std::size_t size = 362)
{
    Bytes block{16, 0};
    for (const Bytes& entry : entries) {
        block.insert(block.end(), entry.begin(), entry.end());
    }
    block.resize(size);
    return block;
}

// The readings of a block that WMI supplies for a drive that refuses everything.
std::string ReadingsOf(const Bytes& block)
{
    const MachineInForce machine("");
    return Readings(SmartDataFetcher().GetSmartInformation(Disk(), block));
}

TEST(SmartBlock, IsReadByAttribute)
{
    // Little-endian 48 bits; their low 32 for spin-up time, power-on hours and head-flying hours; the lowest byte of a temperature,
    // whose other values are not given.
    EXPECT_EQ(ReadingsOf(Block({Entry(5), Entry(3), Entry(9), Entry(240), Entry(254, {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF})})),
              "3:67305985/100/50/- 5:6618611909121/100/50/- 9:67305985/100/50/- 240:67305985/100/50/- "
              "254:281474976710655/100/50/- ");
    EXPECT_EQ(ReadingsOf(Block({Entry(194, {0x28, 0, 0x1E, 0, 0x32, 0})})), "194:40/-/-/- ");
    // Ids that have no slot, and zeros in the middle, are passed over; the later one of two entries counts.
    EXPECT_EQ(
        ReadingsOf(Block({Entry(0), Entry(2), Entry(255), Entry(12, {1, 0, 0, 0, 0, 0}), Entry(0), Entry(12, {2, 0, 0, 0, 0, 0})})),
        "12:2/100/50/- ");
    // Read stands before written.
    EXPECT_EQ(ReadingsOf(Block({Entry(241, {1, 0, 0, 0, 0, 0}), Entry(242, {2, 0, 0, 0, 0, 0})})),
              "242:2/100/50/- 241:1/100/50/- ");
}

TEST(SmartBlock, HasThirtyEntriesInWhateverSize)
{
    std::vector<Bytes> entries(29, Entry(0));
    entries.push_back(Entry(1, {1, 0, 0, 0, 0, 0}));   // the last one
    entries.push_back(Entry(12, {1, 0, 0, 0, 0, 0}));  // behind it
    for (const std::size_t size : {362U, 374U, 512U, 513U, 4096U}) {
        EXPECT_EQ(ReadingsOf(Block(entries, size)), "1:1/100/50/- ") << size;
    }
    // Values beyond the end of a shorter block are zero.
    EXPECT_EQ(ReadingsOf(Block(entries, 350)), "");
    EXPECT_EQ(ReadingsOf(Block({Entry(5)}, 6)), "5:0/100/0/- ");
    EXPECT_EQ(ReadingsOf(Block({Entry(5)}, 1)), "");
}

TEST(SmartBlock, OfWmiOverwritesTheDevice)
{
    const MachineInForce machine(HardDisk());
    EXPECT_EQ(Readings(SmartDataFetcher().GetSmartInformation(Disk(), Block({Entry(5, {9, 0, 0, 0, 0, 0})}))), "5:9/100/50/36 ");
}

TEST(SmartThresholds, EndAtTheFirstZeroAndBeforeTheLastByte)
{
    const auto readingsOf = [](const std::vector<std::pair<std::size_t, std::array<std::uint8_t, 2>>>& entries, Sector sector) {
        for (const auto& [offset, idAndThreshold] : entries) {
            std::ranges::copy(idAndThreshold, sector.begin() + static_cast<std::ptrdiff_t>(offset));
        }
        SmartDataCollection collection;
        SmartDataFetcher::ParseSmartThresholds(collection, sector);
        return Readings(collection);
    };
    // No threshold for a temperature or an id that has no slot; nothing behind the id 0.
    EXPECT_EQ(readingsOf({{2, {5, 36}}, {14, {194, 40}}, {26, {2, 1}}, {38, {12, 20}}, {50, {0, 9}}, {62, {9, 9}}}, {}),
              "5:-/-/-/36 12:-/-/-/20 ");
    // Entries 42 and 43; the last one would end at byte 518.
    Sector full{};
    for (std::size_t at = 2; at < full.size(); at += 12) {
        full[at] = 2;
    }
    EXPECT_EQ(readingsOf({{494, {5, 36}}, {506, {12, 20}}}, full), "5:-/-/-/36 ");
}

TEST(SmartSolidState, IsDecidedByTheFirstRuleThatHolds)
{
    struct Medium {
        std::string what;
        bool isSolidState;
        bool asksTheDrive;
        std::string identify;  // bytes laid over the drive's
        std::function<void(BasicDiskInfo&, SmartDataCollection&)> change = [](BasicDiskInfo&, SmartDataCollection&) {};
    };
    const auto model = [](const char* name) {
        return [=](BasicDiskInfo&, SmartDataCollection& collection) { collection.modelName = name; };
    };
    const auto media = [](DiskDriveMediaType type) {
        return [=](BasicDiskInfo& disk, SmartDataCollection&) { disk.mediaType = type; };
    };
    const std::vector<Medium> cases{
        {"wear levelling has a raw value", true, false, "", [](auto&, auto& collection) { collection.Find(177)->raw = 0; }},
        {"wear levelling has a threshold alone", false, true, "",
         [](auto&, auto& collection) { collection.Find(177)->threshold = 5; }},
        {"SSD in the model", true, false, "", model("Any SSD 870")},
        {"NVMe in the model", true, false, "", model("AnyNVMe")},
        {"ssd and nvme in the model", false, true, "", model("any ssd nvme")},
        {"media type SSD", true, false, "", media(DiskDriveMediaType::SolidState)},
        {"media type SCM", false, true, "", media(DiskDriveMediaType::StorageClassMemory)},
        {"rotation rate 1", true, true, "offset: 434 hex: '0100'"},
        {"rotation rate 257", false, true, "offset: 434 hex: '0101'"},
        {"CompactFlash signature", true, true, "offset: 0 hex: '8A84'"},
        {"CompactFlash signature swapped", false, true, "offset: 0 hex: '848A'"},
        {"CFA feature set", true, true, "offset: 166 hex: '0400'"},
        {"every other bit of word 83", false, true, "offset: 166 hex: 'FBFF'"},
    };
    for (const Medium& medium : cases) {
        SCOPED_TRACE(medium.what);
        const MachineInForce machine("disk { number: 3 kind: SATA_HDD ata { identify {" + medium.identify + "} } }");
        fakes::JournalInForce journal;
        BasicDiskInfo disk = Disk();
        SmartDataCollection collection;
        medium.change(disk, collection);
        EXPECT_EQ(SmartDataFetcher().IsSolidState(disk, collection), medium.isSolidState);
        EXPECT_EQ(!journal.Take<insight::call::Open>().empty(), medium.asksTheDrive);
    }
    const MachineInForce none("");
    EXPECT_FALSE(SmartDataFetcher().IsSolidState(Disk(), {})) << "no answer";
    const MachineInForce machine("disk { number: 3 kind: SATA_SSD }");
    EXPECT_FALSE(Throwing(1).IsSolidState(Disk(), {})) << "an exception";
}

TEST(SmartDrive, ThatRefusesEverythingHasItsNameAlone)
{
    const MachineInForce machine("");
    const SmartDataCollection read = SmartDataFetcher().GetSmartInformation(Disk(12), {});
    EXPECT_EQ(Readings(read), "");
    EXPECT_EQ(read.name, "SMART12");
    EXPECT_TRUE(!read.modelName && !read.eppid);
}

}  // namespace
}  // namespace orbis::tests
