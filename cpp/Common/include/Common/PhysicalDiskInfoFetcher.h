#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "Common/HardwareAccess.h"
#include "Common/PhysicalDiskInfo.h"

namespace Veyra::Orbis::Cpp::Common {

// A drive letter with its partition and disk. Ordered by partition, so that the join finds it by identifier; of
// two letters on one partition the first in the alphabet counts.
struct VolumeRecord {
    std::string partitionGuid;
    std::string drive;  // "C:"
    std::uint32_t diskNumber = 0;

    friend bool operator<(const VolumeRecord& left, const VolumeRecord& right)
    {
        return std::tie(left.partitionGuid, left.drive, left.diskNumber) <
               std::tie(right.partitionGuid, right.drive, right.diskNumber);
    }
};

// The row of Win32_Volume of a volume with a drive letter.
struct VolumeFacts {
    std::string deviceId;  // "\\?\Volume{...}\"
    bool isBootVolume = false;
    bool isPageFilePresent = false;
};

// Collects all information of the system about one physical disk from device requests and WMI. Stateless. Failures raise
// ResultException, or std::runtime_error where its text is documented; nothing is logged.
//
// A WMI property that is NULL or missing is a fact that Windows does not know (a locked volume has no serial number, an EFI
// partition no letter), not a failure: texts are then empty and flags false. A property whose reading fails does raise.
class PhysicalDiskInfoFetcher : public HardwareAccessLib::HardwareAccess {
public:
    using VolumeRecords = std::set<VolumeRecord>;
    using LogicalDisks = std::map<std::string, std::string>;        // drive ("C:") to volume serial number
    using VolumeFactsByDrive = std::map<std::string, VolumeFacts>;  // drive ("C:") to facts
    using BasicDiskInfo = HardwareAccessLib::BasicDiskInfo;
    using MediaTypeList = HardwareAccessLib::MediaTypeList;

    ~PhysicalDiskInfoFetcher() override = default;

    // Virtual so that a derived class can replace the system. These slots follow those of HardwareAccess, in this order.

    // Whether the drive of this number is present and answers to its number. Not used here; the slot is kept. Raises nothing.
    [[nodiscard]] virtual bool IsDrivePresent(std::uint32_t physicalDriveNumber);
    // Every drive letter with its partition and disk. A letter that cannot be opened or is no partition of a disk raises.
    [[nodiscard]] virtual VolumeRecords FetchVolumeRecords();
    // Win32_LogicalDisk. Raises "Duplicate drive letter found!" for a second row of the same caption.
    [[nodiscard]] virtual LogicalDisks FetchLogicalDisks();
    // Win32_Volume. A row is matched to its letter by DriveLetter, which is NULL for a volume without one and stays the letter when
    // the volume is mounted in folders besides; DeviceID and Name do not contain the letter then.
    [[nodiscard]] virtual VolumeFactsByDrive FetchVolumeFacts();
    // Win32_OSRecoveryConfiguration.ExpandedMiniDumpDirectory, such as "C:\Windows\Minidump"; empty when there is none.
    [[nodiscard]] virtual std::string FetchCrashDumpDirectory();

    // Media type of every row of MSFT_PhysicalDisk, in their order.
    [[nodiscard]] MediaTypeList FetchMediaTypes();
    // The whole record of one disk.
    [[nodiscard]] PhysicalDiskInfo GetPhysicalDiskInfo(const BasicDiskInfo& basic);
    // Bytes read and written on the volume of a drive letter since it was mounted.
    void GetBytesTransferred(std::string_view driveLetter, std::int64_t& bytesRead, std::int64_t& bytesWritten);

private:
    // Fills in disk identifier and partitions, as yet without the facts of their volumes.
    void ReadDriveLayout(PhysicalDiskInfo& disk);
    // The reply to IOCTL_DISK_GET_DRIVE_LAYOUT_EX, in its returned length.
    [[nodiscard]] std::vector<std::uint8_t> RequestDriveLayout(std::uint32_t diskNumber);
    // Text of the identifier of the partition under a volume.
    [[nodiscard]] std::string ReadPartitionGuid(const std::u16string& volumePath);
    // Gives every partition with a drive letter the facts of its volume.
    void JoinVolumes(std::vector<PartitionInfo>& partitions);
};

// The interface for the collectors. Stateless: each operation uses its own fetcher.
class PhysicalDiskInfoProvider {
public:
    [[nodiscard]] HardwareAccessLib::MediaTypeList FetchMediaTypes() const;
    [[nodiscard]] std::vector<HardwareAccessLib::BasicDiskInfo> GetAllBasicDiskInfo(
        const HardwareAccessLib::MediaTypeList& mediaTypes) const;
    [[nodiscard]] PhysicalDiskInfo GetPhysicalDiskInfo(const HardwareAccessLib::BasicDiskInfo& basic) const;
    // Data read and written on the volume of a drive letter ("c") since it was mounted, in units of 2^20 bytes, rounded down.
    void GetMegaBytesTransferred(std::string_view driveLetter, std::int64_t& megaBytesRead, std::int64_t& megaBytesWritten) const;
    // Whether nothing is known of a disk: it has no size, no identifier and no known media type.
    [[nodiscard]] bool IsInvalidDisk(const PhysicalDiskInfo& disk) const noexcept;
};

}  // namespace Veyra::Orbis::Cpp::Common
