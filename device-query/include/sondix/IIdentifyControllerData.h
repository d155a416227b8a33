#pragma once

#include <cstdint>

#include "sondix/Types.h"

// NVMe Identify Controller data structure (NVMe 1.4, 5.15.2.2, figure 247; power state descriptor figure 248).
//
// Every accessor names its bytes or bits, and its unit where it has one. A field that the drive does not implement reads as zero.
// A number is one-based or a plain count unless the comment says zero-based (0 means 1).
//
// Ownership: an accessor that returns an interface pointer returns a new object, independent of this one, that the caller frees
// with SXDelete; null when memory is short. References stay valid while the object lives.
namespace veyra::sondix::nvme {

class IIdentifyControllerData : public IObject {
public:
    class IControllerMultiPathIoAndNamespaceSharingCap;
    class IVersion;
    class IOptionalAsynchronousEventsSupported;
    class IControllerAttributes;
    class IReadRecoveryLevelsSupported;
    class IOptionalAdminCommandSupport;
    class IFirmwareUpdates;
    class ILogPageAttributes;
    class IAdminVendorSpecificCommandCfg;
    class IAutoPowerStateTransitionAttributes;
    class IReplayProtectedMemoryBlockSupport;
    class IDeviceSelfTestOptions;
    class IHostControlledThermalMgmtAttributes;
    class ISanitizeCap;
    class IAsymmetricNamespaceAccessCap;
    class ISubmissionQueueEntrySize;
    class ICompletionQueueEntrySize;
    class IOptionalNvmCommandSupport;
    class IFusedOperationSupport;
    class IFormatNvmAttributes;
    class IVolatileWriteCache;
    class INvmVendorSpecificCommandCfg;
    class INamespaceWriteProtectionCap;
    class ISglSupport;
    class IPowerStateDesc;
    class IVendorSpecificInfo;

    // Slots 1 to 73, in this order.
    virtual std::uint16_t VID() const = 0;                                   // bytes 1:0, PCI vendor ID
    virtual std::uint16_t SSVID() const = 0;                                 // bytes 3:2, PCI subsystem vendor ID
    virtual const Carray<20>& SN() const = 0;                                // bytes 23:4, serial number
    virtual const Carray<40>& MN() const = 0;                                // bytes 63:24, model number
    virtual const Carray<8>& FR() const = 0;                                 // bytes 71:64, firmware revision
    virtual std::uint8_t RAB() const = 0;                                    // byte 72, recommended arbitration burst, 2^n commands
    virtual const Array<unsigned char, 3>& IEEE() const = 0;                 // bytes 75:73, IEEE OUI, least significant first
    virtual IControllerMultiPathIoAndNamespaceSharingCap* CMIC() const = 0;  // byte 76
    virtual std::uint8_t MDTS() const = 0;     // byte 77, maximum data transfer, 2^n minimum memory pages; 0 no limit
    virtual std::uint16_t CNTLID() const = 0;  // bytes 79:78, controller ID
    virtual IVersion* VER() const = 0;         // bytes 83:80
    virtual std::uint32_t RTD3R() const = 0;   // bytes 87:84, RTD3 resume latency, microseconds
    virtual std::uint32_t RTD3E() const = 0;   // bytes 91:88, RTD3 entry latency, microseconds
    virtual IOptionalAsynchronousEventsSupported* OAES() const = 0;  // bytes 95:92
    virtual IControllerAttributes* CTRATT() const = 0;               // bytes 99:96
    virtual IReadRecoveryLevelsSupported* RRLS() const = 0;          // bytes 101:100
    virtual std::uint8_t CNTRLTYPE() const = 0;                 // byte 111, controller type: 1 I/O, 2 discovery, 3 administrative
    virtual const Carray<16>& FGUID() const = 0;                // bytes 127:112, FRU globally unique identifier
    virtual std::uint16_t CRDT1() const = 0;                    // bytes 129:128, command retry delay time 1, 100 milliseconds
    virtual std::uint16_t CRDT2() const = 0;                    // bytes 131:130, command retry delay time 2, 100 milliseconds
    virtual std::uint16_t CRDT3() const = 0;                    // bytes 133:132, command retry delay time 3, 100 milliseconds
    virtual IOptionalAdminCommandSupport* OACS() const = 0;     // bytes 257:256
    virtual std::uint8_t ACL() const = 0;                       // byte 258, abort command limit, zero-based
    virtual std::uint8_t AERL() const = 0;                      // byte 259, asynchronous event request limit, zero-based
    virtual IFirmwareUpdates* FRMW() const = 0;                 // byte 260
    virtual ILogPageAttributes* LPA() const = 0;                // byte 261
    virtual std::uint8_t ELPE() const = 0;                      // byte 262, error log page entries, zero-based
    virtual std::uint8_t NPSS() const = 0;                      // byte 263, number of power states, zero-based
    virtual IAdminVendorSpecificCommandCfg* AVSCC() const = 0;  // byte 264
    virtual IAutoPowerStateTransitionAttributes* APSTA() const = 0;  // byte 265
    virtual std::uint16_t WCTEMP() const = 0;       // bytes 267:266, warning composite temperature threshold, kelvin
    virtual std::uint16_t CCTEMP() const = 0;       // bytes 269:268, critical composite temperature threshold, kelvin
    virtual std::uint16_t MTFA() const = 0;         // bytes 271:270, maximum time for firmware activation, 100 milliseconds
    virtual std::uint32_t HMPRE() const = 0;        // bytes 275:272, host memory buffer preferred size, 4 KiB
    virtual std::uint32_t HMMIN() const = 0;        // bytes 279:276, host memory buffer minimum size, 4 KiB
    virtual const Carray<16>& TNVMCAP() const = 0;  // bytes 295:280, total NVM capacity, bytes, 128-bit little-endian
    virtual const Carray<16>& UNVMCAP() const = 0;  // bytes 311:296, unallocated NVM capacity, bytes, 128-bit little-endian
    virtual IReplayProtectedMemoryBlockSupport* RPMBS() const = 0;  // bytes 315:312
    virtual std::uint16_t EDSTT() const = 0;                        // bytes 317:316, extended device self-test time, minutes
    virtual IDeviceSelfTestOptions* DSTO() const = 0;               // byte 318
    virtual std::uint8_t FWUG() const = 0;  // byte 319, firmware update granularity, 4 KiB; FFh no restriction
    virtual std::uint16_t KAS() const = 0;  // bytes 321:320, keep alive granularity, 100 milliseconds; 0 not supported
    virtual IHostControlledThermalMgmtAttributes* HCTMA() const = 0;  // bytes 323:322
    virtual std::uint16_t MNTMT() const = 0;      // bytes 325:324, minimum thermal management temperature, kelvin
    virtual std::uint16_t MXTMT() const = 0;      // bytes 327:326, maximum thermal management temperature, kelvin
    virtual ISanitizeCap* SANICAP() const = 0;    // bytes 331:328
    virtual std::uint32_t HMMINDS() const = 0;    // bytes 335:332, host memory buffer minimum descriptor entry size, 4 KiB
    virtual std::uint16_t HMMAXD() const = 0;     // bytes 337:336, host memory maximum descriptors entries
    virtual std::uint16_t NSETIDMAX() const = 0;  // bytes 339:338, NVM set identifier maximum
    virtual std::uint16_t ENDGIDMAX() const = 0;  // bytes 341:340, endurance group identifier maximum
    virtual std::uint8_t ANATT() const = 0;       // byte 342, ANA transition time, seconds
    virtual IAsymmetricNamespaceAccessCap* ANACAP() const = 0;  // byte 343
    virtual std::uint32_t ANAGRPMAX() const = 0;                // bytes 347:344, ANA group identifier maximum
    virtual std::uint32_t NANAGRPID() const = 0;                // bytes 351:348, number of ANA group identifiers
    virtual std::uint64_t PELS() const = 0;                     // bytes 355:352, persistent event log size, 64 KiB
    virtual ISubmissionQueueEntrySize* SQES() const = 0;        // byte 512
    virtual ICompletionQueueEntrySize* CQES() const = 0;        // byte 513
    virtual std::uint16_t MAXCMD() const = 0;                   // bytes 515:514, maximum outstanding commands; 0 not reported
    virtual std::uint32_t NN() const = 0;                       // bytes 519:516, number of namespaces
    virtual IOptionalNvmCommandSupport* ONCS() const = 0;       // bytes 521:520
    virtual IFusedOperationSupport* FUSES() const = 0;          // bytes 523:522
    virtual IFormatNvmAttributes* FNA() const = 0;              // byte 524
    virtual IVolatileWriteCache* VWC() const = 0;               // byte 525
    virtual std::uint16_t AWUN() const = 0;   // bytes 527:526, atomic write unit normal, logical blocks, zero-based
    virtual std::uint16_t AWUPF() const = 0;  // bytes 529:528, atomic write unit power fail, logical blocks, zero-based
    virtual INvmVendorSpecificCommandCfg* NVSCC() const = 0;  // byte 530
    virtual INamespaceWriteProtectionCap* NWPC() const = 0;   // byte 531
    virtual std::uint16_t ACWU() const = 0;         // bytes 533:532, atomic compare and write unit, logical blocks, zero-based
    virtual ISglSupport* SGLS() const = 0;          // bytes 539:536
    virtual std::uint32_t MNAN() const = 0;         // bytes 543:540, maximum number of allowed namespaces
    virtual const Carray<256>& SUBNQN() const = 0;  // bytes 1023:768, NVM subsystem NVMe qualified name
    // bytes 3071:2048, power state descriptor `index` of 32 bytes each; null when `index` is above 31
    virtual IPowerStateDesc* PSD(std::uint32_t index) const = 0;
    // bytes 4095:3072, vendor specific area; see IVendorSpecificInfo
    virtual IVendorSpecificInfo* VendorSpecific() const = 0;

protected:
    ~IIdentifyControllerData() = default;
};

// CMIC, byte 76
class IIdentifyControllerData::IControllerMultiPathIoAndNamespaceSharingCap : public IObject {
public:
    virtual bool HasMultiplePorts() const = 0;        // bit 0
    virtual bool HasMultipleControllers() const = 0;  // bit 1
    virtual bool IsSriovVirtualFunction() const = 0;  // bit 2; 0 is a PCI function or a fabrics controller
    virtual bool SupportsAnaReporting() const = 0;    // bit 3

protected:
    ~IControllerMultiPathIoAndNamespaceSharingCap() = default;
};

// VER, bytes 83:80
class IIdentifyControllerData::IVersion : public IObject {
public:
    virtual std::uint8_t Tertiary() const = 0;  // bits 7:0
    virtual std::uint8_t Minor() const = 0;     // bits 15:8
    virtual std::uint16_t Major() const = 0;    // bits 31:16

protected:
    ~IVersion() = default;
};

// OAES, bytes 95:92
class IIdentifyControllerData::IOptionalAsynchronousEventsSupported : public IObject {
public:
    virtual bool NamespaceAttributeNoticesAndChangedNamespaceList() const = 0;  // bit 8
    virtual bool FirmwareActivationNotices() const = 0;                         // bit 9
    virtual bool AnaChangeNotices() const = 0;                                  // bit 11
    virtual bool PredictableLatencyEventAggregateLogChangeNotices() const = 0;  // bit 12
    virtual bool LbaStatusInformationNotices() const = 0;                       // bit 13
    virtual bool EnduranceGroupEventAggregateLogPageChangeNotices() const = 0;  // bit 14

protected:
    ~IOptionalAsynchronousEventsSupported() = default;
};

// CTRATT, bytes 99:96
class IIdentifyControllerData::IControllerAttributes : public IObject {
public:
    virtual bool HostIdentifier128Bit() const = 0;                    // bit 0
    virtual bool NonOperationalPowerStatePermissiveMode() const = 0;  // bit 1
    virtual bool NvmSets() const = 0;                                 // bit 2
    virtual bool ReadRecoveryLevels() const = 0;                      // bit 3
    virtual bool EnduranceGroups() const = 0;                         // bit 4
    virtual bool PredictableLatencyMode() const = 0;                  // bit 5
    virtual bool TrafficBasedKeepAlive() const = 0;                   // bit 6
    virtual bool NamespaceGranularity() const = 0;                    // bit 7
    virtual bool SqAssociations() const = 0;                          // bit 8
    virtual bool UuidList() const = 0;                                // bit 9

protected:
    ~IControllerAttributes() = default;
};

// RRLS, bytes 101:100: bit n is read recovery level n
class IIdentifyControllerData::IReadRecoveryLevelsSupported : public IObject {
public:
    virtual bool Level0() const = 0;
    virtual bool Level1() const = 0;
    virtual bool Level2() const = 0;
    virtual bool Level3() const = 0;
    virtual bool Level4() const = 0;
    virtual bool Level5() const = 0;
    virtual bool Level6() const = 0;
    virtual bool Level7() const = 0;
    virtual bool Level8() const = 0;
    virtual bool Level9() const = 0;
    virtual bool Level10() const = 0;
    virtual bool Level11() const = 0;
    virtual bool Level12() const = 0;
    virtual bool Level13() const = 0;
    virtual bool Level14() const = 0;
    virtual bool Level15() const = 0;

protected:
    ~IReadRecoveryLevelsSupported() = default;
};

// OACS, bytes 257:256
class IIdentifyControllerData::IOptionalAdminCommandSupport : public IObject {
public:
    virtual bool SecuritySendReceive() const = 0;               // bit 0
    virtual bool FormatNvm() const = 0;                         // bit 1
    virtual bool FirmwareCommitAndImageDownload() const = 0;    // bit 2
    virtual bool NamespaceManagementAndAttachment() const = 0;  // bit 3
    virtual bool DeviceSelfTest() const = 0;                    // bit 4
    virtual bool Directives() const = 0;                        // bit 5
    virtual bool NvmeMiSendReceive() const = 0;                 // bit 6
    virtual bool VirtualizationManagement() const = 0;          // bit 7
    virtual bool DoorbellBufferConfig() const = 0;              // bit 8
    virtual bool GetLbaStatus() const = 0;                      // bit 9

protected:
    ~IOptionalAdminCommandSupport() = default;
};

// FRMW, byte 260
class IIdentifyControllerData::IFirmwareUpdates : public IObject {
public:
    virtual bool FirstSlotReadOnly() const = 0;              // bit 0
    virtual std::uint8_t NumberOfFirmwareSlots() const = 0;  // bits 3:1, 1 to 7
    virtual bool ActivationWithoutReset() const = 0;         // bit 4

protected:
    ~IFirmwareUpdates() = default;
};

// LPA, byte 261
class IIdentifyControllerData::ILogPageAttributes : public IObject {
public:
    virtual bool SmartHealthLogPagePerNamespace() const = 0;               // bit 0
    virtual bool CommandsSupportedAndEffectsLogPage() const = 0;           // bit 1
    virtual bool ExtendedDataForGetLogPage() const = 0;                    // bit 2
    virtual bool TelemetryHostAndControllerInitiatedLogPages() const = 0;  // bit 3
    virtual bool PersistentEventLog() const = 0;                           // bit 4

protected:
    ~ILogPageAttributes() = default;
};

// AVSCC, byte 264
class IIdentifyControllerData::IAdminVendorSpecificCommandCfg : public IObject {
public:
    virtual bool AllUseStandardFormat() const = 0;  // bit 0, all vendor specific admin commands

protected:
    ~IAdminVendorSpecificCommandCfg() = default;
};

// APSTA, byte 265
class IIdentifyControllerData::IAutoPowerStateTransitionAttributes : public IObject {
public:
    virtual bool SupportsAutonomousPowerStateTransitions() const = 0;  // bit 0

protected:
    ~IAutoPowerStateTransitionAttributes() = default;
};

// RPMBS, bytes 315:312
class IIdentifyControllerData::IReplayProtectedMemoryBlockSupport : public IObject {
public:
    virtual std::uint8_t NumberOfRpmbUnits() const = 0;     // bits 2:0; 0 is no support
    virtual std::uint8_t AuthenticationMethod() const = 0;  // bits 5:3; 0 is HMAC SHA-256
    virtual std::uint8_t TotalSize() const = 0;             // bits 23:16, 128 KiB, zero-based
    virtual std::uint8_t AccessSize() const = 0;            // bits 31:24, 512 bytes, zero-based

protected:
    ~IReplayProtectedMemoryBlockSupport() = default;
};

// DSTO, byte 318
class IIdentifyControllerData::IDeviceSelfTestOptions : public IObject {
public:
    virtual bool OnlyOneSelfTestAtATime() const = 0;  // bit 0

protected:
    ~IDeviceSelfTestOptions() = default;
};

// HCTMA, bytes 323:322
class IIdentifyControllerData::IHostControlledThermalMgmtAttributes : public IObject {
public:
    virtual bool SupportsHostControlledThermalManagement() const = 0;  // bit 0

protected:
    ~IHostControlledThermalMgmtAttributes() = default;
};

// SANICAP, bytes 331:328
class IIdentifyControllerData::ISanitizeCap : public IObject {
public:
    virtual bool CryptoErase() const = 0;            // bit 0
    virtual bool BlockErase() const = 0;             // bit 1
    virtual bool Overwrite() const = 0;              // bit 2
    virtual bool NoDeallocateInhibited() const = 0;  // bit 29
    // bits 31:30: 0 not defined, 1 media not modified, 2 media modified
    virtual std::uint8_t NoDeallocateModifiesMediaAfterSanitize() const = 0;

protected:
    ~ISanitizeCap() = default;
};

// ANACAP, byte 343
class IIdentifyControllerData::IAsymmetricNamespaceAccessCap : public IObject {
public:
    virtual bool OptimizedState() const = 0;                        // bit 0
    virtual bool NonOptimizedState() const = 0;                     // bit 1
    virtual bool InaccessibleState() const = 0;                     // bit 2
    virtual bool PersistentLossState() const = 0;                   // bit 3
    virtual bool ChangeState() const = 0;                           // bit 4
    virtual bool AnaGroupIdDoesNotChangeWhileAttached() const = 0;  // bit 6
    virtual bool SupportsNonZeroAnaGroupId() const = 0;             // bit 7

protected:
    ~IAsymmetricNamespaceAccessCap() = default;
};

// SQES, byte 512
class IIdentifyControllerData::ISubmissionQueueEntrySize : public IObject {
public:
    virtual std::uint8_t RequiredEntrySize() const = 0;  // bits 3:0, 2^n bytes
    virtual std::uint8_t MaximumEntrySize() const = 0;   // bits 7:4, 2^n bytes

protected:
    ~ISubmissionQueueEntrySize() = default;
};

// CQES, byte 513
class IIdentifyControllerData::ICompletionQueueEntrySize : public IObject {
public:
    virtual std::uint8_t RequiredEntrySize() const = 0;  // bits 3:0, 2^n bytes
    virtual std::uint8_t MaximumEntrySize() const = 0;   // bits 7:4, 2^n bytes

protected:
    ~ICompletionQueueEntrySize() = default;
};

// ONCS, bytes 521:520
class IIdentifyControllerData::IOptionalNvmCommandSupport : public IObject {
public:
    virtual bool Compare() const = 0;                               // bit 0
    virtual bool WriteUncorrectable() const = 0;                    // bit 1
    virtual bool DatasetManagement() const = 0;                     // bit 2
    virtual bool WriteZeroes() const = 0;                           // bit 3
    virtual bool SaveFieldInSetFeaturesAndGetFeatures() const = 0;  // bit 4
    virtual bool Reservations() const = 0;                          // bit 5
    virtual bool Timestamp() const = 0;                             // bit 6
    virtual bool Verify() const = 0;                                // bit 7

protected:
    ~IOptionalNvmCommandSupport() = default;
};

// FUSES, bytes 523:522
class IIdentifyControllerData::IFusedOperationSupport : public IObject {
public:
    virtual bool CompareAndWrite() const = 0;  // bit 0

protected:
    ~IFusedOperationSupport() = default;
};

// FNA, byte 524
class IIdentifyControllerData::IFormatNvmAttributes : public IObject {
public:
    virtual bool FormatAppliesToAllNamespaces() const = 0;       // bit 0
    virtual bool SecureEraseAppliesToAllNamespaces() const = 0;  // bit 1
    virtual bool CryptographicEraseSupported() const = 0;        // bit 2

protected:
    ~IFormatNvmAttributes() = default;
};

// VWC, byte 525
class IIdentifyControllerData::IVolatileWriteCache : public IObject {
public:
    virtual bool Present() const = 0;  // bit 0
    // bits 2:1, Flush with NSID FFFFFFFFh: 0 not indicated, 2 not supported, 3 supported
    virtual std::uint8_t FlushBehavior() const = 0;

protected:
    ~IVolatileWriteCache() = default;
};

// NVSCC, byte 530
class IIdentifyControllerData::INvmVendorSpecificCommandCfg : public IObject {
public:
    virtual bool AllUseStandardFormat() const = 0;  // bit 0, all vendor specific NVM commands

protected:
    ~INvmVendorSpecificCommandCfg() = default;
};

// NWPC, byte 531
class IIdentifyControllerData::INamespaceWriteProtectionCap : public IObject {
public:
    virtual bool WriteProtect() const = 0;                 // bit 0
    virtual bool WriteProtectUntilPowerCycle() const = 0;  // bit 1
    virtual bool PermanentWriteProtect() const = 0;        // bit 2

protected:
    ~INamespaceWriteProtectionCap() = default;
};

// SGLS, bytes 539:536
class IIdentifyControllerData::ISglSupport : public IObject {
public:
    virtual std::uint8_t SupportState() const = 0;  // bits 1:0: 0 none, 1 no alignment needed, 2 dword alignment needed
    virtual bool KeyedSglDataBlock() const = 0;     // bit 2
    virtual bool SglBitBucket() const = 0;          // bit 16
    virtual bool ByteAlignedContiguousPhysicalBufferOfMetadata() const = 0;  // bit 17
    virtual bool Metadata() const = 0;                                       // bit 18
    virtual bool MetadataPointer() const = 0;                                // bit 19
    virtual bool Address() const = 0;                                        // bit 20
    virtual bool TransportSglDataBlock() const = 0;                          // bit 21

protected:
    ~ISglSupport() = default;
};

// One power state descriptor, 32 bytes; bits count from the descriptor's start.
class IIdentifyControllerData::IPowerStateDesc : public IObject {
public:
    virtual std::uint16_t MaxPower() const = 0;                // MP, bits 15:0, in units of MXPS
    virtual bool MaxPowerScale() const = 0;                    // MXPS, bit 24: 0 is 0.01 W, 1 is 0.0001 W
    virtual bool NonOperationalState() const = 0;              // NOPS, bit 25
    virtual std::uint32_t EntryLatency() const = 0;            // ENLAT, bits 63:32, microseconds
    virtual std::uint32_t ExitLatency() const = 0;             // EXLAT, bits 95:64, microseconds
    virtual std::uint8_t RelativeReadThroughput() const = 0;   // RRT, bits 100:96, 0 is best
    virtual std::uint8_t RelativeReadLatency() const = 0;      // RRL, bits 108:104, 0 is best
    virtual std::uint8_t RelativeWriteThroughput() const = 0;  // RWT, bits 116:112, 0 is best
    virtual std::uint8_t RelativeWriteLatency() const = 0;     // RWL, bits 124:120, 0 is best
    virtual std::uint16_t IdlePower() const = 0;               // IDLP, bits 143:128, in units of IPS
    virtual std::uint8_t IdlePowerScale() const = 0;           // IPS, bits 151:150: 0 not reported, 1 is 0.0001 W, 2 is 0.01 W
    virtual std::uint16_t ActivePower() const = 0;             // ACTP, bits 175:160, in units of APS
    virtual std::uint8_t ActivePowerWorkload() const = 0;      // APW, bits 178:176
    virtual std::uint8_t ActivePowerScale() const = 0;         // APS, bits 183:182: 0 not reported, 1 is 0.0001 W, 2 is 0.01 W

protected:
    ~IPowerStateDesc() = default;
};

// The vendor specific area. A run-time cast to ICustomizedControllerData succeeds exactly when the area is in the maker's layout.
// The cast returns a view: the object is freed through this pointer.
class IIdentifyControllerData::IVendorSpecificInfo : public IObject {
protected:
    ~IVendorSpecificInfo() = default;
};

}  // namespace veyra::sondix::nvme
