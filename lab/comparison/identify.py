"""Identify Controller, field by field (NVM Express Base Specification 1.4, figure 247)."""

from .peers import array, counter, flags, key, raw_bytes, text

DATATYPE = "NvmeIdentifyControllerData"


def id_ctrl(name, **how):
    return key("id-ctrl-json", name, **how)


def smartctl(path):
    return key("smartctl", path)


def organisation(peer):
    """The OUI in hexadecimal: whole bytes, those of zero in front left out, at least one."""
    return peer.then(lambda number: number.to_bytes(max(1, (number.bit_length() + 7) // 8), "big").hex().upper())


FIELDS = {
    "pciVendorId": [id_ctrl("vid"), smartctl("nvme_pci_vendor.id")],
    "pciSubsystemVendorId": [id_ctrl("ssvid"), smartctl("nvme_pci_vendor.subsystem_id")],
    "serialNumber": [text(id_ctrl("sn")), smartctl("serial_number")],
    "modelNumber": [text(id_ctrl("mn")), smartctl("model_name")],
    "firmwareRevision": [text(id_ctrl("fr")), smartctl("firmware_version")],
    "recommendedArbitrationBurst": [id_ctrl("rab")],
    "ieeeOuiIdentifier": [organisation(id_ctrl("ieee")), organisation(smartctl("nvme_ieee_oui_identifier"))],
    "maxDataTransferSize": [id_ctrl("mdts")],
    "controllerId": [id_ctrl("cntlid"), smartctl("nvme_controller_id")],
    "rtd3ResumeLatency": [id_ctrl("rtd3r")],
    "rtd3EntryLatency": [id_ctrl("rtd3e")],
    "controllerType": [id_ctrl("cntrltype")],
    "fruGloballyUniqueIdentifier": [array(raw_bytes("id-ctrl-raw", 112, 16))],
    "commandRetryDelayTime1": [id_ctrl("crdt1")],
    "commandRetryDelayTime2": [id_ctrl("crdt2")],
    "commandRetryDelayTime3": [id_ctrl("crdt3")],
    "abortCommandLimit": [id_ctrl("acl")],
    "asynchronousEventRequestLimit": [id_ctrl("aerl")],
    "errorLogPageEntries": [id_ctrl("elpe")],
    "numberOfPowerStatesSupport": [id_ctrl("npss")],
    "warningCompositeTemperatureThreshold": [id_ctrl("wctemp")],
    "criticalCompositeTemperatureThreshold": [id_ctrl("cctemp")],
    "maxTimeForFirmwareActivation": [id_ctrl("mtfa")],
    "hostMemoryBufferPreferredSize": [id_ctrl("hmpre")],
    "hostMemoryBufferMinSize": [id_ctrl("hmmin")],
    "totalNvmCapacity": [counter(id_ctrl("tnvmcap", read=int))],
    "unallocatedNvmCapacity": [counter(id_ctrl("unvmcap", read=int))],
    "extendedDeviceSelfTestTime": [id_ctrl("edstt")],
    "firmwareUpdateGranularity": [id_ctrl("fwug")],
    "keepAliveSupport": [id_ctrl("kas")],
    "minThermalMgmtTemperature": [id_ctrl("mntmt")],
    "maxThermalMgmtTemperature": [id_ctrl("mxtmt")],
    "hostMemoryBufferMinDescriptorEntrySize": [id_ctrl("hmminds")],
    "hostMemoryMaxDescriptorsEntries": [id_ctrl("hmmaxd")],
    "nvmSetIdentifierMax": [id_ctrl("nsetidmax")],
    "enduranceGroupIdentifierMax": [id_ctrl("endgidmax")],
    "anaTransitionTime": [id_ctrl("anatt")],
    "anaGroupIdentifierMax": [id_ctrl("anagrpmax")],
    "numberOfAnaGroupIdentifiers": [id_ctrl("nanagrpid")],
    "persistentEventLogSize": [id_ctrl("pels")],
    "maxOutstandingCommands": [id_ctrl("maxcmd")],
    "numberOfNamespaces": [id_ctrl("nn"), smartctl("nvme_number_of_namespaces")],
    "atomicWriteUnitNormal": [id_ctrl("awun")],
    "atomicWriteUnitPowerFail": [id_ctrl("awupf")],
    "atomicCompareAndWriteUnit": [id_ctrl("acwu")],
    "maxNumberOfAllowedNamespaces": [id_ctrl("mnan")],
    "nvmSubsystemNvmeQualifiedName": [text(id_ctrl("subnqn"))],
    **flags("controllerMultiPathIoAndNamespaceSharingCap", id_ctrl("cmic"), {
        "hasMultiplePorts": 0,
        "hasMultipleControllers": 1,
        "sriovOrPci": 2,
        "supportAsymmetricNamespaceAccessReporting": 3,
    }),
    **flags("version", id_ctrl("ver"), {"major": (31, 16), "minor": (15, 8), "tertiary": (7, 0)}),
    **flags("optionalAsynchronousEventsSupported", id_ctrl("oaes"), {
        "supportNamespaceAttributeNoticeAndChangedNamespaceList": 8,
        "supportFirmwareActivationNotice": 9,
        "supportAsymmetricNamespaceAccessChangeNotice": 11,
        "supportPredictableLatencyEventAggregateLogChangeNotice": 12,
        "supportLbaStatusInfoNotice": 13,
        "supportEnduranceGroupEventAggregateLogPageChangeNotice": 14,
    }),
    **flags("controllerAttributes", id_ctrl("ctratt"), {
        "support128BitHostId": 0,
        "supportNonOperationalPowerStatePermissiveMode": 1,
        "supportNvmSets": 2,
        "supportReadRecoveryLevels": 3,
        "supportEnduranceGroups": 4,
        "supportPredictableLatencyMode": 5,
        "supportTrafficBasedKeepAlive": 6,
        "supportNamespaceGranularity": 7,
        "supportSqAssociations": 8,
        "supportUuidList": 9,
    }),
    **flags("readRecoveryLevelsSupported", id_ctrl("rrls"), {f"level{level}": level for level in range(16)}),
    **flags("optionalAdminCommandSupport", id_ctrl("oacs"), {
        "supportSecuritySendSecurityReceive": 0,
        "supportFormatNvm": 1,
        "supportFirmwareActivateFirmwareDownload": 2,
        "supportNamespaceMgmtAndAttachment": 3,
        "supportDeviceSelfTest": 4,
        "supportDirectiveSendAndDirectiveReceive": 5,
        "supportNvmeMiSendAndNvmeMiReceive": 6,
        "supportVirtualizationMgmt": 7,
        "supportDoorbellBufferConfig": 8,
        "supportGetLbaStatus": 9,
    }),
    **flags("firmwareUpdates", id_ctrl("frmw"), {
        "firstFirmwareSlotReadOnly": 0,
        "numberOfFirmwareSlots": (3, 1),
        "supportFirmwareActivationWithoutReset": 4,
    }),
    **flags("logPageAttributes", id_ctrl("lpa"), {
        "supportHealthInfoLogPage": 0,
        "supportCommandsSupportedAndEffectsLogPage": 1,
        "supportExtendedDataForGetLogPage": 2,
        "supportTelemetryHostAndControllerInitiatedLogPage": 3,
        "supportPersistentEventLog": 4,
    }),
    **flags("adminVendorSpecificCommandCfg", id_ctrl("avscc"), {"allCompliant": 0}),
    **flags("autoPowerStateTransitionAttributes", id_ctrl("apsta"), {"supportAutoPowerStateTransitions": 0}),
    **flags("replayProtectedMemoryBlockSupport", id_ctrl("rpmbs"), {
        "numberOfRpmbUnits": (2, 0),
        "authenticationMethod": (5, 3),
        "totalSize": (23, 16),
        "accessSize": (31, 24),
    }),
    **flags("deviceSelfTestOptions", id_ctrl("dsto"), {"supportOnlyOneDevice": 0}),
    **flags("hostControlledThermalMgmtAttributes", id_ctrl("hctma"), {"supportHostControlledThermalMgmt": 0}),
    **flags("sanitizeCap", id_ctrl("sanicap"), {
        "supportCryptoErase": 0,
        "supportBlockErase": 1,
        "supportOverwrite": 2,
        "noDeallocateInhibited": 29,
        "noDeallocateModifiesMediaAfterSanitize": (31, 30),
    }),
    **flags("asymmetricNamespaceAccessCap", id_ctrl("anacap"), {
        "reportAnaOptimizedState": 0,
        "reportAnaNonOptimizedState": 1,
        "reportAnaInaccessibleState": 2,
        "reportAnaPersistentLossState": 3,
        "reportAnaChangeState": 4,
        "immutableAnagrpid": 6,
        "supportNonZeroAnagrpid": 7,
    }),
    **flags("submissionQueueEntrySize", id_ctrl("sqes"), {"requiredEntrySize": (3, 0), "maxEntrySize": (7, 4)}),
    **flags("completionQueueEntrySize", id_ctrl("cqes"), {"requiredEntrySize": (3, 0), "maxEntrySize": (7, 4)}),
    **flags("optionalNvmCommandSupport", id_ctrl("oncs"), {
        "supportCompare": 0,
        "supportWriteUncorrectable": 1,
        "supportDataSetMgmt": 2,
        "supportWriteZeroes": 3,
        "supportSetFeaturesSave": 4,
        "supportReservations": 5,
        "supportTimestamp": 6,
        "supportVerify": 7,
    }),
    **flags("fusedOperationSupport", id_ctrl("fuses"), {"supportCompareWrite": 0}),
    **flags("formatNvmAttributes", id_ctrl("fna"), {
        "formatAllNamespaces": 0,
        "secureEraseAllNamespaces": 1,
        "supportCryptoErase": 2,
    }),
    **flags("volatileWriteCache", id_ctrl("vwc"), {"hasVolatileWriteCache": 0, "flushBehavior": (2, 1)}),
    # nvme-cli has the later name: the byte became common to all command sets.
    **flags("nvmVendorSpecificCommandCfg", id_ctrl("icsvscc"), {"allCompliant": 0}),
    **flags("namespaceWriteProtectionCap", id_ctrl("nwpc"), {
        "supportWriteProtect": 0,
        "supportWriteProtectUntilPowerCycle": 1,
        "supportPermanentWriteProtect": 2,
    }),
    **flags("sglSupport", id_ctrl("sgls"), {
        "sglSupportState": (1, 0),
        "supportKeyedSglDataBlock": 2,
        "supportSglBitBucket": 16,
        "supportByteAlignedContiguousPhysicalBuffer": 17,
        "supportMetadata": 18,
        "supportMetadataPointer": 19,
        "supportAddress": 20,
        "supportTransportSglDataBlock": 21,
    }),
}


def power_state(index):
    def state(name):
        return key("id-ctrl-json", "psds", read=lambda states: states[index][name]).named(f"psd{index} {name}")

    return {f"powerStateDesc[{index}].{name}": [peer] for name, peer in {
        "maxPower": state("max_power"),
        # nvme-cli's "flags" are the byte that holds both bits.
        "maxPowerScale": state("flags").bit(0),
        "nonOperationalState": state("flags").bit(1),
        "entryLatency": state("entry_lat"),
        "exitLatency": state("exit_lat"),
        "relativeReadThroughput": state("read_tput"),
        "relativeReadLatency": state("read_lat"),
        "relativeWriteThroughput": state("write_tput"),
        "relativeWriteLatency": state("write_lat"),
        "idlePower": state("idle_power"),
        "idlePowerScale": state("idle_scale"),
        "activePower": state("active_power"),
        "activePowerWorkload": state("active_power_work"),
        "activePowerScale": state("active_scale"),
    }.items()}


def fields(readings):
    """All of them; NPSS is zero-based, so a drive has one power state more than it says."""
    states = range(readings["id-ctrl-json"]["npss"] + 1)
    return FIELDS | {path: peers for index in states for path, peers in power_state(index).items()}


# No drive of the guest has a maker's vendor area, so the only right answer is that these messages are not there.
ABSENT_BECAUSE = "no drive of the guest has a maker's vendor area"
ABSENT = [
    "customizedControllerData.eppid",
    "customizedControllerData.formFactor",
    "customizedControllerData.supportSystemCrashProtection",
    "customizedControllerData.supportHostMetadataLog",
    "customizedControllerData.guid",
    "customizedControllerData.componentId",
    "deviceCategory.class0",
    "deviceCategory.class1",
    "deviceCategory.class2",
    "deviceCategory.class11",
]
