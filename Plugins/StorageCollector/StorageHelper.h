#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "HostSdk/ItemId.h"

namespace Veyra::Orbis::Plugins {

// One row of Win32_DiskDrive. Texts are narrow, in UTF-8 as WMI delivers them.
struct DiskDeviceInfo {
    std::uint32_t index = 0;  // physical drive number: the N of PhysicalDriveN
    std::uint32_t scsiPort = 0;
    std::string model;
    std::string pnpDeviceId;
    std::string firmwareRevision;
};

// The disk inventory, from which every collector takes the same key for the same disk, and the normalisation of firmware data.
class StorageHelper {
public:
    // Every disk drive, in the order of WMI's rows. A row with a property that cannot be read is left out; a failure of the query
    // itself is thrown (Cpp::Common::ResultException).
    [[nodiscard]] static std::vector<DiskDeviceInfo> getDeviceInfo();

    // The first record whose index is the drive number, or a default record when there is none.
    [[nodiscard]] static DiskDeviceInfo findDeviceIdByPhysicalDriveNumber(std::span<const DiskDeviceInfo> devices,
                                                                          std::uint32_t physicalDriveNumber);

    // "Disk_" followed by the record's PnP device id as a host string; "Disk_" alone for a default record.
    [[nodiscard]] static Sdk::Common::Identifiers::ItemId itemIdOf(const DiskDeviceInfo& device);
    // The same for the record of a physical drive number.
    [[nodiscard]] static Sdk::Common::Identifiers::ItemId itemIdOf(std::span<const DiskDeviceInfo> devices,
                                                                   std::uint32_t physicalDriveNumber);

    // Without leading and trailing zero characters (code 0).
    [[nodiscard]] static std::string TrimZeros(const std::string& text);
    // Without leading and trailing white space: space, tab, line feed, vertical tab, form feed, carriage return.
    [[nodiscard]] static std::string TrimSpace(const std::string& text);
    // Without leading and trailing backspaces (code 8).
    [[nodiscard]] static std::string TrimInvalidChar(const std::string& text);
    // TrimZeros, then TrimSpace, then TrimInvalidChar, each once; characters inside are never touched.
    [[nodiscard]] static std::string Trim(const std::string& text);

    // A copy of exactly `length` bytes, for a protobuf bytes field. With length 0 the pointer is not read.
    [[nodiscard]] static std::string RawBufferToByteString(const std::uint8_t* buffer, std::int32_t length);
};

}  // namespace Veyra::Orbis::Plugins
