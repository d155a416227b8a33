// The kernel's disks as Windows' sources would report them: the same order, number and id everywhere.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <vector>

#include <sys/sysmacros.h>

#include "CapturedMachine.h"
#include "PortHelpers.h"
#include "platform/Text.h"

namespace orbis::tests {
namespace {

using namespace platform;

struct DriveRow {
    std::uint32_t index = 0;
    std::string model;
    std::string id;
    std::string firmware;

    friend bool operator==(const DriveRow&, const DriveRow&) = default;
    friend std::ostream& operator<<(std::ostream& out, const DriveRow& row)
    {
        return out << row.index << " '" << row.model << "' " << row.id << " '" << row.firmware << "'";
    }
};

std::string Narrow(const WmiValue& value) { return Utf16ToUtf8(value.text.value_or(u"(null)")); }

std::vector<DriveRow> Drives(linux_system::Platform& machine)
{
    std::vector<DriveRow> drives;
    const WmiResult result = Query(machine.WmiPort(), u"root\\cimv2", u"SELECT * FROM Win32_DiskDrive",
                                   {u"Index", u"Model", u"PNPDeviceID", u"FirmwareRevision"});
    for (const auto& row : result.rows) {
        drives.push_back({row[0].Number(), Narrow(row[1]), Narrow(row[2]), Narrow(row[3])});
    }
    return drives;
}

BusType BusTypeOf(linux_system::Platform& machine, std::uint32_t number)
{
    const DeviceHandle device = OpenDevice(machine.DeviceIoPort(), DrivePath(number));
    return Ask(machine.DeviceIoPort(), device, kIoctlStorageQueryProperty, BytesOf(StoragePropertyQueryHead{}, 12), 1024)
        .As<StorageDeviceDescriptorHead>()
        .busType;
}

std::map<std::string, std::uint32_t> NumbersById(linux_system::Platform& machine)
{
    std::map<std::string, std::uint32_t> numbers;
    for (const DriveRow& drive : Drives(machine)) {
        numbers[drive.id] = drive.index;
    }
    return numbers;
}

}  // namespace

// A guest of an emulator with one disk on each transport, an optical drive, and an NVMe subsystem whose namespaces have hidden
// paths.
TEST(LinuxInventory, ReportsEveryTransportAsWindowsDoes)
{
    const CapturedTree tree = CapturedTree::Named("every-transport.tree");
    linux_system::Platform machine(tree.Roots());
    const std::vector<DriveRow> expected{
        {0, "QEMU NVMe Ctrl", R"(SCSI\DISK&VEN_NVME&PROD_QEMU_NVME_CTRL\LAB-LAPTOP-7&1)", "7.2.22"},
        {1, "QEMU NVMe Ctrl", R"(SCSI\DISK&VEN_NVME&PROD_QEMU_NVME_CTRL\LAB-SERVER-12&1)", "7.2.22"},
        {2, "QEMU NVMe Ctrl", R"(SCSI\DISK&VEN_NVME&PROD_QEMU_NVME_CTRL\LAB-SERVER-12&2)", "7.2.22"},
        {3, "QEMU NVMe Ctrl", R"(SCSI\DISK&VEN_NVME&PROD_QEMU_NVME_CTRL\LAB-SERVER-12&5)", "7.2.22"},
        {4, "Lab SATA SSD", R"(SCSI\DISK&VEN_LAB&PROD_SATA_SSD\LAB-SSD-1&0)", "SSD.1"},
        {5, "Lab SATA HDD", R"(SCSI\DISK&VEN_LAB&PROD_SATA_HDD\LAB-HDD-2&0)", "HDD.2"},
        {6, "Lab SATA blank", R"(SCSI\DISK&VEN_LAB&PROD_SATA_BLANK\LAB-BLANK-3&0)", "BLK.3"},
        {7, "QEMU QEMU HARDDISK", R"(SCSI\DISK&VEN_QEMU&PROD_QEMU_HARDDISK\LAB-VSCSI&0)", "2.5+"},
        {8, "QEMU QEMU HARDDISK", R"(USBSTOR\DISK&VEN_QEMU&PROD_QEMU_HARDDISK&REV_2.5+\LAB-UAS-1&0)", "2.5+"},
        {9, "Lab PATA disk", R"(SCSI\DISK&VEN_LAB&PROD_PATA_DISK\LAB-PATA&0)", "2.5+"},
        {10, "QEMU QEMU HARDDISK", R"(SCSI\DISK&VEN_QEMU&PROD_QEMU_HARDDISK\LAB-MEGA&0)", "2.5+"},
        {11, "QEMU QEMU HARDDISK", R"(USBSTOR\DISK&VEN_QEMU&PROD_QEMU_HARDDISK&REV_2.5+\LAB-USB-9&0)", "2.5+"},
        {12, "Red Hat VirtIO", R"(SCSI\DISK&VEN_RED_HAT&PROD_VIRTIO\LAB-VBLK-1&0)", ""},
    };
    EXPECT_EQ(Drives(machine), expected);

    using enum BusType;
    const std::vector<BusType> busTypes{Nvme, Nvme, Nvme, Nvme, Sata, Sata, Sata, Scsi, Usb, Ata, Raid, Usb, Scsi};
    const std::vector<std::uint32_t> mediaTypes{4, 4, 4, 4, 4, 3, 0, 0, 0, 0, 0, 0, 0};
    const WmiResult media = Query(machine.WmiPort(), u"root\\microsoft\\windows\\storage", u"SELECT * FROM MSFT_PhysicalDisk",
                                  {u"DeviceId", u"MediaType"});
    ASSERT_EQ(media.rows.size(), expected.size());
    const std::vector<WalkedDisk> walk = WalkDisks(machine.SetupPort());
    ASSERT_EQ(walk.size(), expected.size());
    for (std::uint32_t number = 0; number < expected.size(); ++number) {
        EXPECT_EQ(BusTypeOf(machine, number), busTypes[number]) << number;
        EXPECT_EQ(Narrow(media.rows[number][0]), std::to_string(number));
        EXPECT_EQ(media.rows[number][1].Number(), mediaTypes[number]) << number;
        EXPECT_EQ(Utf16ToUtf8(walk[number].instanceId), expected[number].id);
    }
}

TEST(LinuxInventory, GeometryIsThatOfLargeDisksAndDescriptorTextsAreInBounds)
{
    const CapturedTree tree = CapturedTree::Named("every-transport.tree");
    linux_system::Platform machine(tree.Roots());
    DeviceIo& io = machine.DeviceIoPort();
    const DeviceHandle device = OpenDevice(io, DrivePath(2));  // 128 MiB in blocks of 4096 bytes
    const auto geometry = Ask(io, device, kIoctlDiskGetDriveGeometry, {}, 24).As<DiskGeometry>();
    EXPECT_EQ(geometry.bytesPerSector, 4096U);
    EXPECT_EQ(geometry.cylinders, 134217728 / (255 * 63 * 4096));
    EXPECT_EQ(geometry.mediaType, 12U);

    const auto query = BytesOf(StoragePropertyQueryHead{}, 12);
    const Answer whole = Ask(io, device, kIoctlStorageQueryProperty, query, 1024);
    const auto head = whole.As<StorageDeviceDescriptorHead>();
    ASSERT_LT(head.serialNumberOffset, whole.bytes.size());
    EXPECT_STREQ(reinterpret_cast<const char*>(whole.bytes.data() + head.serialNumberOffset), "LAB-SERVER-12");
    EXPECT_EQ(head.vendorIdOffset, 0U) << "NVMe has no vendor text";
    const Answer start = Ask(io, device, kIoctlStorageQueryProperty, query, 8);
    EXPECT_EQ(start.As<std::uint32_t>(4), whole.bytes.size()) << "a short buffer learns the size";
}

// Every event of the kernel's is noticed at once.
TEST(LinuxInventory, NumbersStayAndWaitForTheirDisk)
{
    CapturedTree tree("sys/kernel/uevent_seqnum = 1000\n" +
                      ScsiDiskLines("sda", "pci0/ata1/host0/0:0:0:0", "FIRST", "S1", 1 << 30) +
                      ScsiDiskLines("sdb", "pci0/ata2/host1/1:0:0:0", "SECOND", "S2", 1 << 30) +
                      ScsiDiskLines("sdz", "pci0/ata3/host2/2:0:0:0", "THIRD", "S3", 1 << 30) +
                      ScsiDiskLines("sdaa", "pci0/ata4/host3/3:0:0:0", "FOURTH", "", 1 << 30));
    linux_system::Platform machine(tree.Roots());
    DeviceIo& io = machine.DeviceIoPort();
    const auto first = NumbersById(machine);
    EXPECT_EQ(first.at(R"(SCSI\DISK&VEN_ACME&PROD_FIRST\S1&0)"), 0U);
    EXPECT_EQ(first.at(R"(SCSI\DISK&VEN_ACME&PROD_THIRD\S3&0)"), 2U) << "sdz stands before sdaa";
    EXPECT_EQ(machine.DriveNumberOf(machine.PathOf(3)), 3U) << "sdaa";
    EXPECT_EQ(machine.DriveNumberOf(machine.PathOf(4)), std::nullopt);

    tree.Remove("sys/block/sdb");
    tree.Write("sys/kernel/uevent_seqnum", "1001\n");
    EXPECT_FALSE(OpenDevice(io, DrivePath(1)).IsValid());
    EXPECT_EQ(io.LastError(), win32::kFileNotFound);
    EXPECT_TRUE(OpenDevice(io, DrivePath(3)).IsValid());
    EXPECT_FALSE(OpenDevice(io, DrivePath(4)).IsValid());

    // Another disk takes the name of the one that left, and that one comes back under a third name.
    tree.Add(ScsiDiskLines("sdb", "pci0/usb1/1-1/host9/9:0:0:0", "NEWCOMER", "S9", 1 << 30));
    tree.Write("sys/kernel/uevent_seqnum", "1002\n");
    EXPECT_TRUE(OpenDevice(io, DrivePath(4)).IsValid()) << "a newcomer is found without a walk";
    tree.Add(ScsiDiskLines("sdc", "pci0/ata2/host5/5:0:0:0", "SECOND", "S2", 1 << 30));
    tree.Write("sys/kernel/uevent_seqnum", "1003\n");
    const auto now = NumbersById(machine);
    EXPECT_EQ(now.at(R"(USBSTOR\DISK&VEN_ACME&PROD_NEWCOMER\S9&0)"), 4U);
    EXPECT_EQ(now.at(R"(SCSI\DISK&VEN_ACME&PROD_SECOND\S2&0)"), 1U);
    EXPECT_EQ(now.size(), 5U);
}

// Drive masks have 32 bits: whoever comes after so many disks must fit.
TEST(LinuxInventory, NumbersOfDisksThatAreGoneAreGivenAgainPastTheMask)
{
    CapturedTree tree("sys/kernel/uevent_seqnum = 1000\n" + ScsiDiskLines("sda", "pci0/ata1/host0/0:0:0:0", "STAYS", "S", 1 << 30));
    linux_system::Platform machine(tree.Roots());
    DeviceHandle held;
    std::map<std::string, std::uint32_t> numbers;
    for (int stick = 1; stick <= 34; ++stick) {
        tree.Add(ScsiDiskLines("sdb", "pci0/usb1/1-1/host9/9:0:0:0", "STICK", "U" + std::to_string(stick), 1 << 30));
        tree.Write("sys/kernel/uevent_seqnum", std::to_string(1000 + stick) + "\n");
        numbers = NumbersById(machine);
        if (stick == 1) {
            held = OpenDevice(machine.DeviceIoPort(), DrivePath(1));
        }
        tree.Remove("sys/block/sdb");
    }
    EXPECT_TRUE(held.IsValid());
    EXPECT_EQ(numbers.at(R"(SCSI\DISK&VEN_ACME&PROD_STAYS\S&0)"), 0U);
    EXPECT_EQ(numbers.at(R"(USBSTOR\DISK&VEN_ACME&PROD_STICK\U34&0)"), 2U) << "1 is held open";
}

TEST(LinuxInventory, ADriveWithoutAMediumIsNotListed)
{
    CapturedTree tree("sys/kernel/uevent_seqnum = 1000\n" + ScsiDiskLines("sda", "pci0/usb1/1-1/host9/9:0:0:0", "READER", "R", 0) +
                      ScsiDiskLines("sdb", "pci0/ata1/host0/0:0:0:0", "DISK", "D", 1 << 30));
    linux_system::Platform machine(tree.Roots());
    EXPECT_EQ(NumbersById(machine), (std::map<std::string, std::uint32_t>{{R"(SCSI\DISK&VEN_ACME&PROD_DISK\D&0)", 1U}}));
    EXPECT_EQ(WalkDisks(machine.SetupPort()).size(), 1U);
    EXPECT_FALSE(OpenDevice(machine.DeviceIoPort(), DrivePath(0)).IsValid());
    EXPECT_EQ(machine.DeviceIoPort().LastError(), win32::kNotReady);
    tree.Write("sys/block/sda/size", "2048\n");
    tree.Write("sys/kernel/uevent_seqnum", "1001\n");
    EXPECT_EQ(NumbersById(machine).size(), 2U) << "a card was put in";
}

// The kernel gives the name of a disk that left to the next one, and the node may be older than that.
TEST(LinuxInventory, TheNodeOfAnotherDeviceIsNotUsed)
{
    const CapturedTree tree(ScsiDiskLines("sda", "pci0/ata1/host0/0:0:0:0", "DISK", "D", 1 << 30) + "sys/block/sda/dev = 8:0\n");
    PlayedDrives drives;
    linux_system::Platform machine(tree.Roots(), drives.Calls());
    drives.deviceNumber = makedev(8, 0);
    EXPECT_TRUE(OpenDevice(machine.DeviceIoPort(), DrivePath(0)).IsValid());
    drives.deviceNumber = makedev(8, 16);
    EXPECT_FALSE(OpenDevice(machine.DeviceIoPort(), DrivePath(0)).IsValid());
    EXPECT_EQ(machine.DeviceIoPort().LastError(), win32::kNoSuchDevice);
}

// Enclosures with one serial number for all of their kind, and disks with two paths to them.
TEST(LinuxInventory, EqualSerialNumbersStillGiveDifferentIds)
{
    CapturedTree tree(ScsiDiskLines("sda", "pci0/usb1/1-1/host0/0:0:0:0", "CHEAP", "0000", 1 << 30));
    linux_system::Platform machine(tree.Roots());
    const std::string plain = R"(USBSTOR\DISK&VEN_ACME&PROD_CHEAP\0000&0)";
    EXPECT_EQ(NumbersById(machine).at(plain), 0U);
    tree.Add(ScsiDiskLines("sdb", "pci0/usb1/1-2/host1/1:0:0:0", "CHEAP", "0000", 1 << 30));
    const auto numbers = NumbersById(machine);
    ASSERT_EQ(numbers.size(), 2U);
    EXPECT_EQ(numbers.at(plain), 0U) << "the newcomer takes neither id nor number";
    EXPECT_TRUE(numbers.rbegin()->first.starts_with(plain + "&"));
    for (const WalkedDisk& disk : WalkDisks(machine.SetupPort())) {
        const DeviceHandle device = OpenDevice(machine.DeviceIoPort(), disk.path);
        const auto number = Ask(machine.DeviceIoPort(), device, kIoctlStorageGetDeviceNumber, {}, 12).As<StorageDeviceNumber>();
        EXPECT_EQ(number.deviceNumber, numbers.at(Utf16ToUtf8(disk.instanceId)));
    }
}

// Firmware texts are hostile: they may not break an id, a path, or the message that they end in.
TEST(LinuxInventory, OddTextsGiveSoundIds)
{
    const std::string odd = "A#B\\\\x5cC/D,E\\xff\\x01 " + std::string(60, 'x');
    const CapturedTree tree(ScsiDiskLines("sda", "pci0/ata1/host0/0:0:0:0", odd, "s&1" + std::string(99, 's'), 1 << 30) +
                            "sys/devices/pci0/ata1/host0/0:0:0:0/vpd_pg89 = \\x00\\x89\\xff\\xffshort\n"
                            "sys/devices/pci0/ata1/host0/0:0:0:0/block/sda/sda0 | partition = 0\n");
    linux_system::Platform machine(tree.Roots());
    const std::vector<WalkedDisk> walk = WalkDisks(machine.SetupPort());
    ASSERT_EQ(walk.size(), 1U);
    EXPECT_EQ(std::ranges::count(walk[0].instanceId, u'\\'), 2);
    EXPECT_EQ(std::ranges::count(walk[0].path, u'#'), 3);
    EXPECT_LE(walk[0].instanceId.size(), 126U) << "callers have room for 255 bytes";
    EXPECT_TRUE(std::ranges::all_of(walk[0].instanceId, [](char16_t c) { return c > 0x20 && c < 0x7F; }));
    EXPECT_TRUE(OpenDevice(machine.DeviceIoPort(), walk[0].path).IsValid());
    EXPECT_NE(Drives(machine)[0].model.find("\xEF\xBF\xBD"), std::string::npos);
    const WmiResult partitions = Query(machine.WmiPort(), u"root\\cimv2", u"SELECT * FROM Win32_DiskDrive", {u"Partitions"});
    EXPECT_EQ(partitions.rows.at(0)[0].Number(), 0U) << "partitions count from 1";
}

}  // namespace orbis::tests
