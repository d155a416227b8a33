#pragma once

#include <optional>
#include <vector>

#include "linux/disks/Disk.h"
#include "platform/Requests.h"

namespace orbis::platform::linux_system {

struct PartitionTable {
    DriveLayoutHead head{};
    std::vector<PartitionInformationEx> entries;  // of an MBR a multiple of four, unused ones empty, as on Windows
};

// The table on an open disk, read with libblkid; style Raw when there is none that is known. Offsets and lengths are the kernel's
// where it knows the partition, since they are what may be used. Nothing, with errno set, when the disk cannot be read.
[[nodiscard]] std::optional<PartitionTable> ReadPartitionTable(int descriptor, const Disk& disk);

// The same from what the kernel and udev make public, for a disk that may not be opened: numbers, places, identifiers, names; no
// types, and no identifier of a GPT disk. Nothing when the kind of a partition cannot be determined.
[[nodiscard]] std::optional<PartitionTable> KnownPartitionTable(const Roots& roots, const Disk& disk);

}  // namespace orbis::platform::linux_system
