#include "NvmeDataGetter.h"
#include "NvmeMapping.h"

// The capabilities of the Identify Controller data structure, one function for each sub-message.
namespace Veyra::Orbis::Plugins {

using NvmeMapping::Map;

datatypes::NvmeControllerMultiPathIoAndNamespaceSharingCap* NvmeDataGetter::getNvmeControllerMultiPathIoAndNamespaceSharingCap(
    const IIdentifyControllerData* data, Arena& arena)
{
    return Map<datatypes::NvmeControllerMultiPathIoAndNamespaceSharingCap>(data->CMIC(), arena, [](auto& to, const auto& from) {
        to.mutable_has_multiple_ports()->set_value(from.HasMultiplePorts());
        to.mutable_has_multiple_controllers()->set_value(from.HasMultipleControllers());
        to.mutable_sriov_or_pci()->set_value(from.IsSriovVirtualFunction());
        to.mutable_support_asymmetric_namespace_access_reporting()->set_value(from.SupportsAnaReporting());
    });
}

datatypes::NvmeVersion* NvmeDataGetter::getVersion(const IIdentifyControllerData* data, Arena& arena)
{
    return Map<datatypes::NvmeVersion>(data->VER(), arena, [](auto& to, const auto& from) {
        to.mutable_major()->set_value(from.Major());
        to.mutable_minor()->set_value(from.Minor());
        to.mutable_tertiary()->set_value(from.Tertiary());
    });
}

datatypes::NvmeOptionalAsynchronousEventsSupported* NvmeDataGetter::getOptionalAsynchronousEventsSupported(
    const IIdentifyControllerData* data, Arena& arena)
{
    return Map<datatypes::NvmeOptionalAsynchronousEventsSupported>(data->OAES(), arena, [](auto& to, const auto& from) {
        to.mutable_support_namespace_attribute_notice_and_changed_namespace_list()->set_value(
            from.NamespaceAttributeNoticesAndChangedNamespaceList());
        to.mutable_support_firmware_activation_notice()->set_value(from.FirmwareActivationNotices());
        to.mutable_support_asymmetric_namespace_access_change_notice()->set_value(from.AnaChangeNotices());
        to.mutable_support_predictable_latency_event_aggregate_log_change_notice()->set_value(
            from.PredictableLatencyEventAggregateLogChangeNotices());
        to.mutable_support_lba_status_info_notice()->set_value(from.LbaStatusInformationNotices());
        to.mutable_support_endurance_group_event_aggregate_log_page_change_notice()->set_value(
            from.EnduranceGroupEventAggregateLogPageChangeNotices());
    });
}

datatypes::NvmeReadRecoveryLevelsSupported* NvmeDataGetter::getNvmeReadRecoveryLevelsSupported(const IIdentifyControllerData* data,
                                                                                               Arena& arena)
{
    return Map<datatypes::NvmeReadRecoveryLevelsSupported>(data->RRLS(), arena, [](auto& to, const auto& from) {
        to.mutable_level0()->set_value(from.Level0());
        to.mutable_level1()->set_value(from.Level1());
        to.mutable_level2()->set_value(from.Level2());
        to.mutable_level3()->set_value(from.Level3());
        to.mutable_level4()->set_value(from.Level4());
        to.mutable_level5()->set_value(from.Level5());
        to.mutable_level6()->set_value(from.Level6());
        to.mutable_level7()->set_value(from.Level7());
        to.mutable_level8()->set_value(from.Level8());
        to.mutable_level9()->set_value(from.Level9());
        to.mutable_level10()->set_value(from.Level10());
        to.mutable_level11()->set_value(from.Level11());
        to.mutable_level12()->set_value(from.Level12());
        to.mutable_level13()->set_value(from.Level13());
        to.mutable_level14()->set_value(from.Level14());
        to.mutable_level15()->set_value(from.Level15());
    });
}

datatypes::NvmeControllerAttributes* NvmeDataGetter::getControllerAttributes(const IIdentifyControllerData* data, Arena& arena)
{
    return Map<datatypes::NvmeControllerAttributes>(data->CTRATT(), arena, [](auto& to, const auto& from) {
        to.mutable_support128_bit_host_id()->set_value(from.HostIdentifier128Bit());
        to.mutable_support_non_operational_power_state_permissive_mode()->set_value(from.NonOperationalPowerStatePermissiveMode());
        to.mutable_support_nvm_sets()->set_value(from.NvmSets());
        to.mutable_support_read_recovery_levels()->set_value(from.ReadRecoveryLevels());
        to.mutable_support_endurance_groups()->set_value(from.EnduranceGroups());
        to.mutable_support_predictable_latency_mode()->set_value(from.PredictableLatencyMode());
        to.mutable_support_traffic_based_keep_alive()->set_value(from.TrafficBasedKeepAlive());
        to.mutable_support_namespace_granularity()->set_value(from.NamespaceGranularity());
        to.mutable_support_sq_associations()->set_value(from.SqAssociations());
        to.mutable_support_uuid_list()->set_value(from.UuidList());
    });
}

datatypes::NvmeOptionalAdminCommandSupport* NvmeDataGetter::getNvmeOptionalAdminCommandSupport(const IIdentifyControllerData* data,
                                                                                               Arena& arena)
{
    return Map<datatypes::NvmeOptionalAdminCommandSupport>(data->OACS(), arena, [](auto& to, const auto& from) {
        // Intentional: the self-test is read and written here and again at its position below.
        to.mutable_support_device_self_test()->set_value(from.DeviceSelfTest());
        to.mutable_support_security_send_security_receive()->set_value(from.SecuritySendReceive());
        to.mutable_support_format_nvm()->set_value(from.FormatNvm());
        to.mutable_support_firmware_activate_firmware_download()->set_value(from.FirmwareCommitAndImageDownload());
        to.mutable_support_namespace_mgmt_and_attachment()->set_value(from.NamespaceManagementAndAttachment());
        to.mutable_support_device_self_test()->set_value(from.DeviceSelfTest());
        to.mutable_support_directive_send_and_directive_receive()->set_value(from.Directives());
        to.mutable_support_nvme_mi_send_and_nvme_mi_receive()->set_value(from.NvmeMiSendReceive());
        to.mutable_support_virtualization_mgmt()->set_value(from.VirtualizationManagement());
        to.mutable_support_doorbell_buffer_config()->set_value(from.DoorbellBufferConfig());
        to.mutable_support_get_lba_status()->set_value(from.GetLbaStatus());
    });
}

datatypes::NvmeFirmwareUpdates* NvmeDataGetter::getNvmeFirmwareUpdates(const IIdentifyControllerData* data, Arena& arena)
{
    return Map<datatypes::NvmeFirmwareUpdates>(data->FRMW(), arena, [](auto& to, const auto& from) {
        to.mutable_first_firmware_slot_read_only()->set_value(from.FirstSlotReadOnly());
        to.mutable_number_of_firmware_slots()->set_value(from.NumberOfFirmwareSlots());
        to.mutable_support_firmware_activation_without_reset()->set_value(from.ActivationWithoutReset());
    });
}

datatypes::NvmeLogPageAttributes* NvmeDataGetter::getLogPageAttributes(const IIdentifyControllerData* data, Arena& arena)
{
    return Map<datatypes::NvmeLogPageAttributes>(data->LPA(), arena, [](auto& to, const auto& from) {
        to.mutable_support_health_info_log_page()->set_value(from.SmartHealthLogPagePerNamespace());
        to.mutable_support_commands_supported_and_effects_log_page()->set_value(from.CommandsSupportedAndEffectsLogPage());
        to.mutable_support_extended_data_for_get_log_page()->set_value(from.ExtendedDataForGetLogPage());
        to.mutable_support_telemetry_host_and_controller_initiated_log_page()->set_value(
            from.TelemetryHostAndControllerInitiatedLogPages());
        to.mutable_support_persistent_event_log()->set_value(from.PersistentEventLog());
    });
}

datatypes::NvmeAdminVendorSpecificCommandCfg* NvmeDataGetter::getAdminVendorSpecificCommandCfg(const IIdentifyControllerData* data,
                                                                                               Arena& arena)
{
    return Map<datatypes::NvmeAdminVendorSpecificCommandCfg>(data->AVSCC(), arena, [](auto& to, const auto& from) {
        to.mutable_all_compliant()->set_value(from.AllUseStandardFormat());
    });
}

datatypes::NvmeAutoPowerStateTransitionAttributes* NvmeDataGetter::getAutoPowerStateTransitionAttributes(
    const IIdentifyControllerData* data, Arena& arena)
{
    return Map<datatypes::NvmeAutoPowerStateTransitionAttributes>(data->APSTA(), arena, [](auto& to, const auto& from) {
        to.mutable_support_auto_power_state_transitions()->set_value(from.SupportsAutonomousPowerStateTransitions());
    });
}

datatypes::NvmeReplayProtectedMemoryBlockSupport* NvmeDataGetter::getReplayProtectedMemoryBlockSupport(
    const IIdentifyControllerData* data, Arena& arena)
{
    return Map<datatypes::NvmeReplayProtectedMemoryBlockSupport>(data->RPMBS(), arena, [](auto& to, const auto& from) {
        to.mutable_number_of_rpmb_units()->set_value(from.NumberOfRpmbUnits());
        to.mutable_authentication_method()->set_value(from.AuthenticationMethod());
        to.mutable_total_size()->set_value(from.TotalSize());
        to.mutable_access_size()->set_value(from.AccessSize());
    });
}

datatypes::NvmeDeviceSelfTestOptions* NvmeDataGetter::getDeviceSelfTestOptions(const IIdentifyControllerData* data, Arena& arena)
{
    return Map<datatypes::NvmeDeviceSelfTestOptions>(data->DSTO(), arena, [](auto& to, const auto& from) {
        to.mutable_support_only_one_device()->set_value(from.OnlyOneSelfTestAtATime());
    });
}

datatypes::NvmeHostControlledThermalMgmtAttributes* NvmeDataGetter::getHostControlledThermalMgmtAttributes(
    const IIdentifyControllerData* data, Arena& arena)
{
    return Map<datatypes::NvmeHostControlledThermalMgmtAttributes>(data->HCTMA(), arena, [](auto& to, const auto& from) {
        to.mutable_support_host_controlled_thermal_mgmt()->set_value(from.SupportsHostControlledThermalManagement());
    });
}

datatypes::NvmeSanitizeCap* NvmeDataGetter::getSanitizeCap(const IIdentifyControllerData* data, Arena& arena)
{
    return Map<datatypes::NvmeSanitizeCap>(data->SANICAP(), arena, [](auto& to, const auto& from) {
        to.mutable_support_crypto_erase()->set_value(from.CryptoErase());
        to.mutable_support_block_erase()->set_value(from.BlockErase());
        to.mutable_support_overwrite()->set_value(from.Overwrite());
        to.mutable_no_deallocate_inhibited()->set_value(from.NoDeallocateInhibited());
        to.mutable_no_deallocate_modifies_media_after_sanitize()->set_value(from.NoDeallocateModifiesMediaAfterSanitize());
    });
}

datatypes::NvmeAsymmetricNamespaceAccessCap* NvmeDataGetter::getAsymmetricNamespaceAccessCap(const IIdentifyControllerData* data,
                                                                                             Arena& arena)
{
    return Map<datatypes::NvmeAsymmetricNamespaceAccessCap>(data->ANACAP(), arena, [](auto& to, const auto& from) {
        to.mutable_report_ana_optimized_state()->set_value(from.OptimizedState());
        to.mutable_report_ana_non_optimized_state()->set_value(from.NonOptimizedState());
        to.mutable_report_ana_inaccessible_state()->set_value(from.InaccessibleState());
        to.mutable_report_ana_persistent_loss_state()->set_value(from.PersistentLossState());
        to.mutable_report_ana_change_state()->set_value(from.ChangeState());
        to.mutable_immutable_anagrpid()->set_value(from.AnaGroupIdDoesNotChangeWhileAttached());
        to.mutable_support_non_zero_anagrpid()->set_value(from.SupportsNonZeroAnaGroupId());
    });
}

datatypes::NvmeSubmissionQueueEntrySize* NvmeDataGetter::getSubmissionQueueEntrySize(const IIdentifyControllerData* data,
                                                                                     Arena& arena)
{
    return Map<datatypes::NvmeSubmissionQueueEntrySize>(data->SQES(), arena, [](auto& to, const auto& from) {
        to.mutable_required_entry_size()->set_value(from.RequiredEntrySize());
        to.mutable_max_entry_size()->set_value(from.MaximumEntrySize());
    });
}

datatypes::NvmeCompletionQueueEntrySize* NvmeDataGetter::getCompletionQueueEntrySize(const IIdentifyControllerData* data,
                                                                                     Arena& arena)
{
    return Map<datatypes::NvmeCompletionQueueEntrySize>(data->CQES(), arena, [](auto& to, const auto& from) {
        to.mutable_required_entry_size()->set_value(from.RequiredEntrySize());
        to.mutable_max_entry_size()->set_value(from.MaximumEntrySize());
    });
}

datatypes::NvmeOptionalNvmCommandSupport* NvmeDataGetter::getOptionalNvmCommandSupport(const IIdentifyControllerData* data,
                                                                                       Arena& arena)
{
    return Map<datatypes::NvmeOptionalNvmCommandSupport>(data->ONCS(), arena, [](auto& to, const auto& from) {
        to.mutable_support_compare()->set_value(from.Compare());
        to.mutable_support_write_uncorrectable()->set_value(from.WriteUncorrectable());
        to.mutable_support_data_set_mgmt()->set_value(from.DatasetManagement());
        to.mutable_support_write_zeroes()->set_value(from.WriteZeroes());
        to.mutable_support_set_features_save()->set_value(from.SaveFieldInSetFeaturesAndGetFeatures());
        to.mutable_support_reservations()->set_value(from.Reservations());
        to.mutable_support_timestamp()->set_value(from.Timestamp());
        to.mutable_support_verify()->set_value(from.Verify());
    });
}

datatypes::NvmeFusedOperationSupport* NvmeDataGetter::getFusedOperationSupport(const IIdentifyControllerData* data, Arena& arena)
{
    return Map<datatypes::NvmeFusedOperationSupport>(data->FUSES(), arena, [](auto& to, const auto& from) {
        to.mutable_support_compare_write()->set_value(from.CompareAndWrite());
    });
}

datatypes::NvmeFormatNvmAttributes* NvmeDataGetter::getFormatNvmAttributes(const IIdentifyControllerData* data, Arena& arena)
{
    return Map<datatypes::NvmeFormatNvmAttributes>(data->FNA(), arena, [](auto& to, const auto& from) {
        to.mutable_format_all_namespaces()->set_value(from.FormatAppliesToAllNamespaces());
        to.mutable_secure_erase_all_namespaces()->set_value(from.SecureEraseAppliesToAllNamespaces());
        to.mutable_support_crypto_erase()->set_value(from.CryptographicEraseSupported());
    });
}

datatypes::NvmeVolatileWriteCache* NvmeDataGetter::getVolatileWriteCache(const IIdentifyControllerData* data, Arena& arena)
{
    return Map<datatypes::NvmeVolatileWriteCache>(data->VWC(), arena, [](auto& to, const auto& from) {
        to.mutable_has_volatile_write_cache()->set_value(from.Present());
        to.mutable_flush_behavior()->set_value(from.FlushBehavior());
    });
}

datatypes::NvmeNvmVendorSpecificCommandCfg* NvmeDataGetter::getNvmVendorSpecificCommandCfg(const IIdentifyControllerData* data,
                                                                                           Arena& arena)
{
    return Map<datatypes::NvmeNvmVendorSpecificCommandCfg>(data->NVSCC(), arena, [](auto& to, const auto& from) {
        to.mutable_all_compliant()->set_value(from.AllUseStandardFormat());
    });
}

datatypes::NvmeNamespaceWriteProtectionCap* NvmeDataGetter::getNamespaceWriteProtectionCap(const IIdentifyControllerData* data,
                                                                                           Arena& arena)
{
    return Map<datatypes::NvmeNamespaceWriteProtectionCap>(data->NWPC(), arena, [](auto& to, const auto& from) {
        to.mutable_support_write_protect()->set_value(from.WriteProtect());
        to.mutable_support_write_protect_until_power_cycle()->set_value(from.WriteProtectUntilPowerCycle());
        to.mutable_support_permanent_write_protect()->set_value(from.PermanentWriteProtect());
    });
}

datatypes::NvmeSglSupport* NvmeDataGetter::getSglSupport(const IIdentifyControllerData* data, Arena& arena)
{
    return Map<datatypes::NvmeSglSupport>(data->SGLS(), arena, [](auto& to, const auto& from) {
        to.mutable_sgl_support_state()->set_value(from.SupportState());
        to.mutable_support_keyed_sgl_data_block()->set_value(from.KeyedSglDataBlock());
        to.mutable_support_sgl_bit_bucket()->set_value(from.SglBitBucket());
        to.mutable_support_byte_aligned_contiguous_physical_buffer()->set_value(
            from.ByteAlignedContiguousPhysicalBufferOfMetadata());
        to.mutable_support_metadata()->set_value(from.Metadata());
        to.mutable_support_metadata_pointer()->set_value(from.MetadataPointer());
        to.mutable_support_address()->set_value(from.Address());
        to.mutable_support_transport_sgl_data_block()->set_value(from.TransportSglDataBlock());
    });
}

datatypes::NvmePowerStateDesc* NvmeDataGetter::getPowerStateDesc(const IIdentifyControllerData* data, std::uint32_t index,
                                                                 Arena& arena)
{
    return Map<datatypes::NvmePowerStateDesc>(data->PSD(index), arena, [](auto& to, const auto& from) {
        to.mutable_max_power()->set_value(from.MaxPower());
        to.mutable_max_power_scale()->set_value(from.MaxPowerScale());
        to.mutable_non_operational_state()->set_value(from.NonOperationalState());
        to.mutable_entry_latency()->set_value(from.EntryLatency());
        to.mutable_exit_latency()->set_value(from.ExitLatency());
        to.mutable_relative_read_throughput()->set_value(from.RelativeReadThroughput());
        to.mutable_relative_read_latency()->set_value(from.RelativeReadLatency());
        to.mutable_relative_write_throughput()->set_value(from.RelativeWriteThroughput());
        to.mutable_relative_write_latency()->set_value(from.RelativeWriteLatency());
        to.mutable_idle_power()->set_value(from.IdlePower());
        to.mutable_idle_power_scale()->set_value(from.IdlePowerScale());
        to.mutable_active_power()->set_value(from.ActivePower());
        to.mutable_active_power_workload()->set_value(from.ActivePowerWorkload());
        to.mutable_active_power_scale()->set_value(from.ActivePowerScale());
    });
}

}  // namespace Veyra::Orbis::Plugins
