#pragma once

#include <cstdint>

#include "Object.h"
#include "sondix/IIdentifyControllerData.h"

// The objects nested in Identify Controller. Each declares the bytes it stands for; a bit outside them does not compile.
namespace veyra::sondix::nvme {

// CMIC, byte 76
class ControllerMultiPathIoAndNamespaceSharingCap final
    : public Object<ControllerMultiPathIoAndNamespaceSharingCap,
                    IIdentifyControllerData::IControllerMultiPathIoAndNamespaceSharingCap, 76, 1> {
public:
    using Object::Object;
    bool HasMultiplePorts() const noexcept override { return bit<76, 0>(); }
    bool HasMultipleControllers() const noexcept override { return bit<76, 1>(); }
    bool IsSriovVirtualFunction() const noexcept override { return bit<76, 2>(); }
    bool SupportsAnaReporting() const noexcept override { return bit<76, 3>(); }
};

// VER, bytes 83:80
class Version final : public Object<Version, IIdentifyControllerData::IVersion, 80, 4> {
public:
    using Object::Object;
    std::uint8_t Tertiary() const noexcept override { return field<80, std::uint32_t, 7, 0>(); }
    std::uint8_t Minor() const noexcept override { return field<80, std::uint32_t, 15, 8>(); }
    std::uint16_t Major() const noexcept override { return field<80, std::uint32_t, 31, 16>(); }
};

// OAES, bytes 95:92
class OptionalAsynchronousEventsSupported final
    : public Object<OptionalAsynchronousEventsSupported, IIdentifyControllerData::IOptionalAsynchronousEventsSupported, 92, 4> {
public:
    using Object::Object;
    bool NamespaceAttributeNoticesAndChangedNamespaceList() const noexcept override { return bit<92, 8>(); }
    bool FirmwareActivationNotices() const noexcept override { return bit<92, 9>(); }
    bool AnaChangeNotices() const noexcept override { return bit<92, 11>(); }
    bool PredictableLatencyEventAggregateLogChangeNotices() const noexcept override { return bit<92, 12>(); }
    bool LbaStatusInformationNotices() const noexcept override { return bit<92, 13>(); }
    bool EnduranceGroupEventAggregateLogPageChangeNotices() const noexcept override { return bit<92, 14>(); }
};

// CTRATT, bytes 99:96
class ControllerAttributes final : public Object<ControllerAttributes, IIdentifyControllerData::IControllerAttributes, 96, 4> {
public:
    using Object::Object;
    bool HostIdentifier128Bit() const noexcept override { return bit<96, 0>(); }
    bool NonOperationalPowerStatePermissiveMode() const noexcept override { return bit<96, 1>(); }
    bool NvmSets() const noexcept override { return bit<96, 2>(); }
    bool ReadRecoveryLevels() const noexcept override { return bit<96, 3>(); }
    bool EnduranceGroups() const noexcept override { return bit<96, 4>(); }
    bool PredictableLatencyMode() const noexcept override { return bit<96, 5>(); }
    bool TrafficBasedKeepAlive() const noexcept override { return bit<96, 6>(); }
    bool NamespaceGranularity() const noexcept override { return bit<96, 7>(); }
    bool SqAssociations() const noexcept override { return bit<96, 8>(); }
    bool UuidList() const noexcept override { return bit<96, 9>(); }
};

// RRLS, bytes 101:100: bit n is read recovery level n
class ReadRecoveryLevelsSupported final
    : public Object<ReadRecoveryLevelsSupported, IIdentifyControllerData::IReadRecoveryLevelsSupported, 100, 2> {
public:
    using Object::Object;
    bool Level0() const noexcept override { return bit<100, 0>(); }
    bool Level1() const noexcept override { return bit<100, 1>(); }
    bool Level2() const noexcept override { return bit<100, 2>(); }
    bool Level3() const noexcept override { return bit<100, 3>(); }
    bool Level4() const noexcept override { return bit<100, 4>(); }
    bool Level5() const noexcept override { return bit<100, 5>(); }
    bool Level6() const noexcept override { return bit<100, 6>(); }
    bool Level7() const noexcept override { return bit<100, 7>(); }
    bool Level8() const noexcept override { return bit<100, 8>(); }
    bool Level9() const noexcept override { return bit<100, 9>(); }
    bool Level10() const noexcept override { return bit<100, 10>(); }
    bool Level11() const noexcept override { return bit<100, 11>(); }
    bool Level12() const noexcept override { return bit<100, 12>(); }
    bool Level13() const noexcept override { return bit<100, 13>(); }
    bool Level14() const noexcept override { return bit<100, 14>(); }
    bool Level15() const noexcept override { return bit<100, 15>(); }
};

// OACS, bytes 257:256
class OptionalAdminCommandSupport final
    : public Object<OptionalAdminCommandSupport, IIdentifyControllerData::IOptionalAdminCommandSupport, 256, 2> {
public:
    using Object::Object;
    bool SecuritySendReceive() const noexcept override { return bit<256, 0>(); }
    bool FormatNvm() const noexcept override { return bit<256, 1>(); }
    bool FirmwareCommitAndImageDownload() const noexcept override { return bit<256, 2>(); }
    bool NamespaceManagementAndAttachment() const noexcept override { return bit<256, 3>(); }
    bool DeviceSelfTest() const noexcept override { return bit<256, 4>(); }
    bool Directives() const noexcept override { return bit<256, 5>(); }
    bool NvmeMiSendReceive() const noexcept override { return bit<256, 6>(); }
    bool VirtualizationManagement() const noexcept override { return bit<256, 7>(); }
    bool DoorbellBufferConfig() const noexcept override { return bit<256, 8>(); }
    bool GetLbaStatus() const noexcept override { return bit<256, 9>(); }
};

// FRMW, byte 260
class FirmwareUpdates final : public Object<FirmwareUpdates, IIdentifyControllerData::IFirmwareUpdates, 260, 1> {
public:
    using Object::Object;
    bool FirstSlotReadOnly() const noexcept override { return bit<260, 0>(); }
    std::uint8_t NumberOfFirmwareSlots() const noexcept override { return field<260, std::uint8_t, 3, 1>(); }
    bool ActivationWithoutReset() const noexcept override { return bit<260, 4>(); }
};

// LPA, byte 261
class LogPageAttributes final : public Object<LogPageAttributes, IIdentifyControllerData::ILogPageAttributes, 261, 1> {
public:
    using Object::Object;
    bool SmartHealthLogPagePerNamespace() const noexcept override { return bit<261, 0>(); }
    bool CommandsSupportedAndEffectsLogPage() const noexcept override { return bit<261, 1>(); }
    bool ExtendedDataForGetLogPage() const noexcept override { return bit<261, 2>(); }
    bool TelemetryHostAndControllerInitiatedLogPages() const noexcept override { return bit<261, 3>(); }
    bool PersistentEventLog() const noexcept override { return bit<261, 4>(); }
};

// AVSCC, byte 264
class AdminVendorSpecificCommandCfg final
    : public Object<AdminVendorSpecificCommandCfg, IIdentifyControllerData::IAdminVendorSpecificCommandCfg, 264, 1> {
public:
    using Object::Object;
    bool AllUseStandardFormat() const noexcept override { return bit<264, 0>(); }
};

// APSTA, byte 265
class AutoPowerStateTransitionAttributes final
    : public Object<AutoPowerStateTransitionAttributes, IIdentifyControllerData::IAutoPowerStateTransitionAttributes, 265, 1> {
public:
    using Object::Object;
    bool SupportsAutonomousPowerStateTransitions() const noexcept override { return bit<265, 0>(); }
};

// RPMBS, bytes 315:312
class ReplayProtectedMemoryBlockSupport final
    : public Object<ReplayProtectedMemoryBlockSupport, IIdentifyControllerData::IReplayProtectedMemoryBlockSupport, 312, 4> {
public:
    using Object::Object;
    std::uint8_t NumberOfRpmbUnits() const noexcept override { return field<312, std::uint32_t, 2, 0>(); }
    std::uint8_t AuthenticationMethod() const noexcept override { return field<312, std::uint32_t, 5, 3>(); }
    std::uint8_t TotalSize() const noexcept override { return field<312, std::uint32_t, 23, 16>(); }
    std::uint8_t AccessSize() const noexcept override { return field<312, std::uint32_t, 31, 24>(); }
};

// DSTO, byte 318
class DeviceSelfTestOptions final : public Object<DeviceSelfTestOptions, IIdentifyControllerData::IDeviceSelfTestOptions, 318, 1> {
public:
    using Object::Object;
    bool OnlyOneSelfTestAtATime() const noexcept override { return bit<318, 0>(); }
};

// HCTMA, bytes 323:322
class HostControlledThermalMgmtAttributes final
    : public Object<HostControlledThermalMgmtAttributes, IIdentifyControllerData::IHostControlledThermalMgmtAttributes, 322, 2> {
public:
    using Object::Object;
    bool SupportsHostControlledThermalManagement() const noexcept override { return bit<322, 0>(); }
};

// SANICAP, bytes 331:328
class SanitizeCap final : public Object<SanitizeCap, IIdentifyControllerData::ISanitizeCap, 328, 4> {
public:
    using Object::Object;
    bool CryptoErase() const noexcept override { return bit<328, 0>(); }
    bool BlockErase() const noexcept override { return bit<328, 1>(); }
    bool Overwrite() const noexcept override { return bit<328, 2>(); }
    bool NoDeallocateInhibited() const noexcept override { return bit<328, 29>(); }
    std::uint8_t NoDeallocateModifiesMediaAfterSanitize() const noexcept override { return field<328, std::uint32_t, 31, 30>(); }
};

// ANACAP, byte 343
class AsymmetricNamespaceAccessCap final
    : public Object<AsymmetricNamespaceAccessCap, IIdentifyControllerData::IAsymmetricNamespaceAccessCap, 343, 1> {
public:
    using Object::Object;
    bool OptimizedState() const noexcept override { return bit<343, 0>(); }
    bool NonOptimizedState() const noexcept override { return bit<343, 1>(); }
    bool InaccessibleState() const noexcept override { return bit<343, 2>(); }
    bool PersistentLossState() const noexcept override { return bit<343, 3>(); }
    bool ChangeState() const noexcept override { return bit<343, 4>(); }
    bool AnaGroupIdDoesNotChangeWhileAttached() const noexcept override { return bit<343, 6>(); }
    bool SupportsNonZeroAnaGroupId() const noexcept override { return bit<343, 7>(); }
};

// SQES, byte 512
class SubmissionQueueEntrySize final
    : public Object<SubmissionQueueEntrySize, IIdentifyControllerData::ISubmissionQueueEntrySize, 512, 1> {
public:
    using Object::Object;
    std::uint8_t RequiredEntrySize() const noexcept override { return field<512, std::uint8_t, 3, 0>(); }
    std::uint8_t MaximumEntrySize() const noexcept override { return field<512, std::uint8_t, 7, 4>(); }
};

// CQES, byte 513
class CompletionQueueEntrySize final
    : public Object<CompletionQueueEntrySize, IIdentifyControllerData::ICompletionQueueEntrySize, 513, 1> {
public:
    using Object::Object;
    std::uint8_t RequiredEntrySize() const noexcept override { return field<513, std::uint8_t, 3, 0>(); }
    std::uint8_t MaximumEntrySize() const noexcept override { return field<513, std::uint8_t, 7, 4>(); }
};

// ONCS, bytes 521:520
class OptionalNvmCommandSupport final
    : public Object<OptionalNvmCommandSupport, IIdentifyControllerData::IOptionalNvmCommandSupport, 520, 2> {
public:
    using Object::Object;
    bool Compare() const noexcept override { return bit<520, 0>(); }
    bool WriteUncorrectable() const noexcept override { return bit<520, 1>(); }
    bool DatasetManagement() const noexcept override { return bit<520, 2>(); }
    bool WriteZeroes() const noexcept override { return bit<520, 3>(); }
    bool SaveFieldInSetFeaturesAndGetFeatures() const noexcept override { return bit<520, 4>(); }
    bool Reservations() const noexcept override { return bit<520, 5>(); }
    bool Timestamp() const noexcept override { return bit<520, 6>(); }
    bool Verify() const noexcept override { return bit<520, 7>(); }
};

// FUSES, bytes 523:522
class FusedOperationSupport final : public Object<FusedOperationSupport, IIdentifyControllerData::IFusedOperationSupport, 522, 2> {
public:
    using Object::Object;
    bool CompareAndWrite() const noexcept override { return bit<522, 0>(); }
};

// FNA, byte 524
class FormatNvmAttributes final : public Object<FormatNvmAttributes, IIdentifyControllerData::IFormatNvmAttributes, 524, 1> {
public:
    using Object::Object;
    bool FormatAppliesToAllNamespaces() const noexcept override { return bit<524, 0>(); }
    bool SecureEraseAppliesToAllNamespaces() const noexcept override { return bit<524, 1>(); }
    bool CryptographicEraseSupported() const noexcept override { return bit<524, 2>(); }
};

// VWC, byte 525
class VolatileWriteCache final : public Object<VolatileWriteCache, IIdentifyControllerData::IVolatileWriteCache, 525, 1> {
public:
    using Object::Object;
    bool Present() const noexcept override { return bit<525, 0>(); }
    std::uint8_t FlushBehavior() const noexcept override { return field<525, std::uint8_t, 2, 1>(); }
};

// NVSCC, byte 530
class NvmVendorSpecificCommandCfg final
    : public Object<NvmVendorSpecificCommandCfg, IIdentifyControllerData::INvmVendorSpecificCommandCfg, 530, 1> {
public:
    using Object::Object;
    bool AllUseStandardFormat() const noexcept override { return bit<530, 0>(); }
};

// NWPC, byte 531
class NamespaceWriteProtectionCap final
    : public Object<NamespaceWriteProtectionCap, IIdentifyControllerData::INamespaceWriteProtectionCap, 531, 1> {
public:
    using Object::Object;
    bool WriteProtect() const noexcept override { return bit<531, 0>(); }
    bool WriteProtectUntilPowerCycle() const noexcept override { return bit<531, 1>(); }
    bool PermanentWriteProtect() const noexcept override { return bit<531, 2>(); }
};

// SGLS, bytes 539:536
class SglSupport final : public Object<SglSupport, IIdentifyControllerData::ISglSupport, 536, 4> {
public:
    using Object::Object;
    std::uint8_t SupportState() const noexcept override { return field<536, std::uint32_t, 1, 0>(); }
    bool KeyedSglDataBlock() const noexcept override { return bit<536, 2>(); }
    bool SglBitBucket() const noexcept override { return bit<536, 16>(); }
    bool ByteAlignedContiguousPhysicalBufferOfMetadata() const noexcept override { return bit<536, 17>(); }
    bool Metadata() const noexcept override { return bit<536, 18>(); }
    bool MetadataPointer() const noexcept override { return bit<536, 19>(); }
    bool Address() const noexcept override { return bit<536, 20>(); }
    bool TransportSglDataBlock() const noexcept override { return bit<536, 21>(); }
};

// One power state descriptor, 32 bytes; bits count from the descriptor's start.
class PowerStateDesc final : public Object<PowerStateDesc, IIdentifyControllerData::IPowerStateDesc, 0, 32> {
public:
    using Object::Object;
    std::uint16_t MaxPower() const noexcept override { return word<0, std::uint16_t>(); }
    bool MaxPowerScale() const noexcept override { return bit<3, 0>(); }
    bool NonOperationalState() const noexcept override { return bit<3, 1>(); }
    std::uint32_t EntryLatency() const noexcept override { return word<4, std::uint32_t>(); }
    std::uint32_t ExitLatency() const noexcept override { return word<8, std::uint32_t>(); }
    std::uint8_t RelativeReadThroughput() const noexcept override { return field<12, std::uint8_t, 4, 0>(); }
    std::uint8_t RelativeReadLatency() const noexcept override { return field<13, std::uint8_t, 4, 0>(); }
    std::uint8_t RelativeWriteThroughput() const noexcept override { return field<14, std::uint8_t, 4, 0>(); }
    std::uint8_t RelativeWriteLatency() const noexcept override { return field<15, std::uint8_t, 4, 0>(); }
    std::uint16_t IdlePower() const noexcept override { return word<16, std::uint16_t>(); }
    std::uint8_t IdlePowerScale() const noexcept override { return field<18, std::uint8_t, 7, 6>(); }
    std::uint16_t ActivePower() const noexcept override { return word<20, std::uint16_t>(); }
    std::uint8_t ActivePowerWorkload() const noexcept override { return field<22, std::uint8_t, 2, 0>(); }
    std::uint8_t ActivePowerScale() const noexcept override { return field<22, std::uint8_t, 7, 6>(); }
};

}  // namespace veyra::sondix::nvme
