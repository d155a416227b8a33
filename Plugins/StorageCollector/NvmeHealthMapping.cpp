#include <cstddef>
#include <cstdint>
#include <string_view>

#include "MessageArena.h"
#include "NvmeDataGetter.h"
#include "NvmeMapping.h"

// The SMART / Health Information log and the maker's health log.
namespace Veyra::Orbis::Plugins {
namespace {

using NvmeMapping::Bytes;
using NvmeMapping::Map;

// The counter as a double: 0 exactly when its bytes are sent empty.
double Approximate(const veyra::Carray<16>& counter)
{
    const std::string_view bytes = counter.View();
    return NvmeDataGetter::RawBufferToDouble(bytes.data(), static_cast<std::int32_t>(bytes.size()), false);
}

std::int32_t Celsius(std::int32_t temperature) { return NvmeDataGetter::ToValidTemperature(temperature); }

}  // namespace

datatypes::NvmeHealthInfo* NvmeDataGetter::toNvmeHealthInfo(const IHealthInfo* health, Arena& arena)
{
    if (health == nullptr) {
        return nullptr;
    }
    auto* message = NewMessage<datatypes::NvmeHealthInfo>(arena);
    auto& to = *message;
    const auto& from = *health;
    to.mutable_composite_temperature()->set_value(Celsius(from.CompositeTemperature()));
    to.mutable_available_spare()->set_value(from.AvailableSpare());
    to.mutable_available_spare_threshold()->set_value(from.AvailableSpareThreshold());
    to.mutable_percentage_used()->set_value(from.PercentageUsed());
    to.set_data_unit_read(Bytes(from.DataUnitsRead()));
    to.set_data_unit_written(Bytes(from.DataUnitsWritten()));
    to.set_host_read_commands(Bytes(from.HostReadCommands()));
    to.set_host_written_commands(Bytes(from.HostWriteCommands()));
    to.set_controller_busy_time(Bytes(from.ControllerBusyTime()));
    to.set_power_cycles(Bytes(from.PowerCycles()));
    to.set_power_on_hours(Bytes(from.PowerOnHours()));
    to.set_unsafe_shutdowns(Bytes(from.UnsafeShutdowns()));
    to.set_media_and_data_integrity_errors(Bytes(from.MediaAndDataIntegrityErrors()));
    to.set_number_of_error_info_log_entries(Bytes(from.NumberOfErrorInformationLogEntries()));
    to.mutable_warning_composite_temperature_time()->set_value(from.WarningCompositeTemperatureTime());
    to.mutable_critical_composite_temperature_time()->set_value(from.CriticalCompositeTemperatureTime());
    to.mutable_temperature_sensor1()->set_value(Celsius(from.TemperatureSensor1()));
    to.mutable_temperature_sensor2()->set_value(Celsius(from.TemperatureSensor2()));
    to.mutable_temperature_sensor3()->set_value(Celsius(from.TemperatureSensor3()));
    to.mutable_temperature_sensor4()->set_value(Celsius(from.TemperatureSensor4()));
    to.mutable_temperature_sensor5()->set_value(Celsius(from.TemperatureSensor5()));
    to.mutable_temperature_sensor6()->set_value(Celsius(from.TemperatureSensor6()));
    to.mutable_temperature_sensor7()->set_value(Celsius(from.TemperatureSensor7()));
    to.mutable_temperature_sensor8()->set_value(Celsius(from.TemperatureSensor8()));
    to.mutable_thermal_mgmt_temperature1_transition_count()->set_value(from.ThermalManagementTemperature1TransitionCount());
    to.mutable_thermal_mgmt_temperature2_transition_count()->set_value(from.ThermalManagementTemperature2TransitionCount());
    to.mutable_total_time_for_thermal_mgmt_temperature1()->set_value(from.TotalTimeForThermalManagementTemperature1());
    to.mutable_total_time_for_thermal_mgmt_temperature2()->set_value(from.TotalTimeForThermalManagementTemperature2());
    to.mutable_data_unit_read_approximate()->set_value(Approximate(from.DataUnitsRead()));
    to.mutable_data_unit_written_approximate()->set_value(Approximate(from.DataUnitsWritten()));
    to.mutable_host_read_commands_approximate()->set_value(Approximate(from.HostReadCommands()));
    to.mutable_host_written_commands_approximate()->set_value(Approximate(from.HostWriteCommands()));
    to.mutable_controller_busy_time_approximate()->set_value(Approximate(from.ControllerBusyTime()));
    to.mutable_power_cycles_approximate()->set_value(Approximate(from.PowerCycles()));
    to.mutable_power_on_hours_approximate()->set_value(Approximate(from.PowerOnHours()));
    to.mutable_unsafe_shutdowns_approximate()->set_value(Approximate(from.UnsafeShutdowns()));
    to.mutable_media_and_data_integrity_errors_approximate()->set_value(Approximate(from.MediaAndDataIntegrityErrors()));
    to.mutable_number_of_error_info_log_entries_approximate()->set_value(Approximate(from.NumberOfErrorInformationLogEntries()));

    to.set_allocated_critical_warning(
        Map<datatypes::NvmeCriticalWarning>(from.CriticalWarning(), arena, [](auto& warning, const auto& bits) {
            warning.mutable_low_available_space()->set_value(bits.AvailableSpareBelowThreshold());
            warning.mutable_out_of_temperature_threshold()->set_value(bits.TemperatureOutOfThreshold());
            warning.mutable_degraded_reliability()->set_value(bits.NvmSubsystemReliabilityDegraded());
            warning.mutable_read_only()->set_value(bits.MediaReadOnly());
            warning.mutable_failed_volatile_memory_backup_device()->set_value(bits.VolatileMemoryBackupDeviceFailed());
            warning.mutable_unreliable_persistent_memory_region()->set_value(bits.PersistentMemoryRegionReadOnlyOrUnreliable());
        }));
    to.set_allocated_endurance_group_critical_warning_summary(Map<datatypes::NvmeEnduranceGroupCriticalWarningSummary>(
        from.EnduranceGroupCriticalWarningSummary(), arena, [](auto& summary, const auto& bits) {
            summary.mutable_low_available_spare_capacity()->set_value(bits.AvailableSpareCapacityBelowThreshold());
            summary.mutable_degraded_reliability()->set_value(bits.ReliabilityDegraded());
            summary.mutable_read_only()->set_value(bits.ReadOnly());
        }));
    return message;
}

datatypes::NvmeCustomizedHealthInfo* NvmeDataGetter::toCustomizedHealthInfo(const ICustomizedHealthInfo* health, Arena& arena)
{
    if (health == nullptr) {
        return nullptr;
    }
    auto* message = NewMessage<datatypes::NvmeCustomizedHealthInfo>(arena);
    auto& to = *message;
    const auto& from = *health;
    to.mutable_wear_leveling_count()->set_value(from.WearLevelingCount());
    to.mutable_used_reserved_block_count_worst_case_component()->set_value(from.UsedReservedBlockCountWorstCaseComponent());
    to.mutable_used_reserved_block_count_ssd_total()->set_value(from.UsedReservedBlockCountSsdTotal());
    to.mutable_reserved_block_count_ssd_total()->set_value(from.ReservedBlockCountSsdTotal());
    // Intentional: the 32 bits unchanged, including -273, unlike the standard log's temperatures.
    to.mutable_minimum_temperature()->set_value(static_cast<std::uint32_t>(from.MinimumTemperature()));
    to.mutable_maximum_temperature()->set_value(static_cast<std::uint32_t>(from.MaximumTemperature()));
    to.set_total_data_written_by_controller(Bytes(from.TotalDataWrittenByController()));
    to.mutable_accumulated_host_active_idle_counter()->set_value(from.AccumulatedHostActiveIdleCounter());
    to.mutable_accumulated_non_operational_power_state_counter()->set_value(from.AccumulatedNonOperationalPowerStateCounter());
    to.mutable_abnormal_input_vcc_voltage_counter()->set_value(from.AbnormalInputVccVoltageCounter());
    to.mutable_total_data_written_by_controller_approximate()->set_value(Approximate(from.TotalDataWrittenByController()));
    return message;
}

double NvmeDataGetter::RawBufferToDouble(const char* bytes, std::int32_t length, bool bigEndian)
{
    double result = 0.0;
    for (std::int32_t i = 0; i < length; ++i) {
        const char byte = bytes[bigEndian ? i : length - 1 - i];
        result = result * 256.0 + static_cast<unsigned char>(byte);
    }
    return result;
}

std::int32_t NvmeDataGetter::ToValidTemperature(std::int32_t celsius) { return celsius == -273 ? 0 : celsius; }

}  // namespace Veyra::Orbis::Plugins
