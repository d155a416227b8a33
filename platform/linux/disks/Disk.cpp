#include "linux/disks/Disk.h"

#include <algorithm>
#include <array>
#include <limits>
#include <string_view>

#include "linux/kernel/Files.h"
#include "platform/protocol/Scsi.h"

namespace orbis::platform::linux_system {
namespace {

constexpr std::uint64_t kSysfsSector = 512;  // sysfs counts in units of 512 bytes for every sector size

// Block devices without a disk drive. Most have no "device" link either, but not all on every kernel.
constexpr std::array<std::string_view, 16> kNoDisks{"loop", "ram", "zram", "dm-",    "md",    "sr",    "fd",       "nbd",
                                                    "rbd",  "zd",  "drbd", "bcache", "nullb", "ublkb", "mtdblock", "ubiblock"};
constexpr std::array<std::string_view, 3> kMmcAreas{"boot", "rpmb", "gp"};

bool IsNoDisk(std::string_view name)
{
    // A digit must follow, so that no short prefix takes other names along.
    const auto names = [&](std::string_view prefix) {
        return name.starts_with(prefix) && name.size() > prefix.size() && name[prefix.size()] >= '0' && name[prefix.size()] <= '9';
    };
    const auto isArea = [&](std::string_view area) { return name.find(area) != std::string_view::npos; };
    return std::ranges::any_of(kNoDisks, names) || (name.starts_with("mmcblk") && std::ranges::any_of(kMmcAreas, isArea));
}

bool IsScsiDisk(const std::string& device)
{
    const std::optional<std::uint64_t> type = ReadNumber(device + "/type");
    return type && (*type == protocol::scsi::kDirectAccess || *type == protocol::scsi::kZonedBlock);
}

std::uint64_t Bytes(const std::string& attribute)
{
    const std::uint64_t sectors = ReadNumber(attribute).value_or(0);
    return sectors <= std::numeric_limits<std::uint64_t>::max() / kSysfsSector ? sectors * kSysfsSector : 0;
}

std::uint32_t SectorSize(const std::string& attribute)
{
    const std::uint64_t size = ReadNumber(attribute).value_or(512);
    return size >= 512 && size <= 65536 ? static_cast<std::uint32_t>(size) : 512;
}

std::vector<Partition> ReadPartitions(const std::string& directory, const std::string& diskName)
{
    std::vector<Partition> partitions;
    for (const std::string& name : DirectoryNames(directory)) {
        if (!name.starts_with(diskName)) {
            continue;
        }
        const std::string path = PathIn(directory, name);
        const std::optional<std::uint64_t> number = ReadNumber(path + "/partition");
        if (number && *number > 0 && *number <= std::numeric_limits<std::uint32_t>::max()) {
            partitions.push_back({name, static_cast<std::uint32_t>(*number), Bytes(path + "/start"), Bytes(path + "/size")});
        }
    }
    std::ranges::sort(partitions, {}, &Partition::number);
    return partitions;
}

}  // namespace

std::optional<Disk> ReadDisk(const Roots& roots, const std::string& name)
{
    const std::string directory = roots.sys + "/block/" + name;
    if (IsNoDisk(name) || ReadText(directory + "/hidden") == "1") {
        return std::nullopt;
    }
    const std::string device = RealPath(directory + "/device");
    if (device.empty()) {
        return std::nullopt;
    }
    const std::string subsystem = BaseName(LinkTarget(device + "/subsystem"));
    if (subsystem == "scsi" && !IsScsiDisk(device)) {
        return std::nullopt;
    }

    Disk disk;
    disk.name = name;
    disk.position = device.starts_with(roots.sys) ? device.substr(roots.sys.size()) : device;
    disk.bytes = Bytes(directory + "/size");
    disk.bytesPerSector = SectorSize(directory + "/queue/logical_block_size");
    disk.bytesPerPhysicalSector = SectorSize(directory + "/queue/physical_block_size");
    disk.isRemovable = ReadText(directory + "/removable") == "1";
    disk.partitions = ReadPartitions(directory, name);
    if (subsystem == "scsi") {
        ReadScsiIdentity(roots, device, disk);
    } else if (subsystem == "nvme" || subsystem == "nvme-subsystem") {
        ReadNvmeIdentity(roots, device, disk);
    } else {
        ReadOtherIdentity(roots, device, subsystem, disk);
    }
    return disk;
}

}  // namespace orbis::platform::linux_system
