#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "platform/Guid.h"

// Control codes and request structures of DeviceIo::Control, byte for byte as winioctl.h, ntddscsi.h and nvme.h lay them out for a
// 64-bit process. Declared here once; the windows implementation asserts them against the SDK's own declarations.
namespace orbis::platform {

// winioctl.h, ntddscsi.h
inline constexpr std::uint32_t kIoctlStorageGetDeviceNumber = 0x002D1080;
inline constexpr std::uint32_t kIoctlStorageQueryProperty = 0x002D1400;
inline constexpr std::uint32_t kIoctlStorageProtocolCommand = 0x002DD3C0;
inline constexpr std::uint32_t kIoctlDiskGetDriveGeometry = 0x00070000;
inline constexpr std::uint32_t kIoctlDiskPerformance = 0x00070020;
inline constexpr std::uint32_t kIoctlDiskGetPartitionInfoEx = 0x00070048;
inline constexpr std::uint32_t kIoctlDiskGetDriveLayoutEx = 0x00070050;
inline constexpr std::uint32_t kIoctlAtaPassThroughDirect = 0x0004D030;
inline constexpr std::uint32_t kIoctlScsiPassThroughDirect = 0x0004D014;

// STORAGE_DEVICE_NUMBER
struct StorageDeviceNumber {
    std::uint32_t deviceType = 0;  // FILE_DEVICE_DISK is 7
    std::uint32_t deviceNumber = 0;
    std::uint32_t partitionNumber = 0;  // 0 for the whole disk, -1 for a device that cannot be partitioned
};
static_assert(sizeof(StorageDeviceNumber) == 12);
inline constexpr std::uint32_t kFileDeviceDisk = 7;

// DISK_GEOMETRY
struct DiskGeometry {
    std::int64_t cylinders = 0;
    std::uint32_t mediaType = 0;  // 12 is FixedMedia, 11 RemovableMedia
    std::uint32_t tracksPerCylinder = 0;
    std::uint32_t sectorsPerTrack = 0;
    std::uint32_t bytesPerSector = 0;
};
static_assert(sizeof(DiskGeometry) == 24);

// ATA_PASS_THROUGH_DIRECT
struct AtaPassThroughDirect {
    std::uint16_t length = 0;
    std::uint16_t ataFlags = 0;
    std::uint8_t pathId = 0;
    std::uint8_t targetId = 0;
    std::uint8_t lun = 0;
    std::uint8_t reservedAsUchar = 0;
    std::uint32_t dataTransferLength = 0;
    std::uint32_t timeOutValue = 0;  // seconds
    std::uint32_t reservedAsUlong = 0;
    std::uint32_t padding = 0;  // explicit, so that no uninitialised byte is sent to a driver
    void* dataBuffer = nullptr;
    std::array<std::uint8_t, 8> previousTaskFile{};
    std::array<std::uint8_t, 8> currentTaskFile{};  // features, count, LBA low, mid, high, device, command or status, reserved
};
static_assert(sizeof(AtaPassThroughDirect) == 48 && offsetof(AtaPassThroughDirect, dataBuffer) == 24 &&
              offsetof(AtaPassThroughDirect, currentTaskFile) == 40);
inline constexpr std::uint16_t kAtaFlagsDrdyRequired = 1;
inline constexpr std::uint16_t kAtaFlagsDataIn = 2;
inline constexpr std::uint16_t kAtaFlagsDataOut = 4;
inline constexpr std::uint16_t kAtaFlags48BitCommand = 8;
inline constexpr std::uint16_t kAtaFlagsUseDma = 16;

// SCSI_PASS_THROUGH_DIRECT
struct ScsiPassThroughDirect {
    std::uint16_t length = 0;
    std::uint8_t scsiStatus = 0;
    std::uint8_t pathId = 0;
    std::uint8_t targetId = 0;
    std::uint8_t lun = 0;
    std::uint8_t cdbLength = 0;
    std::uint8_t senseInfoLength = 0;
    std::uint8_t dataIn = 0;
    std::array<std::uint8_t, 3> padding{};  // named here and below, so that no byte leaves for a driver unset
    std::uint32_t dataTransferLength = 0;
    std::uint32_t timeOutValue = 0;  // seconds
    std::uint32_t padding2 = 0;
    void* dataBuffer = nullptr;
    std::uint32_t senseInfoOffset = 0;
    std::array<std::uint8_t, 16> cdb{};
    std::uint32_t padding3 = 0;
};
static_assert(sizeof(ScsiPassThroughDirect) == 56 && offsetof(ScsiPassThroughDirect, dataTransferLength) == 12 &&
              offsetof(ScsiPassThroughDirect, dataBuffer) == 24 && offsetof(ScsiPassThroughDirect, senseInfoOffset) == 32 &&
              offsetof(ScsiPassThroughDirect, cdb) == 36);
inline constexpr std::uint8_t kScsiIoctlDataOut = 0;
inline constexpr std::uint8_t kScsiIoctlDataIn = 1;

enum class PartitionStyle : std::uint32_t { Mbr = 0, Gpt = 1, Raw = 2 };

// PARTITION_INFORMATION_MBR
struct PartitionInformationMbr {
    std::uint8_t partitionType = 0;
    std::uint8_t bootIndicator = 0;
    std::uint8_t recognizedPartition = 0;
    std::uint8_t reserved = 0;
    std::uint32_t hiddenSectors = 0;
    Guid partitionId{};
};
static_assert(sizeof(PartitionInformationMbr) == 24);

// PARTITION_INFORMATION_GPT
struct PartitionInformationGpt {
    Guid partitionType{};
    Guid partitionId{};
    std::uint64_t attributes = 0;
    std::array<char16_t, 36> name{};
};
static_assert(sizeof(PartitionInformationGpt) == 112);

// PARTITION_INFORMATION_EX
struct PartitionInformationEx {
    PartitionStyle partitionStyle = PartitionStyle::Mbr;
    std::uint32_t reserved = 0;
    std::int64_t startingOffset = 0;   // bytes
    std::int64_t partitionLength = 0;  // bytes
    std::uint32_t partitionNumber = 0;
    std::uint8_t rewritePartition = 0;
    std::uint8_t isServicePartition = 0;
    std::uint16_t reserved2 = 0;
    union {
        PartitionInformationGpt gpt;
        PartitionInformationMbr mbr;
    };

    constexpr PartitionInformationEx() noexcept : gpt{} {}
};
static_assert(sizeof(PartitionInformationEx) == 144 && offsetof(PartitionInformationEx, gpt) == 32);

// Head of DRIVE_LAYOUT_INFORMATION_EX; `partitionCount` entries of PartitionInformationEx follow at offset 0x30.
struct DriveLayoutHead {
    PartitionStyle partitionStyle = PartitionStyle::Mbr;
    std::uint32_t partitionCount = 0;
    struct Mbr {
        std::uint32_t signature;
        std::uint32_t checkSum;
    };
    struct Gpt {
        Guid diskId{};
        std::int64_t startingUsableOffset = 0;
        std::int64_t usableLength = 0;
        std::uint32_t maxPartitionCount = 0;
        std::uint32_t reserved = 0;
    };
    union {
        Gpt gpt{};
        Mbr mbr;
    };
};
static_assert(sizeof(DriveLayoutHead) == 0x30);

// DISK_PERFORMANCE
struct DiskPerformance {
    std::int64_t bytesRead = 0;
    std::int64_t bytesWritten = 0;
    std::int64_t readTime = 0;   // 100 ns
    std::int64_t writeTime = 0;  // 100 ns
    std::int64_t idleTime = 0;   // 100 ns
    std::uint32_t readCount = 0;
    std::uint32_t writeCount = 0;
    std::uint32_t queueDepth = 0;
    std::uint32_t splitCount = 0;
    std::int64_t queryTime = 0;
    std::uint32_t storageDeviceNumber = 0;
    std::array<char16_t, 8> storageManagerName{};
    std::uint32_t reserved = 0;
};
static_assert(sizeof(DiskPerformance) == 88);

// STORAGE_PROPERTY_ID, STORAGE_QUERY_TYPE
inline constexpr std::uint32_t kStorageDeviceProperty = 0;
inline constexpr std::uint32_t kStorageAdapterProperty = 1;
inline constexpr std::uint32_t kStorageAdapterProtocolSpecificProperty = 49;
inline constexpr std::uint32_t kStorageDeviceProtocolSpecificProperty = 50;
inline constexpr std::uint32_t kPropertyStandardQuery = 0;
inline constexpr std::uint32_t kPropertyExistsQuery = 1;

// STORAGE_BUS_TYPE
enum class BusType : std::uint32_t {
    Unknown = 0,
    Scsi = 1,
    Atapi = 2,
    Ata = 3,
    Ieee1394 = 4,
    Ssa = 5,
    Fibre = 6,
    Usb = 7,
    Raid = 8,
    Iscsi = 9,
    Sas = 10,
    Sata = 11,
    Sd = 12,
    Mmc = 13,
    Virtual = 14,
    FileBackedVirtual = 15,
    Spaces = 16,
    Nvme = 17,
    Scm = 18,
    Ufs = 19,
    NvmeOf = 20,
};

// STORAGE_PROPERTY_QUERY without its variable tail (the SDK's structure includes one byte of the tail, and its size is 12).
struct StoragePropertyQueryHead {
    std::uint32_t propertyId = 0;
    std::uint32_t queryType = 0;
};
static_assert(sizeof(StoragePropertyQueryHead) == 8);

// STORAGE_DEVICE_DESCRIPTOR up to its raw properties; offsets are relative to its start; 0 means absent.
struct StorageDeviceDescriptorHead {
    std::uint32_t version = 0;  // sizeof STORAGE_DEVICE_DESCRIPTOR of the driver
    std::uint32_t size = 0;     // bytes of the whole descriptor
    std::uint8_t deviceType = 0;
    std::uint8_t deviceTypeModifier = 0;
    std::uint8_t removableMedia = 0;
    std::uint8_t commandQueueing = 0;
    std::uint32_t vendorIdOffset = 0;
    std::uint32_t productIdOffset = 0;
    std::uint32_t productRevisionOffset = 0;
    std::uint32_t serialNumberOffset = 0;
    BusType busType = BusType::Unknown;
    std::uint32_t rawPropertiesLength = 0;
};
static_assert(sizeof(StorageDeviceDescriptorHead) == 36 && offsetof(StorageDeviceDescriptorHead, busType) == 28);
inline constexpr std::uint32_t kStorageDeviceDescriptorSize = 40;  // sizeof(STORAGE_DEVICE_DESCRIPTOR), which is also its version

// STORAGE_PROTOCOL_TYPE, STORAGE_PROTOCOL_NVME_DATA_TYPE
inline constexpr std::uint32_t kProtocolTypeNvme = 3;
inline constexpr std::uint32_t kNvmeDataTypeIdentify = 1;
inline constexpr std::uint32_t kNvmeDataTypeLogPage = 2;

// STORAGE_PROTOCOL_SPECIFIC_DATA
struct StorageProtocolSpecificData {
    std::uint32_t protocolType = 0;
    std::uint32_t dataType = 0;
    std::uint32_t requestValue = 0;     // Identify: CNS; log page: log identifier
    std::uint32_t requestSubValue = 0;  // log page: offset, low 32 bits
    std::uint32_t dataOffset = 0;       // from the start of this structure
    std::uint32_t dataLength = 0;
    std::uint32_t fixedReturnData = 0;
    std::uint32_t requestSubValue2 = 0;  // log page: offset, high 32 bits
    std::uint32_t requestSubValue3 = 0;  // log page: log specific identifier
    std::uint32_t requestSubValue4 = 0;
};
static_assert(sizeof(StorageProtocolSpecificData) == 40);

// STORAGE_PROPERTY_QUERY whose additional parameters are a STORAGE_PROTOCOL_SPECIFIC_DATA.
struct StorageProtocolQuery {
    StoragePropertyQueryHead query{};
    StorageProtocolSpecificData protocol{};
};
static_assert(sizeof(StorageProtocolQuery) == 48);

// STORAGE_PROTOCOL_DATA_DESCRIPTOR; version and size are both its own size.
struct StorageProtocolDataDescriptor {
    std::uint32_t version = 0;
    std::uint32_t size = 0;
    StorageProtocolSpecificData protocol{};
};
static_assert(sizeof(StorageProtocolDataDescriptor) == 48 && offsetof(StorageProtocolDataDescriptor, protocol) == 8);

// STORAGE_PROTOCOL_COMMAND up to its command bytes (64 for NVMe), which follow at offset 80; the SDK's structure is 84 bytes long.
struct StorageProtocolCommandHead {
    std::uint32_t version = 1;  // STORAGE_PROTOCOL_STRUCTURE_VERSION
    std::uint32_t length = 84;  // sizeof STORAGE_PROTOCOL_COMMAND
    std::uint32_t protocolType = 0;
    std::uint32_t flags = 0;
    std::uint32_t returnStatus = 0;  // STORAGE_PROTOCOL_STATUS_*; 1 is success
    std::uint32_t errorCode = 0;
    std::uint32_t commandLength = 0;
    std::uint32_t errorInfoLength = 0;
    std::uint32_t dataToDeviceTransferLength = 0;
    std::uint32_t dataFromDeviceTransferLength = 0;
    std::uint32_t timeOutValue = 0;  // seconds
    std::uint32_t errorInfoOffset = 0;
    std::uint32_t dataToDeviceBufferOffset = 0;
    std::uint32_t dataFromDeviceBufferOffset = 0;
    std::uint32_t commandSpecific = 0;
    std::uint32_t reserved0 = 0;
    std::uint32_t fixedProtocolReturnData = 0;
    std::array<std::uint32_t, 3> reserved1{};
};
static_assert(sizeof(StorageProtocolCommandHead) == 80);
inline constexpr std::uint32_t kProtocolCommandFlagAdapterRequest = 0x80000000;
inline constexpr std::uint32_t kProtocolStatusPending = 0;
inline constexpr std::uint32_t kProtocolStatusSuccess = 1;
inline constexpr std::uint32_t kProtocolStatusError = 2;
inline constexpr std::uint32_t kProtocolStatusInvalidRequest = 3;
inline constexpr std::uint32_t kProtocolStatusThrottled = 8;
inline constexpr std::uint32_t kProtocolStatusNotSupported = 0xFF;
inline constexpr std::uint32_t kProtocolSpecificNvmeAdminCommand = 1;
inline constexpr std::uint32_t kProtocolCommandLengthNvme = 64;

}  // namespace orbis::platform
