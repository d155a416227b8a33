// Partition tables, read from the disk and told without it.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "CapturedMachine.h"
#include "PortHelpers.h"

namespace orbis::tests {
namespace {

using namespace platform;

constexpr std::size_t kSector = 512;
constexpr std::uint64_t kDiskBytes = 64 << 20;
constexpr Guid kDiskId{0x11223344, 0x5566, 0x7788, {1, 2, 3, 4, 5, 6, 7, 8}};
constexpr Guid kPartitionId{0xA1B2C3D4, 0xE5F6, 0x4711, {8, 7, 6, 5, 4, 3, 2, 1}};
constexpr Guid kLinuxType{0x0FC63DAF, 0x8483, 0x4772, {0x8E, 0x79, 0x3D, 0x69, 0xD8, 0x47, 0x7D, 0xE4}};

template <typename T>
void Put(std::string& image, std::size_t offset, const T& value)
{
    std::memcpy(image.data() + offset, &value, sizeof(value));
}

std::uint32_t Crc32(const std::string& image, std::size_t offset, std::size_t size)
{
    std::uint32_t crc = 0xFFFFFFFF;
    for (std::size_t i = 0; i < size; ++i) {
        crc ^= static_cast<unsigned char>(image[offset + i]);
        for (int bit = 0; bit < 8; ++bit) {
            crc = crc >> 1 ^ ((crc & 1) != 0 ? 0xEDB88320U : 0);
        }
    }
    return ~crc;
}

void PutMbrEntry(std::string& image, std::size_t sector, std::size_t index, std::uint8_t flags, std::uint8_t type,
                 std::uint32_t start, std::uint32_t sectors)
{
    const std::size_t at = sector * kSector + 446 + 16 * index;
    Put(image, at, flags);
    Put(image, at + 4, type);
    Put(image, at + 8, start);
    Put(image, at + 12, sectors);
    Put(image, sector * kSector + 510, std::uint16_t{0xAA55});
}

// UEFI: protective MBR, header, 128 entries of 128 bytes, the second of which is in use.
std::string GptImage()
{
    std::string image(kDiskBytes, '\0');
    const std::uint64_t last = kDiskBytes / kSector - 1;
    PutMbrEntry(image, 0, 0, 0, 0xEE, 1, static_cast<std::uint32_t>(last));
    const std::size_t entry = 2 * kSector + 128;
    Put(image, entry, kLinuxType);
    Put(image, entry + 16, kPartitionId);
    Put(image, entry + 32, std::uint64_t{2048});
    Put(image, entry + 40, std::uint64_t{2048 + 4096 - 1});
    Put(image, entry + 48, std::uint64_t{4});
    const std::u16string name = u"d\u00e4ta";
    std::memcpy(image.data() + entry + 56, name.data(), name.size() * sizeof(char16_t));
    const std::size_t header = kSector;
    std::memcpy(image.data() + header, "EFI PART\0\0\1\0", 12);
    Put(image, header + 12, std::uint32_t{92});
    Put(image, header + 24, std::uint64_t{1});
    Put(image, header + 32, last);
    Put(image, header + 40, std::uint64_t{34});
    Put(image, header + 48, last - 33);
    Put(image, header + 56, kDiskId);
    Put(image, header + 72, std::uint64_t{2});
    Put(image, header + 80, std::uint32_t{128});
    Put(image, header + 84, std::uint32_t{128});
    Put(image, header + 88, Crc32(image, 2 * kSector, std::size_t{128} * 128));
    Put(image, header + 16, Crc32(image, header, 92));
    return image;
}

// An active primary partition, and an extended one with a logical partition in it.
std::string MbrImage()
{
    std::string image(kDiskBytes, '\0');
    Put(image, 440, std::uint32_t{0x1A2B3C4D});
    PutMbrEntry(image, 0, 0, 0x80, 0x07, 2048, 8192);
    PutMbrEntry(image, 0, 2, 0, 0x05, 16384, 32768);
    PutMbrEntry(image, 16384, 0, 0, 0x83, 2048, 4096);
    return image;
}

// One disk with what the kernel knows of its partitions.
CapturedTree Disk(const std::string& image, const std::string& more)
{
    CapturedTree tree(ScsiDiskLines("sda", "pci0/ata1/host0/0:0:0:0", "DISK", "S1", kDiskBytes));
    tree.Write("dev/sda", image.substr(0, image.find_last_not_of('\0') + 1));
    std::filesystem::resize_file(tree.Path("dev/sda"), image.size());  // the rest is a hole
    tree.Add(more);
    return tree;
}

std::string PartitionLines(int number, std::uint64_t start, std::uint64_t sectors, const std::string& uevent = {})
{
    return fmt::format(
        "sys/devices/pci0/ata1/host0/0:0:0:0/block/sda/sda{0} | <- sys/class/block/sda{0} | partition = {0} | start = {1} | "
        "size = {2} | uevent = {3}\n",
        number, start, sectors, uevent);
}

struct Layout {
    explicit Layout(linux_system::Platform& machine)
    {
        const DeviceHandle device = OpenDevice(machine.DeviceIoPort(), DrivePath(0));
        const Answer answer = Ask(machine.DeviceIoPort(), device, kIoctlDiskGetDriveLayoutEx, {}, 0x30 + 0x90 * 16);
        error = answer.error;
        head = answer.As<DriveLayoutHead>();
        for (std::size_t i = 0; i < head.partitionCount; ++i) {
            entries.push_back(answer.As<PartitionInformationEx>(0x30 + 0x90 * i));
        }
    }

    std::uint32_t error = 0;
    DriveLayoutHead head{};
    std::vector<PartitionInformationEx> entries;
};

}  // namespace

TEST(LinuxPartitionTable, GptIsReadFromTheDiskAndLengthsFromTheKernel)
{
    // The kernel still has the partition's old, shorter length.
    const CapturedTree tree = Disk(GptImage(), PartitionLines(2, 2048, 4000));
    linux_system::Platform machine(tree.Roots());
    const Layout layout(machine);
    ASSERT_EQ(layout.entries.size(), 1U) << "error " << layout.error;
    EXPECT_EQ(layout.head.partitionStyle, PartitionStyle::Gpt);
    EXPECT_EQ(layout.head.gpt.diskId, kDiskId);
    EXPECT_EQ(layout.head.gpt.startingUsableOffset, 34 * 512);
    EXPECT_EQ(layout.head.gpt.usableLength, static_cast<std::int64_t>(kDiskBytes - 67 * 512));
    EXPECT_EQ(layout.head.gpt.maxPartitionCount, 128U);
    const PartitionInformationEx& entry = layout.entries[0];
    EXPECT_EQ(entry.partitionNumber, 2U);
    EXPECT_EQ(entry.startingOffset, 1 << 20);
    EXPECT_EQ(entry.partitionLength, 4000 * 512);
    EXPECT_EQ(entry.gpt.partitionId, kPartitionId);
    EXPECT_EQ(entry.gpt.partitionType, kLinuxType);
    EXPECT_EQ(entry.gpt.attributes, 4U);
    EXPECT_EQ(std::u16string(entry.gpt.name.data()), u"d\u00e4ta");
}

TEST(LinuxPartitionTable, MbrHasFourEntriesATableAndMadeUpIdentifiers)
{
    const CapturedTree tree = Disk(MbrImage(), PartitionLines(3, 16384, 2));  // the kernel shows 1 KiB of an extended partition
    linux_system::Platform machine(tree.Roots());
    const Layout layout(machine);
    ASSERT_EQ(layout.entries.size(), 4U) << "error " << layout.error;
    EXPECT_EQ(layout.head.partitionStyle, PartitionStyle::Mbr);
    EXPECT_EQ(layout.head.mbr.signature, 0x1A2B3C4DU);
    const std::vector<std::array<std::int64_t, 6>> expected{
        // number, type, active, recognized, start and length in MiB
        {1, 0x07, 1, 1, 1, 4},
        {3, 0x05, 0, 0, 8, 16},
        {5, 0x83, 0, 1, 9, 2},
        {0, 0, 0, 0, 0, 0},
    };
    for (std::size_t i = 0; i < expected.size(); ++i) {
        const PartitionInformationEx& entry = layout.entries[i];
        const std::array<std::int64_t, 6> found{entry.partitionNumber,      entry.mbr.partitionType,
                                                entry.mbr.bootIndicator,    entry.mbr.recognizedPartition,
                                                entry.startingOffset >> 20, entry.partitionLength >> 20};
        EXPECT_EQ(found, expected[i]) << i;
    }
    EXPECT_EQ(layout.entries[0].mbr.partitionId, (Guid{0x1A2B3C4D, 0, 0, {0, 0, 0x10, 0, 0, 0, 0, 0}}));
    EXPECT_EQ(layout.entries[2].mbr.hiddenSectors, 18432U);
}

TEST(LinuxPartitionTable, DamagedAndAbsentTablesAreNone)
{
    std::string damaged = GptImage();
    damaged[2 * kSector + 200] ^= 1;  // the checksum of the entries fails, and there is no second copy
    for (const std::string& image : {damaged, std::string(kDiskBytes, '\0'), std::string(100, 'x')}) {
        const CapturedTree tree = Disk(image, {});
        linux_system::Platform machine(tree.Roots());
        const Layout layout(machine);
        EXPECT_EQ(layout.error, 0U);
        EXPECT_EQ(layout.head.partitionStyle, PartitionStyle::Raw);
        EXPECT_TRUE(layout.entries.empty());
    }
}

TEST(LinuxPartitionTable, DiskWithoutAccessStillHasPublicData)
{
    PlayedDrives drives;
    drives.denied = {"sda", "sda2"};
    CapturedTree tree =
        Disk({}, PartitionLines(2, 2048, 4000, "PARTN=2\\x0aPARTNAME=data\\x0aPARTUUID=a1b2c3d4-e5f6-4711-0807-060504030201"));
    linux_system::Platform machine(tree.Roots(), drives.Calls());
    const Layout layout(machine);
    ASSERT_EQ(layout.entries.size(), 1U);
    EXPECT_EQ(layout.head.partitionStyle, PartitionStyle::Gpt);
    EXPECT_EQ(layout.entries[0].gpt.partitionId, kPartitionId);
    EXPECT_EQ(layout.entries[0].partitionLength, 4000 * 512);
    EXPECT_EQ(std::u16string(layout.entries[0].gpt.name.data()), u"data");

    // An older kernel tells no identifier; udev's link does, here that of an MBR.
    tree.Add(PartitionLines(2, 2048, 4000));
    tree.Add("dev/disk/by-partuuid/1a2b3c4d-02 -> ../../sda2\n");
    const Layout mbr(machine);
    ASSERT_EQ(mbr.entries.size(), 4U);
    EXPECT_EQ(mbr.head.mbr.signature, 0x1A2B3C4DU);
    EXPECT_EQ(mbr.entries[0].mbr.partitionId.data1, 0x1A2B3C4DU);

    tree.Remove("dev/disk");
    EXPECT_EQ(Layout(machine).error, win32::kAccessDenied);
}

TEST(LinuxPartitionTable, AVolumeFindsItsEntryOnItsDisk)
{
    CapturedTree tree = Disk(GptImage(), PartitionLines(2, 2048, 4096) + PartitionLines(3, 8192, 16) +
                                             "sys/dev/block/8:2 -> ../../devices/pci0/ata1/host0/0:0:0:0/block/sda/sda2\n"
                                             "sys/dev/block/8:3 -> ../../devices/pci0/ata1/host0/0:0:0:0/block/sda/sda3\n"
                                             "proc/self/mountinfo = 1 0 8:2 / / rw - ext4 /dev/sda2 rw\\x0a"
                                             "2 1 8:3 / /mnt rw - ext4 /dev/sda3 rw\\x0a\n");
    linux_system::Platform machine(tree.Roots());
    DeviceIo& io = machine.DeviceIoPort();
    const auto root = Ask(io, OpenDevice(io, u"\\\\.\\C:", kGenericRead), kIoctlDiskGetPartitionInfoEx, {}, 144);
    EXPECT_EQ(root.As<PartitionInformationEx>().gpt.partitionId, kPartitionId);
    // The table on the disk has no third partition any more; the kernel goes on with it.
    const auto stale = Ask(io, OpenDevice(io, u"\\\\.\\D:", kGenericRead), kIoctlDiskGetPartitionInfoEx, {}, 144);
    EXPECT_EQ(stale.As<PartitionInformationEx>().partitionNumber, 3U);
    EXPECT_EQ(stale.As<PartitionInformationEx>().gpt.partitionId, Guid{});
}

}  // namespace orbis::tests
