#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "LinuxDisk.h"
#include "platform/Guid.h"
#include "platform/Requests.h"

// Partition tables and file-system identifiers, read with libblkid.
namespace orbis::platform {

struct LinuxPartitionTable {
    DriveLayoutHead head{};  // its count is that of the entries
    std::vector<PartitionInformationEx> entries;
};

// The table on an open disk; style Raw when there is none that is known. Lengths are the kernel's where it knows the partition,
// since they are what may be used. Nothing, with errno set, when the disk cannot be read.
[[nodiscard]] std::optional<LinuxPartitionTable> ReadPartitionTable(int descriptor, const LinuxDisk& disk);

// The serial number of a file system as Windows shows a volume's: eight hexadecimal digits. FAT has just that; of longer
// identifiers NTFS gives its low half and the others their first eight digits. Read from the device, or where that is not allowed
// from the names that udev leaves. Empty when there is none.
[[nodiscard]] std::string ReadVolumeSerial(const Roots& roots, const std::string& blockName);

[[nodiscard]] std::optional<Guid> ParseGuid(std::string_view text) noexcept;
// "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx" in lower case.
[[nodiscard]] std::string GuidText(const Guid& guid);

}  // namespace orbis::platform
