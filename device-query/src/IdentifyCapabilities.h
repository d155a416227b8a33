#pragma once

#include <cstdint>

#include "Object.h"
#include "sondix/IIdentifyControllerData.h"

// The objects nested in Identify Controller. Each states its first byte and its length once; bits are numbered within it, and a bit
// outside it does not compile.
namespace veyra::sondix::nvme {

// CMIC
class ControllerMultiPathIoAndNamespaceSharingCap final
    : public Object<ControllerMultiPathIoAndNamespaceSharingCap,
                    IIdentifyControllerData::IControllerMultiPathIoAndNamespaceSharingCap, 76, 1> {
public:
    using Object::Object;
    bool HasMultiplePorts() const noexcept override { return bit<0>(); }
    bool HasMultipleControllers() const noexcept override { return bit<1>(); }
    bool IsSriovVirtualFunction() const noexcept override { return bit<2>(); }
    bool SupportsAnaReporting() const noexcept override { return bit<3>(); }
};

// VER
class Version final : public Object<Version, IIdentifyControllerData::IVersion, 80, 4> {
public:
    using Object::Object;
    std::uint8_t Tertiary() const noexcept override { return bits<7, 0>(); }
    std::uint8_t Minor() const noexcept override { return bits<15, 8>(); }
    std::uint16_t Major() const noexcept override { return bits<31, 16>(); }
};

// OAES
class OptionalAsynchronousEventsSupported final
    : public Object<OptionalAsynchronousEventsSupported, IIdentifyControllerData::IOptionalAsynchronousEventsSupported, 92, 4> {
public:
    using Object::Object;
    bool NamespaceAttributeNoticesAndChangedNamespaceList() const noexcept override { return bit<8>(); }
    bool FirmwareActivationNotices() const noexcept override { return bit<9>(); }
    bool AnaChangeNotices() const noexcept override { return bit<11>(); }
    bool PredictableLatencyEventAggregateLogChangeNotices() const noexcept override { return bit<12>(); }
    bool LbaStatusInformationNotices() const noexcept override { return bit<13>(); }
    bool EnduranceGroupEventAggregateLogPageChangeNotices() const noexcept override { return bit<14>(); }
};

// CTRATT
class ControllerAttributes final : public Object<ControllerAttributes, IIdentifyControllerData::IControllerAttributes, 96, 4> {
public:
    using Object::Object;
    bool HostIdentifier128Bit() const noexcept override { return bit<0>(); }
    bool NonOperationalPowerStatePermissiveMode() const noexcept override { return bit<1>(); }
    bool NvmSets() const noexcept override { return bit<2>(); }
    bool ReadRecoveryLevels() const noexcept override { return bit<3>(); }
    bool EnduranceGroups() const noexcept override { return bit<4>(); }
    bool PredictableLatencyMode() const noexcept override { return bit<5>(); }
    bool TrafficBasedKeepAlive() const noexcept override { return bit<6>(); }
    bool NamespaceGranularity() const noexcept override { return bit<7>(); }
    bool SqAssociations() const noexcept override { return bit<8>(); }
    bool UuidList() const noexcept override { return bit<9>(); }
};

// RRLS: bit n is read recovery level n
class ReadRecoveryLevelsSupported final
    : public Object<ReadRecoveryLevelsSupported, IIdentifyControllerData::IReadRecoveryLevelsSupported, 100, 2> {
public:
    using Object::Object;
    bool Level0() const noexcept override { return bit<0>(); }
    bool Level1() const noexcept override { return bit<1>(); }
    bool Level2() const noexcept override { return bit<2>(); }
    bool Level3() const noexcept override { return bit<3>(); }
    bool Level4() const noexcept override { return bit<4>(); }
    bool Level5() const noexcept override { return bit<5>(); }
    bool Level6() const noexcept override { return bit<6>(); }
    bool Level7() const noexcept override { return bit<7>(); }
    bool Level8() const noexcept override { return bit<8>(); }
    bool Level9() const noexcept override { return bit<9>(); }
    bool Level10() const noexcept override { return bit<10>(); }
    bool Level11() const noexcept override { return bit<11>(); }
    bool Level12() const noexcept override { return bit<12>(); }
    bool Level13() const noexcept override { return bit<13>(); }
    bool Level14() const noexcept override { return bit<14>(); }
    bool Level15() const noexcept override { return bit<15>(); }
};

// OACS
class OptionalAdminCommandSupport final
    : public Object<OptionalAdminCommandSupport, IIdentifyControllerData::IOptionalAdminCommandSupport, 256, 2> {
public:
    using Object::Object;
    bool SecuritySendReceive() const noexcept override { return bit<0>(); }
    bool FormatNvm() const noexcept override { return bit<1>(); }
    bool FirmwareCommitAndImageDownload() const noexcept override { return bit<2>(); }
    bool NamespaceManagementAndAttachment() const noexcept override { return bit<3>(); }
    bool DeviceSelfTest() const noexcept override { return bit<4>(); }
    bool Directives() const noexcept override { return bit<5>(); }
    bool NvmeMiSendReceive() const noexcept override { return bit<6>(); }
    bool VirtualizationManagement() const noexcept override { return bit<7>(); }
    bool DoorbellBufferConfig() const noexcept override { return bit<8>(); }
    bool GetLbaStatus() const noexcept override { return bit<9>(); }
};

// FRMW
class FirmwareUpdates final : public Object<FirmwareUpdates, IIdentifyControllerData::IFirmwareUpdates, 260, 1> {
public:
    using Object::Object;
    bool FirstSlotReadOnly() const noexcept override { return bit<0>(); }
    std::uint8_t NumberOfFirmwareSlots() const noexcept override { return bits<3, 1>(); }
    bool ActivationWithoutReset() const noexcept override { return bit<4>(); }
};

// LPA
class LogPageAttributes final : public Object<LogPageAttributes, IIdentifyControllerData::ILogPageAttributes, 261, 1> {
public:
    using Object::Object;
    bool SmartHealthLogPagePerNamespace() const noexcept override { return bit<0>(); }
    bool CommandsSupportedAndEffectsLogPage() const noexcept override { return bit<1>(); }
    bool ExtendedDataForGetLogPage() const noexcept override { return bit<2>(); }
    bool TelemetryHostAndControllerInitiatedLogPages() const noexcept override { return bit<3>(); }
    bool PersistentEventLog() const noexcept override { return bit<4>(); }
};

// AVSCC
class AdminVendorSpecificCommandCfg final
    : public Object<AdminVendorSpecificCommandCfg, IIdentifyControllerData::IAdminVendorSpecificCommandCfg, 264, 1> {
public:
    using Object::Object;
    bool AllUseStandardFormat() const noexcept override { return bit<0>(); }
};

// APSTA
class AutoPowerStateTransitionAttributes final
    : public Object<AutoPowerStateTransitionAttributes, IIdentifyControllerData::IAutoPowerStateTransitionAttributes, 265, 1> {
public:
    using Object::Object;
    bool SupportsAutonomousPowerStateTransitions() const noexcept override { return bit<0>(); }
};

// RPMBS
class ReplayProtectedMemoryBlockSupport final
    : public Object<ReplayProtectedMemoryBlockSupport, IIdentifyControllerData::IReplayProtectedMemoryBlockSupport, 312, 4> {
public:
    using Object::Object;
    std::uint8_t NumberOfRpmbUnits() const noexcept override { return bits<2, 0>(); }
    std::uint8_t AuthenticationMethod() const noexcept override { return bits<5, 3>(); }
    std::uint8_t TotalSize() const noexcept override { return bits<23, 16>(); }
    std::uint8_t AccessSize() const noexcept override { return bits<31, 24>(); }
};

// DSTO
class DeviceSelfTestOptions final : public Object<DeviceSelfTestOptions, IIdentifyControllerData::IDeviceSelfTestOptions, 318, 1> {
public:
    using Object::Object;
    bool OnlyOneSelfTestAtATime() const noexcept override { return bit<0>(); }
};

// HCTMA
class HostControlledThermalMgmtAttributes final
    : public Object<HostControlledThermalMgmtAttributes, IIdentifyControllerData::IHostControlledThermalMgmtAttributes, 322, 2> {
public:
    using Object::Object;
    bool SupportsHostControlledThermalManagement() const noexcept override { return bit<0>(); }
};

// SANICAP
class SanitizeCap final : public Object<SanitizeCap, IIdentifyControllerData::ISanitizeCap, 328, 4> {
public:
    using Object::Object;
    bool CryptoErase() const noexcept override { return bit<0>(); }
    bool BlockErase() const noexcept override { return bit<1>(); }
    bool Overwrite() const noexcept override { return bit<2>(); }
    bool NoDeallocateInhibited() const noexcept override { return bit<29>(); }
    std::uint8_t NoDeallocateModifiesMediaAfterSanitize() const noexcept override { return bits<31, 30>(); }
};

// ANACAP
class AsymmetricNamespaceAccessCap final
    : public Object<AsymmetricNamespaceAccessCap, IIdentifyControllerData::IAsymmetricNamespaceAccessCap, 343, 1> {
public:
    using Object::Object;
    bool OptimizedState() const noexcept override { return bit<0>(); }
    bool NonOptimizedState() const noexcept override { return bit<1>(); }
    bool InaccessibleState() const noexcept override { return bit<2>(); }
    bool PersistentLossState() const noexcept override { return bit<3>(); }
    bool ChangeState() const noexcept override { return bit<4>(); }
    bool AnaGroupIdDoesNotChangeWhileAttached() const noexcept override { return bit<6>(); }
    bool SupportsNonZeroAnaGroupId() const noexcept override { return bit<7>(); }
};

// SQES
class SubmissionQueueEntrySize final
    : public Object<SubmissionQueueEntrySize, IIdentifyControllerData::ISubmissionQueueEntrySize, 512, 1> {
public:
    using Object::Object;
    std::uint8_t RequiredEntrySize() const noexcept override { return bits<3, 0>(); }
    std::uint8_t MaximumEntrySize() const noexcept override { return bits<7, 4>(); }
};

// CQES
class CompletionQueueEntrySize final
    : public Object<CompletionQueueEntrySize, IIdentifyControllerData::ICompletionQueueEntrySize, 513, 1> {
public:
    using Object::Object;
    std::uint8_t RequiredEntrySize() const noexcept override { return bits<3, 0>(); }
    std::uint8_t MaximumEntrySize() const noexcept override { return bits<7, 4>(); }
};

// ONCS
class OptionalNvmCommandSupport final
    : public Object<OptionalNvmCommandSupport, IIdentifyControllerData::IOptionalNvmCommandSupport, 520, 2> {
public:
    using Object::Object;
    bool Compare() const noexcept override { return bit<0>(); }
    bool WriteUncorrectable() const noexcept override { return bit<1>(); }
    bool DatasetManagement() const noexcept override { return bit<2>(); }
    bool WriteZeroes() const noexcept override { return bit<3>(); }
    bool SaveFieldInSetFeaturesAndGetFeatures() const noexcept override { return bit<4>(); }
    bool Reservations() const noexcept override { return bit<5>(); }
    bool Timestamp() const noexcept override { return bit<6>(); }
    bool Verify() const noexcept override { return bit<7>(); }
};

// FUSES
class FusedOperationSupport final : public Object<FusedOperationSupport, IIdentifyControllerData::IFusedOperationSupport, 522, 2> {
public:
    using Object::Object;
    bool CompareAndWrite() const noexcept override { return bit<0>(); }
};

// FNA
class FormatNvmAttributes final : public Object<FormatNvmAttributes, IIdentifyControllerData::IFormatNvmAttributes, 524, 1> {
public:
    using Object::Object;
    bool FormatAppliesToAllNamespaces() const noexcept override { return bit<0>(); }
    bool SecureEraseAppliesToAllNamespaces() const noexcept override { return bit<1>(); }
    bool CryptographicEraseSupported() const noexcept override { return bit<2>(); }
};

// VWC
class VolatileWriteCache final : public Object<VolatileWriteCache, IIdentifyControllerData::IVolatileWriteCache, 525, 1> {
public:
    using Object::Object;
    bool Present() const noexcept override { return bit<0>(); }
    std::uint8_t FlushBehavior() const noexcept override { return bits<2, 1>(); }
};

// NVSCC
class NvmVendorSpecificCommandCfg final
    : public Object<NvmVendorSpecificCommandCfg, IIdentifyControllerData::INvmVendorSpecificCommandCfg, 530, 1> {
public:
    using Object::Object;
    bool AllUseStandardFormat() const noexcept override { return bit<0>(); }
};

// NWPC
class NamespaceWriteProtectionCap final
    : public Object<NamespaceWriteProtectionCap, IIdentifyControllerData::INamespaceWriteProtectionCap, 531, 1> {
public:
    using Object::Object;
    bool WriteProtect() const noexcept override { return bit<0>(); }
    bool WriteProtectUntilPowerCycle() const noexcept override { return bit<1>(); }
    bool PermanentWriteProtect() const noexcept override { return bit<2>(); }
};

// SGLS
class SglSupport final : public Object<SglSupport, IIdentifyControllerData::ISglSupport, 536, 4> {
public:
    using Object::Object;
    std::uint8_t SupportState() const noexcept override { return bits<1, 0>(); }
    bool KeyedSglDataBlock() const noexcept override { return bit<2>(); }
    bool SglBitBucket() const noexcept override { return bit<16>(); }
    bool ByteAlignedContiguousPhysicalBufferOfMetadata() const noexcept override { return bit<17>(); }
    bool Metadata() const noexcept override { return bit<18>(); }
    bool MetadataPointer() const noexcept override { return bit<19>(); }
    bool Address() const noexcept override { return bit<20>(); }
    bool TransportSglDataBlock() const noexcept override { return bit<21>(); }
};

// One power state descriptor, 32 bytes; bits count from the descriptor's start.
class PowerStateDesc final : public Object<PowerStateDesc, IIdentifyControllerData::IPowerStateDesc, 0, 32> {
public:
    using Object::Object;
    std::uint16_t MaxPower() const noexcept override { return bits<15, 0>(); }
    bool MaxPowerScale() const noexcept override { return bit<24>(); }
    bool NonOperationalState() const noexcept override { return bit<25>(); }
    std::uint32_t EntryLatency() const noexcept override { return bits<63, 32>(); }
    std::uint32_t ExitLatency() const noexcept override { return bits<95, 64>(); }
    std::uint8_t RelativeReadThroughput() const noexcept override { return bits<100, 96>(); }
    std::uint8_t RelativeReadLatency() const noexcept override { return bits<108, 104>(); }
    std::uint8_t RelativeWriteThroughput() const noexcept override { return bits<116, 112>(); }
    std::uint8_t RelativeWriteLatency() const noexcept override { return bits<124, 120>(); }
    std::uint16_t IdlePower() const noexcept override { return bits<143, 128>(); }
    std::uint8_t IdlePowerScale() const noexcept override { return bits<151, 150>(); }
    std::uint16_t ActivePower() const noexcept override { return bits<175, 160>(); }
    std::uint8_t ActivePowerWorkload() const noexcept override { return bits<178, 176>(); }
    std::uint8_t ActivePowerScale() const noexcept override { return bits<183, 182>(); }
};

}  // namespace veyra::sondix::nvme
