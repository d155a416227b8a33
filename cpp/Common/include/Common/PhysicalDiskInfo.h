#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Common/HardwareAccess.h"

namespace Veyra::Orbis::Cpp::Common {

// One entry of a disk's drive layout, joined with the volume on it. Texts are UTF-8.
struct PartitionInfo {
    std::string guid;         // GPT partition identifier without braces; all zeros for an entry without one (any entry of an MBR)
    std::uint32_t index = 0;  // partition number of the layout
    std::string name;         // GPT partition name; "Not Used" for an entry without an identifier
    std::uint64_t size = 0;   // units of 2^20 bytes
    std::string serial;       // Win32_LogicalDisk.VolumeSerialNumber; empty without a drive letter
    bool isBootVolume = false;
    bool isPageFilePresent = false;
    bool isCrashDump = false;
};

// One physical disk.
struct PhysicalDiskInfo {
    std::uint32_t diskNumber = 0;      // physical drive number
    std::string name;                  // "DISK" and the number
    std::optional<std::string> model;  // 40 bytes of IDENTIFY DEVICE, untrimmed; absent when they cannot be read
    std::uint64_t size = 0;            // geometry product in units of 2^20 bytes
    HardwareAccessLib::DiskDriveMediaType mediaType = HardwareAccessLib::DiskDriveMediaType::Unspecified;
    std::optional<std::string> eppid;  // 20 bytes of log page 0x9A, untrimmed; absent when they cannot be read
    std::string guid;                  // GPT disk identifier without braces; empty for a disk without one
    std::vector<PartitionInfo> partitions;
};

}  // namespace Veyra::Orbis::Cpp::Common
