#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Bytes.h"
#include "platform/Requests.h"

namespace orbis::simulated {

// The defaults of a kind of disk.
struct KindTraits {
    description::DiskKind kind;
    platform::BusType busType;
    std::uint32_t mediaType;  // of MSFT_PhysicalDisk
    bool removable;
    bool isNvme;
    bool isAta;
    bool ataPassThrough;   // the driver takes ATA pass-through requests
    bool scsiPassThrough;  // the driver takes SCSI pass-through requests
    bool scsiTranslation;  // ATA PASS-THROUGH(16) reaches an ATA device
    std::uint32_t rotationRate;
    const char* summary;
};
[[nodiscard]] const KindTraits& TraitsOf(description::DiskKind kind);

// A recorded exchange, decoded, with its count of uses.
struct ExchangeModel {
    explicit ExchangeModel(const description::Exchange& exchange);

    const description::Exchange& description;
    ByteVector input;
    ByteVector output;
    ByteVector data;
    std::atomic<std::uint64_t> used{0};
};
using ExchangeList = std::vector<std::unique_ptr<ExchangeModel>>;

// A volume on a partition.
struct VolumeModel {
    const description::Volume* description = nullptr;
    std::uint32_t partitionNumber = 0;
    char letter = 0;       // upper case; 0 without one
    std::string guidPath;  // \\?\Volume{...}\, the DeviceID of Win32_Volume
    std::uint64_t size = 0;
    std::uint64_t free = 0;
    double activityShare = 0;
    ByteVector partitionInformation;  // PARTITION_INFORMATION_EX
    ExchangeList exchanges;
};

struct LogPageModel {
    ByteVector content;
    std::uint32_t queryError = 0;
    std::uint32_t deviceStatus = 0;
};

// One disk with every default settled and every page built.
struct DiskModel {
    const description::Disk* description = nullptr;
    const KindTraits* traits = nullptr;
    std::uint32_t number = 0;
    std::uint32_t sectorSize = 0;
    std::uint32_t busType = 0;
    std::uint32_t mediaType = 0;
    bool removable = false;
    std::string windowsModel;
    std::string serial;
    std::string firmware;
    std::string pnpDeviceId;
    std::string instanceId;
    std::string interfacePath;
    std::string counterInstance;  // "0 C: D:", the name of the disk's performance instance
    std::uint32_t scsiPort = 0;

    ByteVector descriptor;          // STORAGE_DEVICE_DESCRIPTOR
    ByteVector inquiry;             // standard INQUIRY data
    ByteVector identifyController;  // NVMe
    std::map<std::uint32_t, LogPageModel> nvmeLogPages;
    ByteVector identifyDevice;  // ATA
    ByteVector smartData;
    ByteVector smartThresholds;
    std::map<std::uint32_t, ByteVector> ataLogPages;
    bool ataPassThrough = false;
    bool scsiPassThrough = false;
    bool scsiTranslation = false;

    ByteVector layout;     // DRIVE_LAYOUT_INFORMATION_EX
    ByteVector wholeDisk;  // PARTITION_INFORMATION_EX of the disk itself
    std::vector<std::unique_ptr<VolumeModel>> volumes;
    std::uint32_t partitions = 0;
    ExchangeList exchanges;

    // Of a disk that spins down: whether a request has spun it up since, and whether its last power state was asleep.
    mutable std::atomic<bool> isWoken{false};
    mutable std::atomic<bool> isKnownAsleep{false};

    [[nodiscard]] bool AsleepAt(double seconds) const;
    // Whether the disk is plugged in at a time after the start.
    [[nodiscard]] bool PresentAt(double seconds) const;
};

[[nodiscard]] std::unique_ptr<DiskModel> BuildDisk(const description::Disk& description, std::uint32_t position);
[[nodiscard]] ExchangeList BuildExchanges(const google::protobuf::RepeatedPtrField<description::Exchange>& exchanges);

// Pages, built from the documents' tables.
[[nodiscard]] ByteVector BuildIdentifyController(const description::Disk& disk);
[[nodiscard]] ByteVector BuildHealthLog(const description::NvmeHealth& health);
[[nodiscard]] ByteVector BuildMakerArea(const description::MakerArea& maker);
[[nodiscard]] ByteVector BuildMakerHealthLog(const description::MakerHealth& health);
[[nodiscard]] ByteVector BuildIdentifyDevice(const description::Disk& disk, std::uint32_t sectorSize, std::uint32_t rotationRate);
[[nodiscard]] ByteVector BuildSmartData(const description::AtaDevice& ata);
[[nodiscard]] ByteVector BuildSmartThresholds(const description::AtaDevice& ata);
[[nodiscard]] ByteVector BuildAtaLogPage(const description::AtaLogPage& page);
[[nodiscard]] ByteVector BuildInquiry(const DiskModel& disk);
[[nodiscard]] ByteVector BuildDescriptor(const DiskModel& disk);
// Settles the disk's layout, its volumes and their partition information.
void BuildPartitions(DiskModel& disk);

// GPT partition type by its name in machine files or as a GUID; nothing for neither.
[[nodiscard]] std::optional<platform::Guid> PartitionType(const std::string& text);
[[nodiscard]] const char* PartitionTypeName(const platform::Guid& type);
// Where partitions begin and end, in bytes, with the defaults settled; used by the checks too.
struct Extent {
    std::uint64_t offset = 0;
    std::uint64_t size = 0;
};
[[nodiscard]] std::vector<Extent> PartitionExtents(const google::protobuf::RepeatedPtrField<description::Partition>& partitions);

}  // namespace orbis::simulated
