#include "FakeObject.h"

namespace orbis::fakes {
namespace {

using namespace veyra;
using namespace veyra::sondix::nvme;

class FakeControllerMultiPathIoAndNamespaceSharingCap final
    : public FakeObject<FakeControllerMultiPathIoAndNamespaceSharingCap,
                        IIdentifyControllerData::IControllerMultiPathIoAndNamespaceSharingCap> {
public:
    using FakeObject::FakeObject;
    bool HasMultiplePorts() const override { return Flag(__func__); }
    bool HasMultipleControllers() const override { return Flag(__func__); }
    bool IsSriovVirtualFunction() const override { return Flag(__func__); }
    bool SupportsAnaReporting() const override { return Flag(__func__); }
};

class FakeVersion final : public FakeObject<FakeVersion, IIdentifyControllerData::IVersion> {
public:
    using FakeObject::FakeObject;
    std::uint8_t Tertiary() const override { return Number<std::uint8_t>(__func__); }
    std::uint8_t Minor() const override { return Number<std::uint8_t>(__func__); }
    std::uint16_t Major() const override { return Number<std::uint16_t>(__func__); }
};

class FakeOptionalAsynchronousEventsSupported final
    : public FakeObject<FakeOptionalAsynchronousEventsSupported, IIdentifyControllerData::IOptionalAsynchronousEventsSupported> {
public:
    using FakeObject::FakeObject;
    bool NamespaceAttributeNoticesAndChangedNamespaceList() const override { return Flag(__func__); }
    bool FirmwareActivationNotices() const override { return Flag(__func__); }
    bool AnaChangeNotices() const override { return Flag(__func__); }
    bool PredictableLatencyEventAggregateLogChangeNotices() const override { return Flag(__func__); }
    bool LbaStatusInformationNotices() const override { return Flag(__func__); }
    bool EnduranceGroupEventAggregateLogPageChangeNotices() const override { return Flag(__func__); }
};

class FakeControllerAttributes final : public FakeObject<FakeControllerAttributes, IIdentifyControllerData::IControllerAttributes> {
public:
    using FakeObject::FakeObject;
    bool HostIdentifier128Bit() const override { return Flag(__func__); }
    bool NonOperationalPowerStatePermissiveMode() const override { return Flag(__func__); }
    bool NvmSets() const override { return Flag(__func__); }
    bool ReadRecoveryLevels() const override { return Flag(__func__); }
    bool EnduranceGroups() const override { return Flag(__func__); }
    bool PredictableLatencyMode() const override { return Flag(__func__); }
    bool TrafficBasedKeepAlive() const override { return Flag(__func__); }
    bool NamespaceGranularity() const override { return Flag(__func__); }
    bool SqAssociations() const override { return Flag(__func__); }
    bool UuidList() const override { return Flag(__func__); }
};

class FakeReadRecoveryLevelsSupported final
    : public FakeObject<FakeReadRecoveryLevelsSupported, IIdentifyControllerData::IReadRecoveryLevelsSupported> {
public:
    using FakeObject::FakeObject;
    bool Level0() const override { return Flag(__func__); }
    bool Level1() const override { return Flag(__func__); }
    bool Level2() const override { return Flag(__func__); }
    bool Level3() const override { return Flag(__func__); }
    bool Level4() const override { return Flag(__func__); }
    bool Level5() const override { return Flag(__func__); }
    bool Level6() const override { return Flag(__func__); }
    bool Level7() const override { return Flag(__func__); }
    bool Level8() const override { return Flag(__func__); }
    bool Level9() const override { return Flag(__func__); }
    bool Level10() const override { return Flag(__func__); }
    bool Level11() const override { return Flag(__func__); }
    bool Level12() const override { return Flag(__func__); }
    bool Level13() const override { return Flag(__func__); }
    bool Level14() const override { return Flag(__func__); }
    bool Level15() const override { return Flag(__func__); }
};

class FakeOptionalAdminCommandSupport final
    : public FakeObject<FakeOptionalAdminCommandSupport, IIdentifyControllerData::IOptionalAdminCommandSupport> {
public:
    using FakeObject::FakeObject;
    bool SecuritySendReceive() const override { return Flag(__func__); }
    bool FormatNvm() const override { return Flag(__func__); }
    bool FirmwareCommitAndImageDownload() const override { return Flag(__func__); }
    bool NamespaceManagementAndAttachment() const override { return Flag(__func__); }
    bool DeviceSelfTest() const override { return Flag(__func__); }
    bool Directives() const override { return Flag(__func__); }
    bool NvmeMiSendReceive() const override { return Flag(__func__); }
    bool VirtualizationManagement() const override { return Flag(__func__); }
    bool DoorbellBufferConfig() const override { return Flag(__func__); }
    bool GetLbaStatus() const override { return Flag(__func__); }
};

class FakeFirmwareUpdates final : public FakeObject<FakeFirmwareUpdates, IIdentifyControllerData::IFirmwareUpdates> {
public:
    using FakeObject::FakeObject;
    bool FirstSlotReadOnly() const override { return Flag(__func__); }
    std::uint8_t NumberOfFirmwareSlots() const override { return Number<std::uint8_t>(__func__); }
    bool ActivationWithoutReset() const override { return Flag(__func__); }
};

class FakeLogPageAttributes final : public FakeObject<FakeLogPageAttributes, IIdentifyControllerData::ILogPageAttributes> {
public:
    using FakeObject::FakeObject;
    bool SmartHealthLogPagePerNamespace() const override { return Flag(__func__); }
    bool CommandsSupportedAndEffectsLogPage() const override { return Flag(__func__); }
    bool ExtendedDataForGetLogPage() const override { return Flag(__func__); }
    bool TelemetryHostAndControllerInitiatedLogPages() const override { return Flag(__func__); }
    bool PersistentEventLog() const override { return Flag(__func__); }
};

class FakeAdminVendorSpecificCommandCfg final
    : public FakeObject<FakeAdminVendorSpecificCommandCfg, IIdentifyControllerData::IAdminVendorSpecificCommandCfg> {
public:
    using FakeObject::FakeObject;
    bool AllUseStandardFormat() const override { return Flag(__func__); }
};

class FakeAutoPowerStateTransitionAttributes final
    : public FakeObject<FakeAutoPowerStateTransitionAttributes, IIdentifyControllerData::IAutoPowerStateTransitionAttributes> {
public:
    using FakeObject::FakeObject;
    bool SupportsAutonomousPowerStateTransitions() const override { return Flag(__func__); }
};

class FakeReplayProtectedMemoryBlockSupport final
    : public FakeObject<FakeReplayProtectedMemoryBlockSupport, IIdentifyControllerData::IReplayProtectedMemoryBlockSupport> {
public:
    using FakeObject::FakeObject;
    std::uint8_t NumberOfRpmbUnits() const override { return Number<std::uint8_t>(__func__); }
    std::uint8_t AuthenticationMethod() const override { return Number<std::uint8_t>(__func__); }
    std::uint8_t TotalSize() const override { return Number<std::uint8_t>(__func__); }
    std::uint8_t AccessSize() const override { return Number<std::uint8_t>(__func__); }
};

class FakeDeviceSelfTestOptions final
    : public FakeObject<FakeDeviceSelfTestOptions, IIdentifyControllerData::IDeviceSelfTestOptions> {
public:
    using FakeObject::FakeObject;
    bool OnlyOneSelfTestAtATime() const override { return Flag(__func__); }
};

class FakeHostControlledThermalMgmtAttributes final
    : public FakeObject<FakeHostControlledThermalMgmtAttributes, IIdentifyControllerData::IHostControlledThermalMgmtAttributes> {
public:
    using FakeObject::FakeObject;
    bool SupportsHostControlledThermalManagement() const override { return Flag(__func__); }
};

class FakeSanitizeCap final : public FakeObject<FakeSanitizeCap, IIdentifyControllerData::ISanitizeCap> {
public:
    using FakeObject::FakeObject;
    bool CryptoErase() const override { return Flag(__func__); }
    bool BlockErase() const override { return Flag(__func__); }
    bool Overwrite() const override { return Flag(__func__); }
    bool NoDeallocateInhibited() const override { return Flag(__func__); }
    std::uint8_t NoDeallocateModifiesMediaAfterSanitize() const override { return Number<std::uint8_t>(__func__); }
};

class FakeAsymmetricNamespaceAccessCap final
    : public FakeObject<FakeAsymmetricNamespaceAccessCap, IIdentifyControllerData::IAsymmetricNamespaceAccessCap> {
public:
    using FakeObject::FakeObject;
    bool OptimizedState() const override { return Flag(__func__); }
    bool NonOptimizedState() const override { return Flag(__func__); }
    bool InaccessibleState() const override { return Flag(__func__); }
    bool PersistentLossState() const override { return Flag(__func__); }
    bool ChangeState() const override { return Flag(__func__); }
    bool AnaGroupIdDoesNotChangeWhileAttached() const override { return Flag(__func__); }
    bool SupportsNonZeroAnaGroupId() const override { return Flag(__func__); }
};

class FakeSubmissionQueueEntrySize final
    : public FakeObject<FakeSubmissionQueueEntrySize, IIdentifyControllerData::ISubmissionQueueEntrySize> {
public:
    using FakeObject::FakeObject;
    std::uint8_t RequiredEntrySize() const override { return Number<std::uint8_t>(__func__); }
    std::uint8_t MaximumEntrySize() const override { return Number<std::uint8_t>(__func__); }
};

class FakeCompletionQueueEntrySize final
    : public FakeObject<FakeCompletionQueueEntrySize, IIdentifyControllerData::ICompletionQueueEntrySize> {
public:
    using FakeObject::FakeObject;
    std::uint8_t RequiredEntrySize() const override { return Number<std::uint8_t>(__func__); }
    std::uint8_t MaximumEntrySize() const override { return Number<std::uint8_t>(__func__); }
};

class FakeOptionalNvmCommandSupport final
    : public FakeObject<FakeOptionalNvmCommandSupport, IIdentifyControllerData::IOptionalNvmCommandSupport> {
public:
    using FakeObject::FakeObject;
    bool Compare() const override { return Flag(__func__); }
    bool WriteUncorrectable() const override { return Flag(__func__); }
    bool DatasetManagement() const override { return Flag(__func__); }
    bool WriteZeroes() const override { return Flag(__func__); }
    bool SaveFieldInSetFeaturesAndGetFeatures() const override { return Flag(__func__); }
    bool Reservations() const override { return Flag(__func__); }
    bool Timestamp() const override { return Flag(__func__); }
    bool Verify() const override { return Flag(__func__); }
};

class FakeFusedOperationSupport final
    : public FakeObject<FakeFusedOperationSupport, IIdentifyControllerData::IFusedOperationSupport> {
public:
    using FakeObject::FakeObject;
    bool CompareAndWrite() const override { return Flag(__func__); }
};

class FakeFormatNvmAttributes final : public FakeObject<FakeFormatNvmAttributes, IIdentifyControllerData::IFormatNvmAttributes> {
public:
    using FakeObject::FakeObject;
    bool FormatAppliesToAllNamespaces() const override { return Flag(__func__); }
    bool SecureEraseAppliesToAllNamespaces() const override { return Flag(__func__); }
    bool CryptographicEraseSupported() const override { return Flag(__func__); }
};

class FakeVolatileWriteCache final : public FakeObject<FakeVolatileWriteCache, IIdentifyControllerData::IVolatileWriteCache> {
public:
    using FakeObject::FakeObject;
    bool Present() const override { return Flag(__func__); }
    std::uint8_t FlushBehavior() const override { return Number<std::uint8_t>(__func__); }
};

class FakeNvmVendorSpecificCommandCfg final
    : public FakeObject<FakeNvmVendorSpecificCommandCfg, IIdentifyControllerData::INvmVendorSpecificCommandCfg> {
public:
    using FakeObject::FakeObject;
    bool AllUseStandardFormat() const override { return Flag(__func__); }
};

class FakeNamespaceWriteProtectionCap final
    : public FakeObject<FakeNamespaceWriteProtectionCap, IIdentifyControllerData::INamespaceWriteProtectionCap> {
public:
    using FakeObject::FakeObject;
    bool WriteProtect() const override { return Flag(__func__); }
    bool WriteProtectUntilPowerCycle() const override { return Flag(__func__); }
    bool PermanentWriteProtect() const override { return Flag(__func__); }
};

class FakeSglSupport final : public FakeObject<FakeSglSupport, IIdentifyControllerData::ISglSupport> {
public:
    using FakeObject::FakeObject;
    std::uint8_t SupportState() const override { return Number<std::uint8_t>(__func__); }
    bool KeyedSglDataBlock() const override { return Flag(__func__); }
    bool SglBitBucket() const override { return Flag(__func__); }
    bool ByteAlignedContiguousPhysicalBufferOfMetadata() const override { return Flag(__func__); }
    bool Metadata() const override { return Flag(__func__); }
    bool MetadataPointer() const override { return Flag(__func__); }
    bool Address() const override { return Flag(__func__); }
    bool TransportSglDataBlock() const override { return Flag(__func__); }
};

class FakePowerStateDesc final : public FakeObject<FakePowerStateDesc, IIdentifyControllerData::IPowerStateDesc> {
public:
    using FakeObject::FakeObject;
    std::uint16_t MaxPower() const override { return Number<std::uint16_t>(__func__); }
    bool MaxPowerScale() const override { return Flag(__func__); }
    bool NonOperationalState() const override { return Flag(__func__); }
    std::uint32_t EntryLatency() const override { return Number<std::uint32_t>(__func__); }
    std::uint32_t ExitLatency() const override { return Number<std::uint32_t>(__func__); }
    std::uint8_t RelativeReadThroughput() const override { return Number<std::uint8_t>(__func__); }
    std::uint8_t RelativeReadLatency() const override { return Number<std::uint8_t>(__func__); }
    std::uint8_t RelativeWriteThroughput() const override { return Number<std::uint8_t>(__func__); }
    std::uint8_t RelativeWriteLatency() const override { return Number<std::uint8_t>(__func__); }
    std::uint16_t IdlePower() const override { return Number<std::uint16_t>(__func__); }
    std::uint8_t IdlePowerScale() const override { return Number<std::uint8_t>(__func__); }
    std::uint16_t ActivePower() const override { return Number<std::uint16_t>(__func__); }
    std::uint8_t ActivePowerWorkload() const override { return Number<std::uint8_t>(__func__); }
    std::uint8_t ActivePowerScale() const override { return Number<std::uint8_t>(__func__); }
};

// A vendor area that is in nobody's layout.
class FakeVendorSpecificInfo final : public FakeObject<FakeVendorSpecificInfo, IIdentifyControllerData::IVendorSpecificInfo> {
public:
    using FakeObject::FakeObject;
};

class FakeDeviceCategory final : public FakeObject<FakeDeviceCategory, ICustomizedControllerData::IDeviceCategory> {
public:
    using FakeObject::FakeObject;
    std::uint16_t Class0() const override { return Number<std::uint16_t>(__func__); }
    std::uint16_t Class1() const override { return Number<std::uint16_t>(__func__); }
    std::uint16_t Class2() const override { return Number<std::uint16_t>(__func__); }
    std::uint16_t Class11() const override { return Number<std::uint16_t>(__func__); }
};

// The vendor area in the maker's layout: freed through its first interface, read through its second.
class FakeMakerVendorSpecificInfo final
    : public FakeObject<FakeMakerVendorSpecificInfo, IIdentifyControllerData::IVendorSpecificInfo>,
      public ICustomizedControllerData {
public:
    FakeMakerVendorSpecificInfo(std::int32_t drive, const std::string&) : FakeObject(drive, "ICustomizedControllerData") {}
    const Carray<32>& EPPID() const override { return Text<Carray<32>>(__func__); }
    NominalFormFactor FormFactor() const override { return Number<NominalFormFactor>(__func__); }
    IDeviceCategory* DeviceCategory() const override { return New<FakeDeviceCategory>(__func__, "IDeviceCategory"); }
    bool SupportsSystemCrashProtection() const override { return Flag(__func__); }
    bool SupportsHostMetadataLog() const override { return Flag(__func__); }
    const Carray<16>& Guid() const override { return Text<Carray<16>>(__func__); }
    const Carray<8>& ComponentId() const override { return Text<Carray<8>>(__func__); }
};

class FakeIdentifyControllerData final : public FakeObject<FakeIdentifyControllerData, IIdentifyControllerData> {
public:
    explicit FakeIdentifyControllerData(std::int32_t drive) : FakeObject(drive, "IIdentifyControllerData") {}
    std::uint16_t VID() const override { return Number<std::uint16_t>(__func__); }
    std::uint16_t SSVID() const override { return Number<std::uint16_t>(__func__); }
    const Carray<20>& SN() const override { return Text<Carray<20>>(__func__); }
    const Carray<40>& MN() const override { return Text<Carray<40>>(__func__); }
    const Carray<8>& FR() const override { return Text<Carray<8>>(__func__); }
    std::uint8_t RAB() const override { return Number<std::uint8_t>(__func__); }
    const Array<unsigned char, 3>& IEEE() const override { return Text<Array<unsigned char, 3>>(__func__); }
    IControllerMultiPathIoAndNamespaceSharingCap* CMIC() const override
    {
        return New<FakeControllerMultiPathIoAndNamespaceSharingCap>(__func__, "IControllerMultiPathIoAndNamespaceSharingCap");
    }
    std::uint8_t MDTS() const override { return Number<std::uint8_t>(__func__); }
    std::uint16_t CNTLID() const override { return Number<std::uint16_t>(__func__); }
    IVersion* VER() const override { return New<FakeVersion>(__func__, "IVersion"); }
    std::uint32_t RTD3R() const override { return Number<std::uint32_t>(__func__); }
    std::uint32_t RTD3E() const override { return Number<std::uint32_t>(__func__); }
    IOptionalAsynchronousEventsSupported* OAES() const override
    {
        return New<FakeOptionalAsynchronousEventsSupported>(__func__, "IOptionalAsynchronousEventsSupported");
    }
    IControllerAttributes* CTRATT() const override { return New<FakeControllerAttributes>(__func__, "IControllerAttributes"); }
    IReadRecoveryLevelsSupported* RRLS() const override
    {
        return New<FakeReadRecoveryLevelsSupported>(__func__, "IReadRecoveryLevelsSupported");
    }
    std::uint8_t CNTRLTYPE() const override { return Number<std::uint8_t>(__func__); }
    const Carray<16>& FGUID() const override { return Text<Carray<16>>(__func__); }
    std::uint16_t CRDT1() const override { return Number<std::uint16_t>(__func__); }
    std::uint16_t CRDT2() const override { return Number<std::uint16_t>(__func__); }
    std::uint16_t CRDT3() const override { return Number<std::uint16_t>(__func__); }
    IOptionalAdminCommandSupport* OACS() const override
    {
        return New<FakeOptionalAdminCommandSupport>(__func__, "IOptionalAdminCommandSupport");
    }
    std::uint8_t ACL() const override { return Number<std::uint8_t>(__func__); }
    std::uint8_t AERL() const override { return Number<std::uint8_t>(__func__); }
    IFirmwareUpdates* FRMW() const override { return New<FakeFirmwareUpdates>(__func__, "IFirmwareUpdates"); }
    ILogPageAttributes* LPA() const override { return New<FakeLogPageAttributes>(__func__, "ILogPageAttributes"); }
    std::uint8_t ELPE() const override { return Number<std::uint8_t>(__func__); }
    std::uint8_t NPSS() const override { return Number<std::uint8_t>(__func__); }
    IAdminVendorSpecificCommandCfg* AVSCC() const override
    {
        return New<FakeAdminVendorSpecificCommandCfg>(__func__, "IAdminVendorSpecificCommandCfg");
    }
    IAutoPowerStateTransitionAttributes* APSTA() const override
    {
        return New<FakeAutoPowerStateTransitionAttributes>(__func__, "IAutoPowerStateTransitionAttributes");
    }
    std::uint16_t WCTEMP() const override { return Number<std::uint16_t>(__func__); }
    std::uint16_t CCTEMP() const override { return Number<std::uint16_t>(__func__); }
    std::uint16_t MTFA() const override { return Number<std::uint16_t>(__func__); }
    std::uint32_t HMPRE() const override { return Number<std::uint32_t>(__func__); }
    std::uint32_t HMMIN() const override { return Number<std::uint32_t>(__func__); }
    const Carray<16>& TNVMCAP() const override { return Text<Carray<16>>(__func__); }
    const Carray<16>& UNVMCAP() const override { return Text<Carray<16>>(__func__); }
    IReplayProtectedMemoryBlockSupport* RPMBS() const override
    {
        return New<FakeReplayProtectedMemoryBlockSupport>(__func__, "IReplayProtectedMemoryBlockSupport");
    }
    std::uint16_t EDSTT() const override { return Number<std::uint16_t>(__func__); }
    IDeviceSelfTestOptions* DSTO() const override { return New<FakeDeviceSelfTestOptions>(__func__, "IDeviceSelfTestOptions"); }
    std::uint8_t FWUG() const override { return Number<std::uint8_t>(__func__); }
    std::uint16_t KAS() const override { return Number<std::uint16_t>(__func__); }
    IHostControlledThermalMgmtAttributes* HCTMA() const override
    {
        return New<FakeHostControlledThermalMgmtAttributes>(__func__, "IHostControlledThermalMgmtAttributes");
    }
    std::uint16_t MNTMT() const override { return Number<std::uint16_t>(__func__); }
    std::uint16_t MXTMT() const override { return Number<std::uint16_t>(__func__); }
    ISanitizeCap* SANICAP() const override { return New<FakeSanitizeCap>(__func__, "ISanitizeCap"); }
    std::uint32_t HMMINDS() const override { return Number<std::uint32_t>(__func__); }
    std::uint16_t HMMAXD() const override { return Number<std::uint16_t>(__func__); }
    std::uint16_t NSETIDMAX() const override { return Number<std::uint16_t>(__func__); }
    std::uint16_t ENDGIDMAX() const override { return Number<std::uint16_t>(__func__); }
    std::uint8_t ANATT() const override { return Number<std::uint8_t>(__func__); }
    IAsymmetricNamespaceAccessCap* ANACAP() const override
    {
        return New<FakeAsymmetricNamespaceAccessCap>(__func__, "IAsymmetricNamespaceAccessCap");
    }
    std::uint32_t ANAGRPMAX() const override { return Number<std::uint32_t>(__func__); }
    std::uint32_t NANAGRPID() const override { return Number<std::uint32_t>(__func__); }
    std::uint64_t PELS() const override { return Number<std::uint64_t>(__func__); }
    ISubmissionQueueEntrySize* SQES() const override
    {
        return New<FakeSubmissionQueueEntrySize>(__func__, "ISubmissionQueueEntrySize");
    }
    ICompletionQueueEntrySize* CQES() const override
    {
        return New<FakeCompletionQueueEntrySize>(__func__, "ICompletionQueueEntrySize");
    }
    std::uint16_t MAXCMD() const override { return Number<std::uint16_t>(__func__); }
    std::uint32_t NN() const override { return Number<std::uint32_t>(__func__); }
    IOptionalNvmCommandSupport* ONCS() const override
    {
        return New<FakeOptionalNvmCommandSupport>(__func__, "IOptionalNvmCommandSupport");
    }
    IFusedOperationSupport* FUSES() const override { return New<FakeFusedOperationSupport>(__func__, "IFusedOperationSupport"); }
    IFormatNvmAttributes* FNA() const override { return New<FakeFormatNvmAttributes>(__func__, "IFormatNvmAttributes"); }
    IVolatileWriteCache* VWC() const override { return New<FakeVolatileWriteCache>(__func__, "IVolatileWriteCache"); }
    std::uint16_t AWUN() const override { return Number<std::uint16_t>(__func__); }
    std::uint16_t AWUPF() const override { return Number<std::uint16_t>(__func__); }
    INvmVendorSpecificCommandCfg* NVSCC() const override
    {
        return New<FakeNvmVendorSpecificCommandCfg>(__func__, "INvmVendorSpecificCommandCfg");
    }
    INamespaceWriteProtectionCap* NWPC() const override
    {
        return New<FakeNamespaceWriteProtectionCap>(__func__, "INamespaceWriteProtectionCap");
    }
    std::uint16_t ACWU() const override { return Number<std::uint16_t>(__func__); }
    ISglSupport* SGLS() const override { return New<FakeSglSupport>(__func__, "ISglSupport"); }
    std::uint32_t MNAN() const override { return Number<std::uint32_t>(__func__); }
    const Carray<256>& SUBNQN() const override { return Text<Carray<256>>(__func__); }
    IPowerStateDesc* PSD(std::uint32_t index) const override { return New<FakePowerStateDesc>(__func__, index, "IPowerStateDesc"); }
    IVendorSpecificInfo* VendorSpecific() const override
    {
        if (Drive().makerLayout) {
            return New<FakeMakerVendorSpecificInfo>(__func__, "IVendorSpecificInfo");
        }
        return New<FakeVendorSpecificInfo>(__func__, "IVendorSpecificInfo");
    }
};

}  // namespace

IIdentifyControllerData* NewFakeIdentifyControllerData(std::int32_t drive) { return new FakeIdentifyControllerData(drive); }

}  // namespace orbis::fakes
