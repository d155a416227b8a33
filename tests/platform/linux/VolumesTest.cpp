// Mounts as drive letters, and what hangs on them: volume rows, page files, the crash-dump directory, partitions.
#include <gtest/gtest.h>

#include <fmt/format.h>

#include <vector>

#include "CapturedMachine.h"
#include "PortHelpers.h"
#include "platform/Text.h"

namespace orbis::tests {
namespace {

using namespace platform;

// A laptop: EFI system partition, an encrypted root, /var with a swap file on a second disk, a stick, a snap on a loop device, and
// logical volumes over two partitions.
constexpr const char* kLaptop = R"(
sys/devices/pci0/nvme/nvme0 | subsystem -> ../../../../class/nvme | transport = pcie | model = Laptop SSD | serial = L1
sys/devices/pci0/nvme/nvme0/nvme0n1 | <- sys/block/nvme0n1 | <- sys/class/block/nvme0n1 | device -> .. | size = 2097152
sys/devices/pci0/nvme/nvme0/nvme0n1/nvme0n1p1 | <- sys/class/block/nvme0n1p1 | <- sys/dev/block/259:1 | partition = 1
sys/devices/pci0/nvme/nvme0/nvme0n1/nvme0n1p1 | start = 2048 | size = 204800
sys/devices/pci0/nvme/nvme0/nvme0n1/nvme0n1p2 | <- sys/class/block/nvme0n1p2 | partition = 2
sys/devices/pci0/nvme/nvme0/nvme0n1/nvme0n1p2 | <- sys/devices/virtual/block/dm-0/slaves/nvme0n1p2
sys/devices/pci0/nvme/nvme0/nvme0n1/nvme0n1p2 | <- sys/devices/virtual/block/dm-1/slaves/nvme0n1p2
sys/devices/virtual/block/dm-0 | <- sys/class/block/dm-0 | <- sys/dev/block/254:0 | stat = 10 0 4096 5 20 0 2048 7 0 9
sys/devices/pci0/ata1/host0/0:0:0:0/block/sda/sda1 | <- sys/class/block/sda1 | <- sys/dev/block/8:1 | partition = 1
sys/devices/pci0/ata1/host0/0:0:0:0/block/sda/sda2 | <- sys/class/block/sda2 | partition = 2
sys/devices/pci0/ata1/host0/0:0:0:0/block/sda/sda2 | <- sys/devices/virtual/block/dm-1/slaves/sda2
sys/devices/virtual/block/dm-1 | <- sys/class/block/dm-1 | <- sys/dev/block/254:1
sys/devices/virtual/block/loop0 | <- sys/class/block/loop0 | <- sys/dev/block/7:0 | size = 8
sys/devices/pci0/usb1/1-1/host9/9:0:0:0/block/sdb | <- sys/dev/block/8:16
dev/mapper/root -> ../dm-0
)";

CapturedTree Laptop()
{
    CapturedTree tree(kLaptop);
    tree.Add(ScsiDiskLines("sda", "pci0/ata1/host0/0:0:0:0", "DATA", "D1", 1 << 30));
    tree.Add(ScsiDiskLines("sdb", "pci0/usb1/1-1/host9/9:0:0:0", "STICK", "U1", 1 << 28));
    for (const char* line : {
             "21 1 254:0 / / rw shared:1 - ext4 /dev/mapper/root rw",
             "22 21 259:1 / /boot/efi rw - vfat /dev/nvme0n1p1 rw",
             "23 21 8:1 / /var rw - ext4 /dev/sda1 rw",
             "24 21 8:1 /crash /c rw - ext4 /dev/sda1 rw",
             "25 21 7:0 / /snap/core ro - squashfs /dev/loop0 ro",
             "26 21 254:1 / /pool rw - ext4 /dev/dm-1 rw",
             "27 21 0:50 / /net rw - nfs4 server:/export rw",
         }) {
        tree.Append("proc/self/mountinfo", line);
    }
    tree.Write("proc/swaps", "Filename Type Size Used Priority\n/var/swap\\040file file 1 0 -2\n/dev/sda2 partition 1 0 -3\n");
    return tree;
}

// "C:\ D:\" for the letters that there are.
std::string Letters(linux_system::Platform& machine)
{
    std::u16string strings(200, u'\0');
    strings.resize(machine.DeviceIoPort().LogicalDriveStrings(200, strings.data()));
    std::string letters;
    for (std::size_t at = 0; at < strings.size(); at += 4) {
        letters += static_cast<char>(strings[at]);
    }
    return letters;
}

// Drive number and partition number that a letter stands on.
std::pair<std::uint32_t, std::uint32_t> PlaceOf(linux_system::Platform& machine, char16_t letter)
{
    const DeviceHandle volume = OpenDevice(machine.DeviceIoPort(), std::u16string(u"\\\\.\\") + letter + u":", kGenericRead);
    const auto number = Ask(machine.DeviceIoPort(), volume, kIoctlStorageGetDeviceNumber, {}, 12).As<StorageDeviceNumber>();
    return {number.deviceNumber, number.partitionNumber};
}

std::string CrashDirectory(linux_system::Platform& machine)
{
    const WmiResult result =
        Query(machine.WmiPort(), u"root\\cimv2", u"SELECT * FROM Win32_OSRecoveryConfiguration", {u"ExpandedMiniDumpDirectory"});
    return result.rows.size() == 1 ? Utf16ToUtf8(result.rows[0][0].text.value_or(u"(null)")) : "(no row)";
}

}  // namespace

TEST(LinuxVolumes, OnlyMountsOnOnePhysicalDiskGetLetters)
{
    const CapturedTree tree = Laptop();
    linux_system::Platform machine(tree.Roots());
    EXPECT_EQ(Letters(machine), "CDE") << "no snap, no volume over two disks, no network, no second mount of /var";
    EXPECT_EQ(PlaceOf(machine, u'C'), std::pair(0U, 2U)) << "through the encryption";
    EXPECT_EQ(PlaceOf(machine, u'd'), std::pair(0U, 1U));
    EXPECT_EQ(PlaceOf(machine, u'E'), std::pair(1U, 1U));
    EXPECT_FALSE(OpenDevice(machine.DeviceIoPort(), u"\\\\.\\F:").IsValid());
    EXPECT_EQ(machine.DeviceIoPort().LastError(), win32::kFileNotFound);
}

TEST(LinuxVolumes, RowsTellBootPageFileAndCrashDirectory)
{
    CapturedTree tree = Laptop();
    linux_system::Platform machine(tree.Roots());
    const WmiResult volumes = Query(machine.WmiPort(), u"root\\CIMV2", u"select * from win32_volume",
                                    {u"DriveLetter", u"Name", u"BootVolume", u"PageFilePresent", u"DeviceID"});
    ASSERT_EQ(volumes.rows.size(), 3U);
    constexpr std::uint64_t kTrue = 0xFFFF;  // VARIANT_TRUE
    for (std::size_t i = 0; i < 3; ++i) {
        const auto& row = volumes.rows[i];
        const std::u16string letter{u"CDE"[i], u':'};
        EXPECT_EQ(row[0].text, letter);
        EXPECT_EQ(row[1].text, letter + u"\\");
        EXPECT_EQ(row[2].type, VariantType::Bool);
        EXPECT_EQ(row[2].payload, i == 0 ? kTrue : 0);
        EXPECT_EQ(row[3].payload, i == 2 ? kTrue : 0) << "a swap file; a swap partition is on no volume";
        EXPECT_TRUE(row[4].text->starts_with(u"\\\\?\\Volume{"));
    }
    EXPECT_EQ(CrashDirectory(machine), "E:\\crash");
    tree.Append("proc/self/mountinfo", "28 23 0:60 / /var/crash rw - tmpfs tmpfs rw");
    EXPECT_EQ(CrashDirectory(machine), "") << "on no disk";
    tree.Append("proc/self/mountinfo", "29 28 8:1 / /var/crash rw - ext4 /dev/sda1 rw");
    EXPECT_EQ(CrashDirectory(machine), "E:\\") << "the later mount of a place hides the earlier";
}

TEST(LinuxVolumes, LettersStayWhileTheirVolumesDo)
{
    CapturedTree tree = Laptop();
    tree.Write("sys/kernel/uevent_seqnum", "7\n");  // and stays: the kernel tells of no device when a file system is mounted
    linux_system::Platform machine(tree.Roots());
    EXPECT_EQ(Letters(machine), "CDE");
    tree.Append("proc/self/mountinfo", "30 21 8:16 / /media/stick rw - exfat /dev/sdb rw");
    EXPECT_EQ(Letters(machine), "CDEF");
    EXPECT_EQ(PlaceOf(machine, u'F'), std::pair(2U, 0U)) << "a file system on a whole disk";

    // /boot/efi is unmounted: nobody moves up, and it is D: again when it comes back.
    const std::string mounts =
        "21 1 254:0 / / rw - ext4 /dev/mapper/root rw\n23 21 8:1 / /var rw - ext4 /dev/sda1 rw\n"
        "30 21 8:16 / /media/stick rw - exfat /dev/sdb rw\n";
    tree.Write("proc/self/mountinfo", mounts);
    EXPECT_EQ(Letters(machine), "CEF");
    tree.Write("proc/self/mountinfo", mounts + "31 21 259:1 / /efi rw - vfat /dev/nvme0n1p1 rw\n");
    EXPECT_EQ(Letters(machine), "CDEF");
}

// Subvolumes have a device number of their own, so only the source's path tells the device.
TEST(LinuxVolumes, SubvolumesAreOneVolume)
{
    CapturedTree tree = Laptop();
    tree.Write("proc/self/mountinfo",
               "21 1 0:40 /@ / rw - btrfs /dev/mapper/root rw\n22 21 0:40 /@home /home rw - btrfs "
               "/dev/mapper/root rw\n23 21 0:40 /@var/crash /var/crash rw - btrfs /dev/mapper/root rw\n");
    linux_system::Platform machine(tree.Roots());
    EXPECT_EQ(Letters(machine), "C");
    EXPECT_EQ(PlaceOf(machine, u'C'), std::pair(0U, 2U));
    EXPECT_EQ(CrashDirectory(machine), "C:\\@var\\crash");
}

TEST(LinuxVolumes, PerformanceIsTheVolumesOwn)
{
    const CapturedTree tree = Laptop();
    PlayedDrives drives;
    drives.now = std::chrono::seconds(100);
    linux_system::Platform machine(tree.Roots(), drives.Calls());
    const DeviceHandle volume = OpenDevice(machine.DeviceIoPort(), u"\\\\.\\C:", kFileReadAttributes);
    const auto performance = Ask(machine.DeviceIoPort(), volume, kIoctlDiskPerformance, {}, 88).As<DiskPerformance>();
    EXPECT_EQ(performance.bytesRead, 4096 * 512);
    EXPECT_EQ(performance.bytesWritten, 2048 * 512);
    EXPECT_EQ(performance.readTime, 5 * 10000);
    EXPECT_EQ(performance.writeCount, 20U);
    EXPECT_EQ(performance.idleTime, (100'000 - 9) * 10000);
    EXPECT_EQ(performance.storageDeviceNumber, 0U);
}

// FAT has a serial number; of what other file systems have, Windows shows eight digits. Here udev's names tell, as they do to
// everybody.
TEST(LinuxVolumes, SerialNumbersAreEightDigits)
{
    CapturedTree tree = Laptop();
    tree.Add(
        "dev/disk/by-uuid/50E3-348a -> ../../nvme0n1p1\ndev/disk/by-uuid/0123456789ABCDEF -> ../../sda1\n"
        "dev/disk/by-uuid/5a6b7c8d-0002-4003-8000-0123456789ab -> ../../dm-0\n");
    linux_system::Platform machine(tree.Roots());
    const WmiResult disks =
        Query(machine.WmiPort(), u"root\\cimv2", u"SELECT * FROM Win32_LogicalDisk", {u"Caption", u"VolumeSerialNumber"});
    ASSERT_EQ(disks.rows.size(), 3U);
    EXPECT_EQ(disks.rows[0][1].text, u"5A6B7C8D");
    EXPECT_EQ(disks.rows[1][1].text, u"50E3348A");
    EXPECT_EQ(disks.rows[2][1].text, u"89ABCDEF") << "NTFS, the low half";
}

}  // namespace orbis::tests
