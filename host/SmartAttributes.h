#pragma once

#include <array>
#include <string_view>

namespace orbis::host {

// ATA attribute ids of the message's fields, by the field's name.
struct SmartAttribute {
    std::string_view field;
    int id;
    std::string_view unit{};  // of the raw value, where makers agree on one
};
inline constexpr std::array<SmartAttribute, 33> kSmartAttributes{{
    {"raw_read_error_rate", 1},
    {"spin_up_time", 3, "ms"},
    {"start_stop_count", 4},
    {"realloc_sector_count", 5},
    {"seek_error_rate", 7},
    {"power_on_hour", 9, "h"},
    {"spin_retry_count", 10},
    {"recalibration_retries", 11},
    {"power_cycle_count", 12},
    {"program_fail_count", 175},
    {"erase_fail_count", 176},
    {"wear_leveling_count", 177},
    {"used_reserved_block_count", 178},
    {"used_reserved_block_count_total", 179},
    {"unused_reserved_block_count", 180},
    {"program_fail_count_total", 181},
    {"erase_fail_count_total", 182},
    {"uncorrectable_error_count", 184},
    {"shock_event", 191},
    {"emergency_retract_count", 192},
    {"load_unload_cycle_count", 193},
    {"temperature", 194, "\u00B0C"},
    {"ecc_rate", 195},
    {"reallocation_event_count", 196},
    {"current_pending_sector_count", 197},
    {"uncorrectable_sector_count", 198},
    {"CRC_error_count", 199},
    {"write_error_rate", 200},
    {"program_erase_cycle_count", 238},
    {"head_flying_hours", 240, "h"},
    {"total_blocks_read", 242, "blocks"},
    {"total_blocks_written", 241, "blocks"},
    {"free_fall_count", 254},
}};

}  // namespace orbis::host
