// The port's request structures and codes against the declarations of the SDK that this is built with. Nothing here runs.
#include "WindowsHeaders.h"
// After windows.h, which they need.
#include <ntddscsi.h>
#include <winioctl.h>

#include <setupapi.h>

#include <devpropdef.h>
#include <pdh.h>
#include <pdhmsg.h>
#include <wbemcli.h>

#include <cstddef>

#include "platform/DeviceIo.h"
#include "platform/Errors.h"
#include "platform/Firmware.h"
#include "platform/Pdh.h"
#include "platform/Requests.h"
#include "platform/Setup.h"
#include "platform/Wmi.h"

namespace orbis::platform {
namespace {

// offsetof is a macro, and so is what compares two of them.
#define SAME_SIZE(ours, theirs) static_assert(sizeof(ours) == sizeof(theirs))
#define SAME_FIELD(ours, ourField, theirs, theirField) \
    static_assert(offsetof(ours, ourField) == offsetof(theirs, theirField) && sizeof(ours::ourField) == sizeof(theirs::theirField))

static_assert(kIoctlStorageGetDeviceNumber == IOCTL_STORAGE_GET_DEVICE_NUMBER);
static_assert(kIoctlStorageQueryProperty == IOCTL_STORAGE_QUERY_PROPERTY);
static_assert(kIoctlStorageProtocolCommand == IOCTL_STORAGE_PROTOCOL_COMMAND);
static_assert(kIoctlDiskGetDriveGeometry == IOCTL_DISK_GET_DRIVE_GEOMETRY);
static_assert(kIoctlDiskPerformance == IOCTL_DISK_PERFORMANCE);
static_assert(kIoctlDiskGetPartitionInfoEx == IOCTL_DISK_GET_PARTITION_INFO_EX);
static_assert(kIoctlDiskGetDriveLayoutEx == IOCTL_DISK_GET_DRIVE_LAYOUT_EX);
static_assert(kIoctlAtaPassThroughDirect == IOCTL_ATA_PASS_THROUGH_DIRECT);
static_assert(kIoctlScsiPassThroughDirect == IOCTL_SCSI_PASS_THROUGH_DIRECT);
static_assert(kFileDeviceDisk == FILE_DEVICE_DISK);
static_assert(kAtaFlagsDrdyRequired == ATA_FLAGS_DRDY_REQUIRED && kAtaFlagsDataIn == ATA_FLAGS_DATA_IN &&
              kAtaFlagsDataOut == ATA_FLAGS_DATA_OUT && kAtaFlags48BitCommand == ATA_FLAGS_48BIT_COMMAND &&
              kAtaFlagsUseDma == ATA_FLAGS_USE_DMA);
static_assert(kScsiIoctlDataIn == SCSI_IOCTL_DATA_IN && kScsiIoctlDataOut == SCSI_IOCTL_DATA_OUT);

SAME_SIZE(StorageDeviceNumber, STORAGE_DEVICE_NUMBER);
SAME_FIELD(StorageDeviceNumber, deviceType, STORAGE_DEVICE_NUMBER, DeviceType);
SAME_FIELD(StorageDeviceNumber, deviceNumber, STORAGE_DEVICE_NUMBER, DeviceNumber);
SAME_FIELD(StorageDeviceNumber, partitionNumber, STORAGE_DEVICE_NUMBER, PartitionNumber);

SAME_SIZE(DiskGeometry, DISK_GEOMETRY);
SAME_FIELD(DiskGeometry, cylinders, DISK_GEOMETRY, Cylinders);
SAME_FIELD(DiskGeometry, mediaType, DISK_GEOMETRY, MediaType);
SAME_FIELD(DiskGeometry, tracksPerCylinder, DISK_GEOMETRY, TracksPerCylinder);
SAME_FIELD(DiskGeometry, sectorsPerTrack, DISK_GEOMETRY, SectorsPerTrack);
SAME_FIELD(DiskGeometry, bytesPerSector, DISK_GEOMETRY, BytesPerSector);

SAME_SIZE(AtaPassThroughDirect, ATA_PASS_THROUGH_DIRECT);
SAME_FIELD(AtaPassThroughDirect, ataFlags, ATA_PASS_THROUGH_DIRECT, AtaFlags);
SAME_FIELD(AtaPassThroughDirect, dataTransferLength, ATA_PASS_THROUGH_DIRECT, DataTransferLength);
SAME_FIELD(AtaPassThroughDirect, timeOutValue, ATA_PASS_THROUGH_DIRECT, TimeOutValue);
SAME_FIELD(AtaPassThroughDirect, dataBuffer, ATA_PASS_THROUGH_DIRECT, DataBuffer);
SAME_FIELD(AtaPassThroughDirect, previousTaskFile, ATA_PASS_THROUGH_DIRECT, PreviousTaskFile);
SAME_FIELD(AtaPassThroughDirect, currentTaskFile, ATA_PASS_THROUGH_DIRECT, CurrentTaskFile);

SAME_SIZE(ScsiPassThroughDirect, SCSI_PASS_THROUGH_DIRECT);
SAME_FIELD(ScsiPassThroughDirect, scsiStatus, SCSI_PASS_THROUGH_DIRECT, ScsiStatus);
SAME_FIELD(ScsiPassThroughDirect, cdbLength, SCSI_PASS_THROUGH_DIRECT, CdbLength);
SAME_FIELD(ScsiPassThroughDirect, senseInfoLength, SCSI_PASS_THROUGH_DIRECT, SenseInfoLength);
SAME_FIELD(ScsiPassThroughDirect, dataIn, SCSI_PASS_THROUGH_DIRECT, DataIn);
SAME_FIELD(ScsiPassThroughDirect, dataTransferLength, SCSI_PASS_THROUGH_DIRECT, DataTransferLength);
SAME_FIELD(ScsiPassThroughDirect, timeOutValue, SCSI_PASS_THROUGH_DIRECT, TimeOutValue);
SAME_FIELD(ScsiPassThroughDirect, dataBuffer, SCSI_PASS_THROUGH_DIRECT, DataBuffer);
SAME_FIELD(ScsiPassThroughDirect, senseInfoOffset, SCSI_PASS_THROUGH_DIRECT, SenseInfoOffset);
SAME_FIELD(ScsiPassThroughDirect, cdb, SCSI_PASS_THROUGH_DIRECT, Cdb);

static_assert(static_cast<int>(PartitionStyle::Mbr) == PARTITION_STYLE_MBR &&
              static_cast<int>(PartitionStyle::Gpt) == PARTITION_STYLE_GPT &&
              static_cast<int>(PartitionStyle::Raw) == PARTITION_STYLE_RAW);
// The SDK's MBR structure has its partition id since Windows 10 only; without it the structure ends before that field.
static_assert(sizeof(PARTITION_INFORMATION_MBR) == sizeof(PartitionInformationMbr) ||
              sizeof(PARTITION_INFORMATION_MBR) == offsetof(PartitionInformationMbr, partitionId));
SAME_FIELD(PartitionInformationMbr, partitionType, PARTITION_INFORMATION_MBR, PartitionType);
SAME_FIELD(PartitionInformationMbr, bootIndicator, PARTITION_INFORMATION_MBR, BootIndicator);
SAME_FIELD(PartitionInformationMbr, recognizedPartition, PARTITION_INFORMATION_MBR, RecognizedPartition);
SAME_FIELD(PartitionInformationMbr, hiddenSectors, PARTITION_INFORMATION_MBR, HiddenSectors);
SAME_SIZE(PartitionInformationGpt, PARTITION_INFORMATION_GPT);
SAME_FIELD(PartitionInformationGpt, partitionType, PARTITION_INFORMATION_GPT, PartitionType);
SAME_FIELD(PartitionInformationGpt, partitionId, PARTITION_INFORMATION_GPT, PartitionId);
SAME_FIELD(PartitionInformationGpt, attributes, PARTITION_INFORMATION_GPT, Attributes);
SAME_FIELD(PartitionInformationGpt, name, PARTITION_INFORMATION_GPT, Name);
SAME_SIZE(PartitionInformationEx, PARTITION_INFORMATION_EX);
SAME_FIELD(PartitionInformationEx, partitionStyle, PARTITION_INFORMATION_EX, PartitionStyle);
SAME_FIELD(PartitionInformationEx, startingOffset, PARTITION_INFORMATION_EX, StartingOffset);
SAME_FIELD(PartitionInformationEx, partitionLength, PARTITION_INFORMATION_EX, PartitionLength);
SAME_FIELD(PartitionInformationEx, partitionNumber, PARTITION_INFORMATION_EX, PartitionNumber);
SAME_FIELD(PartitionInformationEx, rewritePartition, PARTITION_INFORMATION_EX, RewritePartition);
static_assert(offsetof(PartitionInformationEx, gpt) == offsetof(PARTITION_INFORMATION_EX, Gpt) &&
              offsetof(PartitionInformationEx, mbr) == offsetof(PARTITION_INFORMATION_EX, Mbr));

static_assert(sizeof(DriveLayoutHead) == offsetof(DRIVE_LAYOUT_INFORMATION_EX, PartitionEntry));
SAME_FIELD(DriveLayoutHead, partitionStyle, DRIVE_LAYOUT_INFORMATION_EX, PartitionStyle);
SAME_FIELD(DriveLayoutHead, partitionCount, DRIVE_LAYOUT_INFORMATION_EX, PartitionCount);
static_assert(offsetof(DriveLayoutHead, gpt) == offsetof(DRIVE_LAYOUT_INFORMATION_EX, Gpt));
SAME_SIZE(DriveLayoutHead::Gpt, DRIVE_LAYOUT_INFORMATION_GPT);
SAME_FIELD(DriveLayoutHead::Gpt, diskId, DRIVE_LAYOUT_INFORMATION_GPT, DiskId);
SAME_FIELD(DriveLayoutHead::Gpt, usableLength, DRIVE_LAYOUT_INFORMATION_GPT, UsableLength);
SAME_FIELD(DriveLayoutHead::Mbr, signature, DRIVE_LAYOUT_INFORMATION_MBR, Signature);

SAME_SIZE(DiskPerformance, DISK_PERFORMANCE);
SAME_FIELD(DiskPerformance, bytesRead, DISK_PERFORMANCE, BytesRead);
SAME_FIELD(DiskPerformance, idleTime, DISK_PERFORMANCE, IdleTime);
SAME_FIELD(DiskPerformance, readCount, DISK_PERFORMANCE, ReadCount);
SAME_FIELD(DiskPerformance, queueDepth, DISK_PERFORMANCE, QueueDepth);
SAME_FIELD(DiskPerformance, queryTime, DISK_PERFORMANCE, QueryTime);
SAME_FIELD(DiskPerformance, storageDeviceNumber, DISK_PERFORMANCE, StorageDeviceNumber);
SAME_FIELD(DiskPerformance, storageManagerName, DISK_PERFORMANCE, StorageManagerName);

static_assert(kStorageDeviceProperty == StorageDeviceProperty && kStorageAdapterProperty == StorageAdapterProperty &&
              kStorageAdapterProtocolSpecificProperty == StorageAdapterProtocolSpecificProperty &&
              kStorageDeviceProtocolSpecificProperty == StorageDeviceProtocolSpecificProperty &&
              kPropertyStandardQuery == PropertyStandardQuery && kPropertyExistsQuery == PropertyExistsQuery);
static_assert(static_cast<int>(BusType::Unknown) == BusTypeUnknown && static_cast<int>(BusType::Scsi) == BusTypeScsi &&
              static_cast<int>(BusType::Atapi) == BusTypeAtapi && static_cast<int>(BusType::Ata) == BusTypeAta &&
              static_cast<int>(BusType::Ieee1394) == BusType1394 && static_cast<int>(BusType::Ssa) == BusTypeSsa &&
              static_cast<int>(BusType::Fibre) == BusTypeFibre && static_cast<int>(BusType::Usb) == BusTypeUsb &&
              static_cast<int>(BusType::Raid) == BusTypeRAID && static_cast<int>(BusType::Iscsi) == BusTypeiScsi &&
              static_cast<int>(BusType::Sas) == BusTypeSas && static_cast<int>(BusType::Sata) == BusTypeSata &&
              static_cast<int>(BusType::Sd) == BusTypeSd && static_cast<int>(BusType::Mmc) == BusTypeMmc &&
              static_cast<int>(BusType::Virtual) == BusTypeVirtual &&
              static_cast<int>(BusType::FileBackedVirtual) == BusTypeFileBackedVirtual &&
              static_cast<int>(BusType::Spaces) == BusTypeSpaces && static_cast<int>(BusType::Nvme) == BusTypeNvme &&
              static_cast<int>(BusType::Scm) == BusTypeSCM && static_cast<int>(BusType::Ufs) == BusTypeUfs);
// BusTypeNvmeof is not in mingw-w64 10; the number is the documentation's.
static_assert(static_cast<int>(BusType::NvmeOf) == 20);
static_assert(sizeof(StoragePropertyQueryHead) == offsetof(STORAGE_PROPERTY_QUERY, AdditionalParameters));
SAME_FIELD(StoragePropertyQueryHead, propertyId, STORAGE_PROPERTY_QUERY, PropertyId);
SAME_FIELD(StoragePropertyQueryHead, queryType, STORAGE_PROPERTY_QUERY, QueryType);

static_assert(sizeof(STORAGE_DEVICE_DESCRIPTOR) == kStorageDeviceDescriptorSize);
static_assert(sizeof(StorageDeviceDescriptorHead) == offsetof(STORAGE_DEVICE_DESCRIPTOR, RawDeviceProperties));
SAME_FIELD(StorageDeviceDescriptorHead, size, STORAGE_DEVICE_DESCRIPTOR, Size);
SAME_FIELD(StorageDeviceDescriptorHead, removableMedia, STORAGE_DEVICE_DESCRIPTOR, RemovableMedia);
SAME_FIELD(StorageDeviceDescriptorHead, vendorIdOffset, STORAGE_DEVICE_DESCRIPTOR, VendorIdOffset);
SAME_FIELD(StorageDeviceDescriptorHead, productIdOffset, STORAGE_DEVICE_DESCRIPTOR, ProductIdOffset);
SAME_FIELD(StorageDeviceDescriptorHead, productRevisionOffset, STORAGE_DEVICE_DESCRIPTOR, ProductRevisionOffset);
SAME_FIELD(StorageDeviceDescriptorHead, serialNumberOffset, STORAGE_DEVICE_DESCRIPTOR, SerialNumberOffset);
SAME_FIELD(StorageDeviceDescriptorHead, busType, STORAGE_DEVICE_DESCRIPTOR, BusType);
SAME_FIELD(StorageDeviceDescriptorHead, rawPropertiesLength, STORAGE_DEVICE_DESCRIPTOR, RawPropertiesLength);

static_assert(kProtocolTypeNvme == ProtocolTypeNvme && kNvmeDataTypeIdentify == NVMeDataTypeIdentify &&
              kNvmeDataTypeLogPage == NVMeDataTypeLogPage);
SAME_SIZE(StorageProtocolSpecificData, STORAGE_PROTOCOL_SPECIFIC_DATA);
SAME_FIELD(StorageProtocolSpecificData, protocolType, STORAGE_PROTOCOL_SPECIFIC_DATA, ProtocolType);
SAME_FIELD(StorageProtocolSpecificData, dataType, STORAGE_PROTOCOL_SPECIFIC_DATA, DataType);
SAME_FIELD(StorageProtocolSpecificData, requestValue, STORAGE_PROTOCOL_SPECIFIC_DATA, ProtocolDataRequestValue);
SAME_FIELD(StorageProtocolSpecificData, requestSubValue, STORAGE_PROTOCOL_SPECIFIC_DATA, ProtocolDataRequestSubValue);
SAME_FIELD(StorageProtocolSpecificData, dataOffset, STORAGE_PROTOCOL_SPECIFIC_DATA, ProtocolDataOffset);
SAME_FIELD(StorageProtocolSpecificData, dataLength, STORAGE_PROTOCOL_SPECIFIC_DATA, ProtocolDataLength);
SAME_FIELD(StorageProtocolSpecificData, fixedReturnData, STORAGE_PROTOCOL_SPECIFIC_DATA, FixedProtocolReturnData);
SAME_FIELD(StorageProtocolSpecificData, requestSubValue2, STORAGE_PROTOCOL_SPECIFIC_DATA, ProtocolDataRequestSubValue2);
SAME_SIZE(StorageProtocolDataDescriptor, STORAGE_PROTOCOL_DATA_DESCRIPTOR);
SAME_FIELD(StorageProtocolDataDescriptor, protocol, STORAGE_PROTOCOL_DATA_DESCRIPTOR, ProtocolSpecificData);

// STORAGE_PROTOCOL_COMMAND: mingw-w64 10 has the control code of this request but not its structure, so the numbers of Microsoft's
// documentation stand here; an SDK that has the structure has the macro too.
static_assert(offsetof(StorageProtocolCommandHead, flags) == 12 && offsetof(StorageProtocolCommandHead, returnStatus) == 16 &&
              offsetof(StorageProtocolCommandHead, commandLength) == 24 &&
              offsetof(StorageProtocolCommandHead, dataFromDeviceTransferLength) == 36 &&
              offsetof(StorageProtocolCommandHead, timeOutValue) == 40 &&
              offsetof(StorageProtocolCommandHead, errorInfoOffset) == 44 &&
              offsetof(StorageProtocolCommandHead, dataFromDeviceBufferOffset) == 52 &&
              offsetof(StorageProtocolCommandHead, commandSpecific) == 56 &&
              offsetof(StorageProtocolCommandHead, fixedProtocolReturnData) == 64);
#if defined(STORAGE_PROTOCOL_STRUCTURE_VERSION)
static_assert(sizeof(StorageProtocolCommandHead) == offsetof(STORAGE_PROTOCOL_COMMAND, Command));
static_assert(StorageProtocolCommandHead{}.version == STORAGE_PROTOCOL_STRUCTURE_VERSION &&
              StorageProtocolCommandHead{}.length == sizeof(STORAGE_PROTOCOL_COMMAND));
SAME_FIELD(StorageProtocolCommandHead, flags, STORAGE_PROTOCOL_COMMAND, Flags);
SAME_FIELD(StorageProtocolCommandHead, returnStatus, STORAGE_PROTOCOL_COMMAND, ReturnStatus);
SAME_FIELD(StorageProtocolCommandHead, commandLength, STORAGE_PROTOCOL_COMMAND, CommandLength);
SAME_FIELD(StorageProtocolCommandHead, timeOutValue, STORAGE_PROTOCOL_COMMAND, TimeOutValue);
SAME_FIELD(StorageProtocolCommandHead, dataFromDeviceBufferOffset, STORAGE_PROTOCOL_COMMAND, DataFromDeviceBufferOffset);
SAME_FIELD(StorageProtocolCommandHead, commandSpecific, STORAGE_PROTOCOL_COMMAND, CommandSpecific);
static_assert(kProtocolStatusThrottled == STORAGE_PROTOCOL_STATUS_THROTTLED_REQUEST &&
              kProtocolStatusNotSupported == STORAGE_PROTOCOL_STATUS_NOT_SUPPORTED);
#endif

// Setup.h
SAME_SIZE(DeviceInterfaceData, SP_DEVICE_INTERFACE_DATA);
SAME_FIELD(DeviceInterfaceData, size, SP_DEVICE_INTERFACE_DATA, cbSize);
SAME_FIELD(DeviceInterfaceData, interfaceClass, SP_DEVICE_INTERFACE_DATA, InterfaceClassGuid);
SAME_FIELD(DeviceInterfaceData, flags, SP_DEVICE_INTERFACE_DATA, Flags);
SAME_FIELD(DeviceInterfaceData, reserved, SP_DEVICE_INTERFACE_DATA, Reserved);
SAME_SIZE(DeviceInfoData, SP_DEVINFO_DATA);
SAME_FIELD(DeviceInfoData, size, SP_DEVINFO_DATA, cbSize);
SAME_FIELD(DeviceInfoData, deviceClass, SP_DEVINFO_DATA, ClassGuid);
SAME_FIELD(DeviceInfoData, deviceInstance, SP_DEVINFO_DATA, DevInst);
SAME_FIELD(DeviceInfoData, reserved, SP_DEVINFO_DATA, Reserved);
static_assert(kDeviceInterfaceDetailHeaderSize == sizeof(SP_DEVICE_INTERFACE_DETAIL_DATA_W) &&
              kDeviceInterfaceDetailPathOffset == offsetof(SP_DEVICE_INTERFACE_DETAIL_DATA_W, DevicePath));
SAME_SIZE(DevicePropertyKey, DEVPROPKEY);
SAME_FIELD(DevicePropertyKey, category, DEVPROPKEY, fmtid);
SAME_FIELD(DevicePropertyKey, id, DEVPROPKEY, pid);
static_assert(kDigcfPresent == DIGCF_PRESENT && kDigcfDeviceInterface == DIGCF_DEVICEINTERFACE &&
              kDevicePropertyTypeString == DEVPROP_TYPE_STRING);

// Wmi.h
static_assert(static_cast<int>(VariantType::Empty) == VT_EMPTY && static_cast<int>(VariantType::Null) == VT_NULL &&
              static_cast<int>(VariantType::Int16) == VT_I2 && static_cast<int>(VariantType::Int32) == VT_I4 &&
              static_cast<int>(VariantType::Float32) == VT_R4 && static_cast<int>(VariantType::Float64) == VT_R8 &&
              static_cast<int>(VariantType::String) == VT_BSTR && static_cast<int>(VariantType::Bool) == VT_BOOL &&
              static_cast<int>(VariantType::UInt8) == VT_UI1 && static_cast<int>(VariantType::UInt32) == VT_UI4 &&
              static_cast<int>(VariantType::ArrayFlag) == VT_ARRAY &&
              static_cast<int>(VariantType::UInt8Array) == (VT_ARRAY | VT_UI1) &&
              static_cast<int>(VariantType::StringArray) == (VT_ARRAY | VT_BSTR));

// Pdh.h
static_assert(pdh::kValidData == PDH_CSTATUS_VALID_DATA && pdh::kNewData == PDH_CSTATUS_NEW_DATA &&
              pdh::kNoInstance == PDH_CSTATUS_NO_INSTANCE && pdh::kMoreData == PDH_MORE_DATA && pdh::kNoData == PDH_NO_DATA &&
              pdh::kNoObject == PDH_CSTATUS_NO_OBJECT && pdh::kNoCounter == PDH_CSTATUS_NO_COUNTER &&
              pdh::kInvalidData == PDH_CSTATUS_INVALID_DATA && pdh::kInvalidHandle == PDH_INVALID_HANDLE &&
              pdh::kInvalidArgument == PDH_INVALID_ARGUMENT && pdh::kBadCounterName == PDH_CSTATUS_BAD_COUNTERNAME &&
              pdh::kMemoryAllocation == PDH_MEMORY_ALLOCATION_FAILURE && pdh::kNotValidYet == PDH_INVALID_DATA);
static_assert(pdh::kFormatDouble == PDH_FMT_DOUBLE && pdh::kFormatNoCap100 == PDH_FMT_NOCAP100);

// DeviceIo.h
static_assert(kFileReadAttributes == FILE_READ_ATTRIBUTES && kGenericRead == GENERIC_READ && kGenericWrite == GENERIC_WRITE &&
              kFileShareRead == FILE_SHARE_READ && kFileShareWrite == FILE_SHARE_WRITE && kOpenExisting == OPEN_EXISTING);

// Errors.h
static_assert(hresult::kOk == S_OK && hresult::kFalse == S_FALSE && hresult::kNotImplemented == E_NOTIMPL &&
              hresult::kFail == E_FAIL && hresult::kNoInterface == E_NOINTERFACE &&
              hresult::kCoNotInitialized == CO_E_NOTINITIALIZED &&
              hresult::kRpcServerUnavailable == HRESULT_FROM_WIN32(RPC_S_SERVER_UNAVAILABLE) &&
              hresult::kWbemInvalidParameter == static_cast<Hresult>(WBEM_E_INVALID_PARAMETER) &&
              hresult::kWbemInvalidQueryType == static_cast<Hresult>(WBEM_E_INVALID_QUERY_TYPE) &&
              hresult::kUnexpected == E_UNEXPECTED && hresult::kAccessDenied == E_ACCESSDENIED &&
              hresult::kOutOfMemory == E_OUTOFMEMORY && hresult::kInvalidArgument == E_INVALIDARG &&
              hresult::kRpcChangedMode == RPC_E_CHANGED_MODE && hresult::kRpcTooLate == RPC_E_TOO_LATE &&
              hresult::kDispBadIndex == DISP_E_BADINDEX && hresult::kClassNotRegistered == REGDB_E_CLASSNOTREG &&
              hresult::kWbemSFalse == WBEM_S_FALSE && hresult::kWbemFailed == static_cast<Hresult>(WBEM_E_FAILED) &&
              hresult::kWbemNotFound == static_cast<Hresult>(WBEM_E_NOT_FOUND) &&
              hresult::kWbemInvalidNamespace == static_cast<Hresult>(WBEM_E_INVALID_NAMESPACE) &&
              hresult::kWbemInvalidClass == static_cast<Hresult>(WBEM_E_INVALID_CLASS) &&
              hresult::kWbemInvalidQuery == static_cast<Hresult>(WBEM_E_INVALID_QUERY));
static_assert(win32::kSuccess == ERROR_SUCCESS && win32::kInvalidFunction == ERROR_INVALID_FUNCTION &&
              win32::kFileNotFound == ERROR_FILE_NOT_FOUND && win32::kPathNotFound == ERROR_PATH_NOT_FOUND &&
              win32::kTooManyOpenFiles == ERROR_TOO_MANY_OPEN_FILES && win32::kAccessDenied == ERROR_ACCESS_DENIED &&
              win32::kInvalidHandle == ERROR_INVALID_HANDLE && win32::kNotEnoughMemory == ERROR_NOT_ENOUGH_MEMORY &&
              win32::kInvalidData == ERROR_INVALID_DATA && win32::kBadUnit == ERROR_BAD_UNIT &&
              win32::kNotReady == ERROR_NOT_READY && win32::kCrc == ERROR_CRC && win32::kBadLength == ERROR_BAD_LENGTH &&
              win32::kGenFailure == ERROR_GEN_FAILURE && win32::kSharingViolation == ERROR_SHARING_VIOLATION &&
              win32::kNotSupported == ERROR_NOT_SUPPORTED && win32::kDevNotExist == ERROR_DEV_NOT_EXIST &&
              win32::kInvalidParameter == ERROR_INVALID_PARAMETER && win32::kSemTimeout == ERROR_SEM_TIMEOUT &&
              win32::kInsufficientBuffer == ERROR_INSUFFICIENT_BUFFER && win32::kInvalidName == ERROR_INVALID_NAME &&
              win32::kBusy == ERROR_BUSY && win32::kMoreData == ERROR_MORE_DATA && win32::kNoMoreItems == ERROR_NO_MORE_ITEMS &&
              win32::kIoDevice == ERROR_IO_DEVICE && win32::kDeviceNotConnected == ERROR_DEVICE_NOT_CONNECTED &&
              win32::kNotFound == ERROR_NOT_FOUND);
#if defined(ERROR_NO_SUCH_DEVICE)  // not in mingw-w64 10
static_assert(win32::kNoSuchDevice == ERROR_NO_SUCH_DEVICE);
#endif
static_assert(kFirmwareProviderSmbios == 'RSMB', "the provider's four letters as one number");

#undef SAME_FIELD
#undef SAME_SIZE

}  // namespace
}  // namespace orbis::platform
