#include <cstddef>
#include <cstdint>
#include <string>

#include "MessageArena.h"
#include "NvmeDataGetter.h"
#include "NvmeMapping.h"
#include "VendorCast.h"

// The Identify Controller data structure: its own fields, its capabilities, its power states and the maker's area, in that order.
namespace Veyra::Orbis::Plugins {
namespace {

using NvmeMapping::Bytes;
using NvmeMapping::Map;
using NvmeMapping::TakeOwnership;
using NvmeMapping::Text;
using veyra::sondix::nvme::ICustomizedControllerData;
using veyra::sondix::nvme::IIdentifyControllerData;

constexpr std::size_t kEppidCharacters = 20;

void MapOwnFields(datatypes::NvmeIdentifyControllerData& to, const IIdentifyControllerData& from)
{
    to.mutable_pci_vendor_id()->set_value(from.VID());
    to.mutable_pci_subsystem_vendor_id()->set_value(from.SSVID());
    to.set_serial_number(Text(from.SN()));
    to.set_model_number(Text(from.MN()));
    to.set_firmware_revision(Text(from.FR()));
    to.mutable_recommended_arbitration_burst()->set_value(from.RAB());
    to.set_ieee_oui_identifier(from.IEEE().Hex());
    to.mutable_max_data_transfer_size()->set_value(from.MDTS());
    to.mutable_controller_id()->set_value(from.CNTLID());
    to.mutable_rtd3_resume_latency()->set_value(from.RTD3R());
    to.mutable_rtd3_entry_latency()->set_value(from.RTD3E());
    to.mutable_controller_type()->set_value(from.CNTRLTYPE());
    to.set_fru_globally_unique_identifier(Bytes(from.FGUID()));
    to.mutable_command_retry_delay_time1()->set_value(from.CRDT1());
    to.mutable_command_retry_delay_time2()->set_value(from.CRDT2());
    to.mutable_command_retry_delay_time3()->set_value(from.CRDT3());
    to.mutable_abort_command_limit()->set_value(from.ACL());
    to.mutable_asynchronous_event_request_limit()->set_value(from.AERL());
    to.mutable_error_log_page_entries()->set_value(from.ELPE());
    to.mutable_number_of_power_states_support()->set_value(from.NPSS());
    to.mutable_warning_composite_temperature_threshold()->set_value(from.WCTEMP());
    to.mutable_critical_composite_temperature_threshold()->set_value(from.CCTEMP());
    to.mutable_max_time_for_firmware_activation()->set_value(from.MTFA());
    to.mutable_host_memory_buffer_preferred_size()->set_value(from.HMPRE());
    to.mutable_host_memory_buffer_min_size()->set_value(from.HMMIN());
    to.set_total_nvm_capacity(Bytes(from.TNVMCAP()));
    to.set_unallocated_nvm_capacity(Bytes(from.UNVMCAP()));
    to.mutable_extended_device_self_test_time()->set_value(from.EDSTT());
    to.mutable_firmware_update_granularity()->set_value(from.FWUG());
    to.mutable_keep_alive_support()->set_value(from.KAS());
    to.mutable_min_thermal_mgmt_temperature()->set_value(from.MNTMT());
    to.mutable_max_thermal_mgmt_temperature()->set_value(from.MXTMT());
    to.mutable_host_memory_buffer_min_descriptor_entry_size()->set_value(from.HMMINDS());
    to.mutable_host_memory_max_descriptors_entries()->set_value(from.HMMAXD());
    to.mutable_nvm_set_identifier_max()->set_value(from.NSETIDMAX());
    to.mutable_endurance_group_identifier_max()->set_value(from.ENDGIDMAX());
    to.mutable_ana_transition_time()->set_value(from.ANATT());
    to.mutable_ana_group_identifier_max()->set_value(from.ANAGRPMAX());
    to.mutable_number_of_ana_group_identifiers()->set_value(from.NANAGRPID());
    to.mutable_persistent_event_log_size()->set_value(from.PELS());
    to.mutable_max_outstanding_commands()->set_value(from.MAXCMD());
    to.mutable_number_of_namespaces()->set_value(from.NN());
    to.mutable_atomic_write_unit_normal()->set_value(from.AWUN());
    to.mutable_atomic_write_unit_power_fail()->set_value(from.AWUPF());
    to.mutable_atomic_compare_and_write_unit()->set_value(from.ACWU());
    to.mutable_max_number_of_allowed_namespaces()->set_value(from.MNAN());
    to.set_nvm_subsystem_nvme_qualified_name(Text(from.SUBNQN()));
}

// A capability that the library does not return leaves its sub-message unset: setting null clears it.
void MapCapabilities(datatypes::NvmeIdentifyControllerData& to, const IIdentifyControllerData* from, google::protobuf::Arena& arena)
{
    using Getter = NvmeDataGetter;
    to.set_allocated_controller_multi_path_io_and_namespace_sharing_cap(
        Getter::getNvmeControllerMultiPathIoAndNamespaceSharingCap(from, arena));
    to.set_allocated_version(Getter::getVersion(from, arena));
    to.set_allocated_optional_asynchronous_events_supported(Getter::getOptionalAsynchronousEventsSupported(from, arena));
    to.set_allocated_read_recovery_levels_supported(Getter::getNvmeReadRecoveryLevelsSupported(from, arena));
    to.set_allocated_controller_attributes(Getter::getControllerAttributes(from, arena));
    to.set_allocated_optional_admin_command_support(Getter::getNvmeOptionalAdminCommandSupport(from, arena));
    to.set_allocated_firmware_updates(Getter::getNvmeFirmwareUpdates(from, arena));
    to.set_allocated_log_page_attributes(Getter::getLogPageAttributes(from, arena));
    to.set_allocated_admin_vendor_specific_command_cfg(Getter::getAdminVendorSpecificCommandCfg(from, arena));
    to.set_allocated_auto_power_state_transition_attributes(Getter::getAutoPowerStateTransitionAttributes(from, arena));
    to.set_allocated_replay_protected_memory_block_support(Getter::getReplayProtectedMemoryBlockSupport(from, arena));
    to.set_allocated_device_self_test_options(Getter::getDeviceSelfTestOptions(from, arena));
    to.set_allocated_host_controlled_thermal_mgmt_attributes(Getter::getHostControlledThermalMgmtAttributes(from, arena));
    to.set_allocated_sanitize_cap(Getter::getSanitizeCap(from, arena));
    to.set_allocated_asymmetric_namespace_access_cap(Getter::getAsymmetricNamespaceAccessCap(from, arena));
    to.set_allocated_submission_queue_entry_size(Getter::getSubmissionQueueEntrySize(from, arena));
    to.set_allocated_completion_queue_entry_size(Getter::getCompletionQueueEntrySize(from, arena));
    to.set_allocated_optional_nvm_command_support(Getter::getOptionalNvmCommandSupport(from, arena));
    to.set_allocated_fused_operation_support(Getter::getFusedOperationSupport(from, arena));
    to.set_allocated_format_nvm_attributes(Getter::getFormatNvmAttributes(from, arena));
    to.set_allocated_volatile_write_cache(Getter::getVolatileWriteCache(from, arena));
    to.set_allocated_nvm_vendor_specific_command_cfg(Getter::getNvmVendorSpecificCommandCfg(from, arena));
    to.set_allocated_namespace_write_protection_cap(Getter::getNamespaceWriteProtectionCap(from, arena));
    to.set_allocated_sgl_support(Getter::getSglSupport(from, arena));
}

// NPSS is zero-based: NPSS + 1 descriptors are requested, and a missing one is skipped. Intentional: NPSS is read once without
// being used, and again after each descriptor.
void MapPowerStates(datatypes::NvmeIdentifyControllerData& to, const IIdentifyControllerData* from, google::protobuf::Arena& arena)
{
    std::uint32_t index = 0;
    static_cast<void>(from->NPSS());
    do {
        if (auto* descriptor = NvmeDataGetter::getPowerStateDesc(from, index, arena); descriptor != nullptr) {
            to.mutable_power_state_desc()->AddAllocated(descriptor);
        }
        ++index;
    } while (index <= from->NPSS());
}

// The first characters of the part identifier, counted as the host counts them, in UTF-16.
std::string Eppid(const ICustomizedControllerData& from)
{
    std::string text = Text(from.EPPID());
    if (text.size() <= kEppidCharacters) {
        return text;
    }
    return orbis::platform::Utf16ToUtf8(orbis::platform::Utf8ToUtf16(text).substr(0, kEppidCharacters));
}

void MapMakerArea(datatypes::NvmeIdentifyControllerData& to, const IIdentifyControllerData* from, google::protobuf::Arena& arena)
{
    const auto vendor = TakeOwnership(from->VendorSpecific());
    // A view of the vendor object; only the vendor object is released.
    const auto* customized = CustomizedControllerDataOf(vendor.get());
    if (customized == nullptr) {
        return;
    }
    auto& data = *to.mutable_customized_controller_data();
    data.set_eppid(Eppid(*customized));
    data.mutable_form_factor()->set_value(static_cast<std::uint32_t>(customized->FormFactor()));
    // Intentional: numbers 1 and 0, unlike every other flag.
    data.mutable_support_system_crash_protection()->set_value(customized->SupportsSystemCrashProtection() ? 1 : 0);
    data.mutable_support_host_metadata_log()->set_value(customized->SupportsHostMetadataLog() ? 1 : 0);
    data.set_guid(Bytes(customized->Guid()));
    data.set_component_id(Text(customized->ComponentId()));

    to.set_allocated_device_category(
        Map<datatypes::NvmeDeviceCategory>(customized->DeviceCategory(), arena, [](auto& category, const auto& classes) {
            category.mutable_class0()->set_value(classes.Class0());
            category.mutable_class1()->set_value(classes.Class1());
            category.mutable_class2()->set_value(classes.Class2());
            category.mutable_class11()->set_value(classes.Class11());
        }));
}

}  // namespace

datatypes::NvmeIdentifyControllerData* NvmeDataGetter::toIdentifyControllerData(const IIdentifyControllerData* data, Arena& arena)
{
    if (data == nullptr) {
        return nullptr;
    }
    auto* message = NewMessage<datatypes::NvmeIdentifyControllerData>(arena);
    MapOwnFields(*message, *data);
    MapCapabilities(*message, data, arena);
    MapPowerStates(*message, data, arena);
    MapMakerArea(*message, data, arena);
    return message;
}

}  // namespace Veyra::Orbis::Plugins
