#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "Metrics.h"

// The series of each message field.
namespace orbis::host {

using Family = MetricsText::Family;

// The conversion of a field to a value. Integers stay integers unless they are divided.
struct Scale {
    std::uint32_t factor = 1;
    std::uint32_t divisor = 1;
};
inline constexpr Scale kPercent{1, 100};
inline constexpr Scale kMinutes{60};
inline constexpr Scale kMebibytes{1048576};

// One field of a message as a series.
struct Row {
    std::string_view field;
    Family family;
    Scale scale{};
    const char* label = nullptr;  // label and value, if several fields share a family
    const char* labelValue = nullptr;
    bool isZeroAbsent = false;  // the datatype sends 0 for "not reported"
    std::size_t place = 0;      // of a 128-bit counter in log 02h (NVMe 1.4, figure 194); 0: none
};

[[nodiscard]] constexpr Row LogCounter(std::string_view field, Family family, std::size_t place, Scale scale = {})
{
    Row row{field, family, scale};
    row.place = place;
    return row;
}

inline constexpr Family kTemperature{"orbis_disk_temperature_celsius", "Temperature, by sensor."};
inline constexpr Family kThrottled{"orbis_nvme_thermal_throttling_total",
                                   "Transitions to a thermal management temperature, by level."};
inline constexpr Family kThrottledTime{"orbis_nvme_thermal_throttling_seconds_total", "Time throttled for heat, by level."};
inline constexpr Family kCritical{"orbis_nvme_critical_warning", "Critical warning of the drive, 1 when it is set."};
inline constexpr Family kEndurance{"orbis_nvme_endurance_group_warning", "Warning of an endurance group, 1 when it is set."};

inline constexpr std::array kDynamicRows{
    Row{"idle_time_percentage", {"orbis_disk_idle_ratio", "Share of time without an outstanding request."}, kPercent},
    Row{"read_time_percentage", {"orbis_disk_read_time_ratio", "Share of time busy with reads."}, kPercent},
    Row{"write_time_percentage", {"orbis_disk_write_time_ratio", "Share of time busy with writes."}, kPercent},
    Row{"byte_read_per_sec_in_MB", {"orbis_disk_read_bytes_per_second", "Bytes read a second."}, kMebibytes},
    Row{"byte_write_per_sec_in_MB", {"orbis_disk_written_bytes_per_second", "Bytes written a second."}, kMebibytes},
    Row{"avg_disk_MS_per_read", {"orbis_disk_read_latency_seconds", "Average time of a read."}, {1, 1000}},
    Row{"avg_disk_MS_per_write", {"orbis_disk_write_latency_seconds", "Average time of a write."}, {1, 1000}},
    Row{"byte_read_in_MB", {"orbis_volume_read_bytes_total", "Read from the disk's last volume since it was mounted."}, kMebibytes},
    Row{"byte_write_in_MB",
        {"orbis_volume_written_bytes_total", "Written to the disk's last volume since it was mounted."},
        kMebibytes},
};

inline constexpr std::array kHealthRows{
    Row{"composite_temperature", kTemperature, {}, "sensor", "composite", true},
    Row{"temperature_sensor1", kTemperature, {}, "sensor", "1", true},
    Row{"temperature_sensor2", kTemperature, {}, "sensor", "2", true},
    Row{"temperature_sensor3", kTemperature, {}, "sensor", "3", true},
    Row{"temperature_sensor4", kTemperature, {}, "sensor", "4", true},
    Row{"temperature_sensor5", kTemperature, {}, "sensor", "5", true},
    Row{"temperature_sensor6", kTemperature, {}, "sensor", "6", true},
    Row{"temperature_sensor7", kTemperature, {}, "sensor", "7", true},
    Row{"temperature_sensor8", kTemperature, {}, "sensor", "8", true},
    Row{"available_spare", {"orbis_nvme_available_spare_ratio", "Spare capacity that is left."}, kPercent},
    Row{"available_spare_threshold",
        {"orbis_nvme_available_spare_threshold_ratio", "Spare capacity below which the drive warns."},
        kPercent},
    Row{"percentage_used", {"orbis_nvme_used_ratio", "Endurance used; may pass 1."}, kPercent},
    LogCounter("data_unit_read", {"orbis_nvme_data_read_bytes_total", "Data read by the host."}, 32, {512000}),
    LogCounter("data_unit_written", {"orbis_nvme_data_written_bytes_total", "Data written by the host."}, 48, {512000}),
    LogCounter("host_read_commands", {"orbis_nvme_host_read_commands_total", "Read commands completed."}, 64),
    LogCounter("host_written_commands", {"orbis_nvme_host_write_commands_total", "Write commands completed."}, 80),
    LogCounter("controller_busy_time", {"orbis_nvme_controller_busy_seconds_total", "Time busy with commands."}, 96, kMinutes),
    LogCounter("power_cycles", {"orbis_nvme_power_cycles_total", "Power cycles."}, 112),
    LogCounter("power_on_hours", {"orbis_nvme_power_on_seconds_total", "Time powered on."}, 128, {3600}),
    LogCounter("unsafe_shutdowns", {"orbis_nvme_unsafe_shutdowns_total", "Shutdowns without notice."}, 144),
    LogCounter("media_and_data_integrity_errors", {"orbis_nvme_media_errors_total", "Unrecovered data integrity errors."}, 160),
    LogCounter("number_of_error_info_log_entries", {"orbis_nvme_error_log_entries_total", "Entries ever made in the error log."},
               176),
    Row{"warning_composite_temperature_time",
        {"orbis_nvme_above_warning_temperature_seconds_total", "Time at or above the warning temperature."},
        kMinutes},
    Row{"critical_composite_temperature_time",
        {"orbis_nvme_above_critical_temperature_seconds_total", "Time at or above the critical temperature."},
        kMinutes},
    Row{"thermal_mgmt_temperature1_transition_count", kThrottled, {}, "level", "light"},
    Row{"thermal_mgmt_temperature2_transition_count", kThrottled, {}, "level", "heavy"},
    Row{"total_time_for_thermal_mgmt_temperature1", kThrottledTime, {}, "level", "light"},
    Row{"total_time_for_thermal_mgmt_temperature2", kThrottledTime, {}, "level", "heavy"},
};

inline constexpr std::array kCriticalRows{
    Row{"low_available_space", kCritical, {}, "condition", "spare"},
    Row{"out_of_temperature_threshold", kCritical, {}, "condition", "temperature"},
    Row{"degraded_reliability", kCritical, {}, "condition", "reliability"},
    Row{"read_only", kCritical, {}, "condition", "read_only"},
    Row{"failed_volatile_memory_backup_device", kCritical, {}, "condition", "backup"},
    Row{"unreliable_persistent_memory_region", kCritical, {}, "condition", "persistent_memory"},
};
inline constexpr std::array kEnduranceRows{
    Row{"low_available_spare_capacity", kEndurance, {}, "condition", "spare"},
    Row{"degraded_reliability", kEndurance, {}, "condition", "reliability"},
    Row{"read_only", kEndurance, {}, "condition", "read_only"},
};

inline constexpr std::array kMakerRows{
    Row{"wear_leveling_count", {"orbis_nvme_maker_wear_leveling", "Wear levelling count of the maker's log."}},
    Row{"used_reserved_block_count_worst_case_component",
        {"orbis_nvme_maker_used_reserved_blocks_worst", "Reserved blocks used, worst component."}},
    Row{"used_reserved_block_count_ssd_total", {"orbis_nvme_maker_used_reserved_blocks", "Reserved blocks used."}},
    Row{"reserved_block_count_ssd_total", {"orbis_nvme_maker_reserved_blocks", "Reserved blocks."}},
    Row{"total_data_written_by_controller",
        {"orbis_nvme_maker_controller_writes_total", "Data written by the controller, in the maker's unit."}},
    Row{"abnormal_input_vcc_voltage_counter", {"orbis_nvme_maker_abnormal_voltage_total", "Times the supply was out of range."}},
};

}  // namespace orbis::host
