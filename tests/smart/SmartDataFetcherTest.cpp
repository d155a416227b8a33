#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "Common/ResultException.h"
#include "DriveDouble.h"

// What is read from a drive, and what is left of it when the drive fails.
namespace orbis::tests {
namespace {

using Veyra::Orbis::Cpp::Common::ResultException;
using Veyra::Orbis::Cpp::Common::SmartAttribute;
using Veyra::Orbis::Cpp::Common::HardwareAccessLib::DiskDriveMediaType;
using Veyra::Orbis::Cpp::Common::HardwareAccessLib::HardwareAccess;
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

DriveDouble RealDrive()
{
    DriveDouble drive;
    drive.pages[Ask::Inquiry] = MakeSector({{4, {31}}});
    drive.pages[Ask::SmartData] = ReadSector("sata-ssd-4tb-smart-data.hex");
    drive.pages[Ask::SmartThresholds] = ReadSector("sata-ssd-4tb-smart-thresholds.hex");
    drive.pages[Ask::IdentifyByAta] = ReadSector("sata-ssd-4tb-identify.hex");
    return drive;
}

// A text as ATA stores it: the bytes of each word swapped.
Bytes Swapped(std::string_view text)
{
    Bytes bytes(text.begin(), text.end());
    for (std::size_t at = 0; at + 1 < bytes.size(); at += 2) {
        std::swap(bytes[at], bytes[at + 1]);
    }
    return bytes;
}

// A rotating disk with a part identifier. WMI knows its attribute 12 alone, the device its attribute 5.
DriveDouble HardDisk()
{
    DriveDouble drive;
    drive.pages[Ask::Inquiry] = MakeSector({{4, {31}}});
    drive.pages[Ask::SmartData] = MakeSector({{2, {5, 0, 0, 100, 90, 7}}});
    drive.pages[Ask::SmartThresholds] = MakeSector({{2, {5, 36}}});
    // "DISK", word 84 with general-purpose logging, 7200 rotations a minute.
    drive.pages[Ask::IdentifyByAta] = MakeSector({{54, Swapped("DISK")}, {168, {0x20}}, {434, {0x20, 0x1C}}});
    drive.pages[Ask::LogByAta] = MakeSector({{0, Swapped("CN0AB12C345678901A00")}});
    drive.pages[Ask::IdentifyByScsi] = drive.pages[Ask::IdentifyByAta];
    drive.pages[Ask::LogByScsi] = drive.pages[Ask::LogByAta];
    return drive;
}

Bytes WmiBlock() { return {16, 0, 12, 0, 0, 98, 97, 44, 0, 0, 0, 0, 0, 0}; }

TEST(SmartRealDrive, GivesItsReadings)
{
    DriveDouble drive = RealDrive();
    const SmartDataCollection read = drive.GetSmartInformation(Disk(), {});
    EXPECT_EQ(Readings(read),
              "5:0/100/100/10 9:1379/99/99/0 12:196/99/99/0 177:4/99/99/0 179:0/100/100/10 181:0/100/100/10 "
              "182:0/100/100/10 195:0/200/200/0 199:0/100/100/0 241:24021863545/99/99/0 ");
    EXPECT_EQ(read.name, "SSD");
    EXPECT_EQ(read.modelName, "Samsung SSD 870 QVO 4TB                 ");
    EXPECT_EQ(read.eppid, std::nullopt);
    EXPECT_EQ(read.physicalDriveNumber, 3U);
    EXPECT_TRUE(drive.AllClosed());
}

TEST(SmartRealDrive, GivesTheSameThroughWmiWithoutThresholds)
{
    DriveDouble drive = RealDrive();
    drive.faults[1] = Fault::Error;
    const Sector& data = drive.pages[Ask::SmartData];
    const SmartDataCollection read = drive.GetSmartInformation(Disk(), Bytes(data.begin(), data.begin() + 362));
    EXPECT_EQ(Readings(read),
              "5:0/100/100/- 9:1379/99/99/- 12:196/99/99/- 177:4/99/99/- 179:0/100/100/- 181:0/100/100/- "
              "182:0/100/100/- 195:0/200/200/- 199:0/100/100/- 241:24021863545/99/99/- ");
    EXPECT_EQ(read.name, "SSD");
}

// SCSI_PASS_THROUGH_DIRECT of a 64-bit process, its data pointer zeroed, the sense area behind it, and the command of SAT-4,
// 12.2.2.3.
std::string ExpectedRequest(const std::string& features)
{
    std::string text =
        "38 00 00 00 00 00 10 40 01 00 00 00 00 02 00 00 "
        "3c 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 "
        "40 00 00 00 85 08 0e 00 " +
        features + " 00 01 00 00 00 4f 00 c2 00 b0 00 ";
    for (int at = 52; at < 128; ++at) {
        text += "00 ";
    }
    return text;
}

std::string Rendered(const Bytes& bytes)
{
    std::string text;
    for (const std::uint8_t byte : bytes) {
        constexpr std::string_view kDigits = "0123456789abcdef";
        text += {kDigits[byte >> 4U], kDigits[byte & 15U], ' '};
    }
    return text;
}

TEST(SmartRequest, IsTheOneThatDriversPassOn)
{
    DriveDouble drive = HardDisk();
    SmartDataCollection collection;
    Sector thresholds{};
    ASSERT_TRUE(drive.ReadSmartData(Disk().physicalDrivePath, collection));
    ASSERT_TRUE(drive.ReadSmartThresholds(Disk().physicalDrivePath, thresholds));
    ASSERT_EQ(drive.Asked(), (std::vector{Ask::Inquiry, Ask::SmartData, Ask::SmartThresholds}));
    for (const auto& [number, features] : {std::pair{1, "d0"}, std::pair{2, "d1"}}) {
        const DriveRequest& request = drive.requests[static_cast<std::size_t>(number)];
        EXPECT_EQ(request.code, 0x4D014U);
        EXPECT_EQ(Rendered(request.bytes), ExpectedRequest(features));
        EXPECT_TRUE(request.outSize == 128 && request.sameBuffer && request.zeroedData);
        EXPECT_EQ(drive.opened[static_cast<std::size_t>(number)],
                  (DriveDouble::Opened{u"\\\\.\\PhysicalDrive3", 0xC0000000, 3, 3, 0}));
    }
}

// What a collection holds: values of the device, thresholds, values of WMI, part identifier, model, name.
std::string Set(const SmartDataCollection& is)
{
    const auto& slot = is.attributes;
    using Veyra::Orbis::Cpp::Common::SmartSlotOf;
    return std::string(slot[SmartSlotOf(5)].raw ? "A" : "-") + (slot[SmartSlotOf(5)].threshold ? "T" : "-") +
           (slot[SmartSlotOf(12)].raw ? "W" : "-") +
           (is.eppid == "CN0AB12C345678901A00" ? "E"
            : is.eppid                         ? "?"
                                               : "-") +
           (is.modelName ? "M" : "-") +
           (is.name == "SMART3" ? "N"
            : is.name.empty()   ? "-"
                                : "?");
}

struct Step {
    // What is set after each fault, in the order of Fault.
    std::array<const char*, 6> set;
    Ask ask;
};

// In the order of the opens.
constexpr std::array<Step, 7> kSteps{{
    // open, request, error,    zeros,    exception of either kind
    {{"--WEMN", "--WEMN", "--WEMN", "--WEMN", "--WEMN", "--WEMN"}, Ask::Inquiry},
    {{"--WEMN", "--WEMN", "--WEMN", "--WEMN", "--WEMN", "--WEMN"}, Ask::SmartData},
    {{"A-----", "A-----", "A-WEMN", "A-WEMN", "A-----", "A-----"}, Ask::SmartThresholds},
    {{"ATW-MN", "ATW-MN", "ATWEMN", "ATWEMN", "ATW-MN", "ATW---"}, Ask::IdentifyByAta},  // before the log
    {{"ATW-MN", "ATW-MN", "ATWEMN", "ATWEMN", "ATW-MN", "ATW---"}, Ask::LogByAta},
    {{"ATWE-N", "ATWE-N", "ATWEMN", "ATWEMN", "ATWE-N", "ATWE--"}, Ask::IdentifyByAta},  // for the model
    {{"ATWEMN", "ATWEMN", "ATWEMN", "ATWEMN", "ATWEMN", "ATWEMN"}, Ask::IdentifyByAta},  // for the medium
}};

class SmartFailure : public testing::TestWithParam<std::tuple<std::size_t, Fault>> {};

TEST_P(SmartFailure, LeavesWhatWasReadBefore)
{
    const auto [step, fault] = GetParam();
    DriveDouble drive = HardDisk();
    drive.faults[step + 1] = fault;
    const SmartDataCollection read = drive.GetSmartInformation(Disk(), WmiBlock());
    EXPECT_EQ(Set(read), kSteps[step].set[static_cast<std::size_t>(fault)]);
    if (fault != Fault::OpenFails) {
        ASSERT_GT(drive.requests.size(), step);
        EXPECT_EQ(drive.requests[step].ask, kSteps[step].ask);
    }
    EXPECT_TRUE(drive.AllClosed());
}

std::string NameOf(const testing::TestParamInfo<SmartFailure::ParamType>& tested)
{
    constexpr std::array kFaults{"OpenFails", "RequestFails", "Error", "Zeros", "Exception", "OtherException"};
    const auto [step, fault] = tested.param;
    return "Open" + std::to_string(step + 1) + kFaults[static_cast<std::size_t>(fault)];
}

INSTANTIATE_TEST_SUITE_P(EveryStep, SmartFailure,
                         testing::Combine(testing::Range<std::size_t>(0, kSteps.size()),
                                          testing::Values(Fault::OpenFails, Fault::RequestFails, Fault::Error, Fault::Zeros,
                                                          Fault::StandardException, Fault::OtherException)),
                         NameOf);

TEST(SmartThresholds, RaiseWhatTheDriveRefuses)
{
    for (const Fault fault : {Fault::OpenFails, Fault::RequestFails}) {
        DriveDouble drive = HardDisk();
        drive.faults[1] = fault;
        Sector thresholds{};
        try {
            (void)drive.ReadSmartThresholds(Disk().physicalDrivePath, thresholds);
            ADD_FAILURE() << "not raised";
        } catch (const ResultException& exception) {
            EXPECT_EQ(exception.Unit(), "cpp\\Common\\src\\SmartDataFetcher");
        }
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
    DriveDouble drive;
    return Readings(drive.GetSmartInformation(Disk(), block));
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
    // What a shorter block does not hold is zero.
    EXPECT_EQ(ReadingsOf(Block(entries, 350)), "");
    EXPECT_EQ(ReadingsOf(Block({Entry(5)}, 6)), "5:0/100/0/- ");
    EXPECT_EQ(ReadingsOf(Block({Entry(5)}, 1)), "");
}

TEST(SmartBlock, OfWmiOverwritesTheDevice)
{
    DriveDouble drive = HardDisk();
    const SmartDataCollection read = drive.GetSmartInformation(Disk(), Block({Entry(5, {9, 0, 0, 0, 0, 0})}));
    EXPECT_EQ(Readings(read), "5:9/100/50/36 ");
}

TEST(SmartThresholds, EndAtTheFirstZeroAndBeforeTheLastByte)
{
    const auto readingsOf = [](const Sector& thresholds) {
        SmartDataCollection collection;
        DriveDouble::ParseSmartThresholds(collection, thresholds);
        return Readings(collection);
    };
    // No threshold for a temperature or an id that has no slot; nothing behind the id 0.
    EXPECT_EQ(readingsOf(MakeSector({{2, {5, 36}}, {14, {194, 40}}, {26, {2, 1}}, {38, {12, 20}}, {50, {0, 9}}, {62, {9, 9}}})),
              "5:-/-/-/36 12:-/-/-/20 ");
    // Entries 42 and 43; the last one would end at byte 518.
    Sector full{};
    for (std::size_t at = 2; at < full.size(); at += 12) {
        full[at] = 2;
    }
    full[494] = 5;
    full[495] = 36;
    full[506] = 12;
    full[507] = 20;
    EXPECT_EQ(readingsOf(full), "5:-/-/-/36 ");
}

struct Medium {
    const char* what;
    bool isSolidState;
    bool asksTheDrive;
    std::function<void(DriveDouble&, BasicDiskInfo&, SmartDataCollection&)> change;
};

TEST(SmartSolidState, IsDecidedByTheFirstRuleThatHolds)
{
    const auto identify = [](std::size_t offset, Bytes bytes) {
        return [=](DriveDouble& drive, BasicDiskInfo&, SmartDataCollection&) {
            drive.pages[Ask::IdentifyByAta] = MakeSector({{0, {0x40}}, {offset, bytes}});
        };
    };
    const auto model = [](const char* name) {
        return [=](DriveDouble&, BasicDiskInfo&, SmartDataCollection& collection) { collection.modelName = name; };
    };
    const auto media = [](DiskDriveMediaType type) {
        return [=](DriveDouble&, BasicDiskInfo& disk, SmartDataCollection&) { disk.mediaType = type; };
    };
    const std::vector<Medium> cases{
        {"wear levelling has a raw value", true, false,
         [](DriveDouble&, BasicDiskInfo&, SmartDataCollection& collection) { collection.Find(177)->raw = 0; }},
        {"wear levelling has a threshold alone", false, true,
         [](DriveDouble&, BasicDiskInfo&, SmartDataCollection& collection) { collection.Find(177)->threshold = 5; }},
        {"SSD in the model", true, false, model("Any SSD 870")},
        {"NVMe in the model", true, false, model("AnyNVMe")},
        {"ssd and nvme in the model", false, true, model("any ssd nvme")},
        {"media type SSD", true, false, media(DiskDriveMediaType::SolidState)},
        {"media type SCM", false, true, media(DiskDriveMediaType::StorageClassMemory)},
        {"rotation rate 1", true, true, identify(434, {1, 0})},
        {"rotation rate 257", false, true, identify(434, {1, 1})},
        {"CompactFlash signature", true, true, identify(0, {0x8A, 0x84})},
        {"CompactFlash signature swapped", false, true, identify(0, {0x84, 0x8A})},
        {"CFA feature set", true, true, identify(166, {0x04, 0})},
        {"every other bit of word 83", false, true, identify(166, {0xFB, 0xFF})},
        {"no answer", false, true, [](DriveDouble& drive, BasicDiskInfo&, SmartDataCollection&) { drive.pages.clear(); }},
        {"an exception", false, true,
         [](DriveDouble& drive, BasicDiskInfo&, SmartDataCollection&) { drive.faults[1] = Fault::OtherException; }},
    };
    for (const Medium& medium : cases) {
        DriveDouble drive;
        drive.pages[Ask::IdentifyByAta] = MakeSector({{0, {0x40}}});
        BasicDiskInfo disk = Disk();
        SmartDataCollection collection;
        medium.change(drive, disk, collection);
        EXPECT_EQ(drive.IsSolidState(disk, collection), medium.isSolidState) << medium.what;
        EXPECT_EQ(!drive.opened.empty(), medium.asksTheDrive) << medium.what;
    }
}

TEST(SmartDrive, ThatRefusesEverythingHasItsNameAlone)
{
    DriveDouble drive;
    const SmartDataCollection read = drive.GetSmartInformation(Disk(12), {});
    EXPECT_EQ(Readings(read), "");
    EXPECT_EQ(read.name, "SMART12");
    EXPECT_TRUE(!read.modelName && !read.eppid);
}

}  // namespace
}  // namespace orbis::tests
