#pragma once

#include <cstdint>

namespace veyra::sondix {

// STORAGE_BUS_TYPE of ntddstor.h. A value that is not listed here passes through unchanged.
enum class StorageBusType : std::uint32_t {
    BusTypeUnknown = 0,
    BusTypeScsi = 1,
    BusTypeAtapi = 2,
    BusTypeAta = 3,
    BusType1394 = 4,
    BusTypeSsa = 5,
    BusTypeFibre = 6,
    BusTypeUsb = 7,
    BusTypeRAID = 8,
    BusTypeiScsi = 9,
    BusTypeSas = 10,
    BusTypeSata = 11,
    BusTypeSd = 12,
    BusTypeMmc = 13,
    BusTypeVirtual = 14,
    BusTypeFileBackedVirtual = 15,
    BusTypeSpaces = 16,
    BusTypeNvme = 17,
    BusTypeSCM = 18,
    BusTypeUfs = 19,
    BusTypeNvmeof = 20,
};

namespace nvme {

// Numbered as the nominal form factor of ATA (ACS-4, IDENTIFY DEVICE word 168 bits 3:0). A value that is not listed here passes
// through unchanged.
enum class NominalFormFactor : std::uint32_t {
    NotReported = 0,
    Inch5_25 = 1,
    Inch3_5 = 2,
    Inch2_5 = 3,
    Inch1_8 = 4,
    LessThanInch1_8 = 5,
    MSata = 6,
    M2 = 7,
    MicroSsd = 8,
    CFast = 9,
};

// Element types of the Host Metadata feature, controller metadata (NVMe 1.4, feature 7Eh; NVMe-MI 1.1).
enum class HostMetadataElementType : std::uint32_t {
    OperatingSystemControllerName = 0x01,
    OperatingSystemDriverName = 0x02,
    OperatingSystemDriverVersion = 0x03,
    PreBootControllerName = 0x04,
    PreBootDriverName = 0x05,
    PreBootDriverVersion = 0x06,
};

// Event types of the Persistent Event log (NVMe 1.4, 5.14.1.13).
enum class PersistentEventType : std::uint32_t {
    SmartHealthLogSnapshot = 0x01,
    FirmwareCommit = 0x02,
    TimestampChange = 0x03,
    PowerOnOrReset = 0x04,
    NvmSubsystemHardwareError = 0x05,
    ChangeNamespace = 0x06,
    FormatNvmStart = 0x07,
    FormatNvmCompletion = 0x08,
    SanitizeStart = 0x09,
    SanitizeCompletion = 0x0A,
    SetFeature = 0x0B,
    TelemetryLogCreated = 0x0C,
    ThermalExcursion = 0x0D,
    VendorSpecific = 0xDE,
    TcgDefined = 0xDF,
};

// Codes of the NVM Subsystem Hardware Error event of the Persistent Event log (NVMe 1.4, 5.14.1.13).
enum class NvmHardwareErrorEventCode : std::uint32_t {
    PcieCorrectableError = 0x01,
    PcieUncorrectableNonFatalError = 0x02,
    PcieUncorrectableFatalError = 0x03,
    PcieLinkStatusChange = 0x04,
    PcieLinkNotActive = 0x05,
    CriticalWarningCondition = 0x06,
    EnduranceGroupCriticalWarningCondition = 0x07,
    UnsafeShutdown = 0x08,
    ControllerFatalStatus = 0x09,
    MediaAndDataIntegrityStatus = 0x0A,
    ControllerReadyTimeoutExceeded = 0x0B,
};

}  // namespace nvme
}  // namespace veyra::sondix
