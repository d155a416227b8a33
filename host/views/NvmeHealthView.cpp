#include <fmt/format.h>

#include "Table.h"
#include "views/Sheet.h"
#include "views/Units.h"
#include "views/Views.h"

namespace orbis::host {
namespace {

using datatypes::NvmeHealthInfo;
using datatypes::SmartNvmeInfo;

constexpr const char* kUnsent = "0 *";
constexpr const char* kUnsentNote = "* zero or a multiple of 256: the datatype does not carry such a counter";

std::string CriticalWarning(const NvmeHealthInfo& health)
{
    if (!health.has_critical_warning()) {
        return {};
    }
    const auto& warning = health.critical_warning();
    std::string text;
    const auto add = [&](bool set, const char* name) {
        if (set) {
            text += text.empty() ? "" : ", ";
            text += name;
        }
    };
    add(warning.low_available_space().value(), "spare low");
    add(warning.out_of_temperature_threshold().value(), "temperature");
    add(warning.degraded_reliability().value(), "degraded");
    add(warning.read_only().value(), "READ ONLY");
    add(warning.failed_volatile_memory_backup_device().value(), "backup failed");
    add(warning.unreliable_persistent_memory_region().value(), "PMR unreliable");
    return text.empty() ? "none" : text;
}

std::string Sensors(const NvmeHealthInfo& health)
{
    std::string text;
    const auto add = [&](std::int32_t celsius) {
        if (celsius != 0) {  // a missing sensor also reads 0
            text += fmt::format("{}{}", text.empty() ? "" : ", ", celsius);
        }
    };
    add(health.temperature_sensor1().value());
    add(health.temperature_sensor2().value());
    add(health.temperature_sensor3().value());
    add(health.temperature_sensor4().value());
    add(health.temperature_sensor5().value());
    add(health.temperature_sensor6().value());
    add(health.temperature_sensor7().value());
    add(health.temperature_sensor8().value());
    return text.empty() ? text : text + " \u00B0C";
}

}  // namespace

std::string Render(const ViewItems<SmartNvmeInfo>& all, const Disks& disks, const Style& style)
{
    ViewItems<SmartNvmeInfo> items;
    std::vector<std::string> titles;
    std::string without;
    for (const auto& item : all) {
        const std::string name = disks.NameOf(item.itemId);
        if (item.message != nullptr && (item.message->has_health_info() || item.message->has_customized_health_info())) {
            items.push_back(item);
            titles.push_back(name);
        } else {
            without += (without.empty() ? "No health data: " : ", ") + name;
        }
    }
    const std::string rest = without.empty() ? without : RenderText(without, style, 2);
    if (items.empty()) {
        return rest;
    }
    Sheet sheet(std::move(titles), style);

    const auto health = [&](const char* fact, auto&& value) {
        std::vector<std::string> cells;
        for (const auto& item : items) {
            cells.push_back(item.message != nullptr && item.message->has_health_info() ? value(item.message->health_info()) : "");
        }
        sheet.AddRow(fact, std::move(cells));
    };
    const auto counter = [&](const char* fact, const char* unit, auto&& approximate) {
        health(fact, [&](const NvmeHealthInfo& info) -> std::string {
            const double value = approximate(info);
            if (value == 0) {
                sheet.AddNote(kUnsentNote);
                return kUnsent;
            }
            return Grouped(value) + unit;
        });
    };
    const auto dataUnits = [&](const char* fact, auto&& approximate) {
        health(fact, [&](const NvmeHealthInfo& info) -> std::string {
            constexpr double kDataUnit = 512000;  // thousands of 512-byte units
            const double value = approximate(info);
            if (value == 0) {
                sheet.AddNote(kUnsentNote);
                return kUnsent;
            }
            return Bytes(value * kDataUnit);
        });
    };
    const auto customized = [&](const char* fact, auto&& value) {
        std::vector<std::string> cells;
        for (const auto& item : items) {
            cells.push_back(item.message != nullptr && item.message->has_customized_health_info()
                                ? value(item.message->customized_health_info())
                                : "");
        }
        sheet.AddRow(fact, std::move(cells));
    };

    health("Critical warning", CriticalWarning);
    health("Temperature", [](const auto& h) { return fmt::format("{} \u00B0C", h.composite_temperature().value()); });
    health("Sensors", Sensors);
    health("Available spare", [](const auto& h) {
        return fmt::format("{} % (threshold {} %)", h.available_spare().value(), h.available_spare_threshold().value());
    });
    health("Used", [](const auto& h) { return fmt::format("{} %", h.percentage_used().value()); });
    dataUnits("Data read", [](const auto& h) { return h.data_unit_read_approximate().value(); });
    dataUnits("Data written", [](const auto& h) { return h.data_unit_written_approximate().value(); });
    counter("Read commands", "", [](const auto& h) { return h.host_read_commands_approximate().value(); });
    counter("Write commands", "", [](const auto& h) { return h.host_written_commands_approximate().value(); });
    counter("Busy time", " min", [](const auto& h) { return h.controller_busy_time_approximate().value(); });
    counter("Power cycles", "", [](const auto& h) { return h.power_cycles_approximate().value(); });
    counter("Power-on time", " h", [](const auto& h) { return h.power_on_hours_approximate().value(); });
    counter("Unsafe shutdowns", "", [](const auto& h) { return h.unsafe_shutdowns_approximate().value(); });
    counter("Media errors", "", [](const auto& h) { return h.media_and_data_integrity_errors_approximate().value(); });
    counter("Error log entries", "", [](const auto& h) { return h.number_of_error_info_log_entries_approximate().value(); });
    health("Above warning temp.",
           [](const auto& h) { return fmt::format("{} min", h.warning_composite_temperature_time().value()); });
    health("Above critical temp.",
           [](const auto& h) { return fmt::format("{} min", h.critical_composite_temperature_time().value()); });
    health("Light throttling", [](const auto& h) {
        return fmt::format("{}, {} s", Times(h.thermal_mgmt_temperature1_transition_count().value()),
                           Grouped(std::uint64_t{h.total_time_for_thermal_mgmt_temperature1().value()}));
    });
    health("Heavy throttling", [](const auto& h) {
        return fmt::format("{}, {} s", Times(h.thermal_mgmt_temperature2_transition_count().value()),
                           Grouped(std::uint64_t{h.total_time_for_thermal_mgmt_temperature2().value()}));
    });

    customized("Wear levelling", [](const auto& c) { return fmt::format("{}", c.wear_leveling_count().value()); });
    customized("Reserved blocks used", [](const auto& c) {
        return fmt::format("{} (worst {}) of {}", c.used_reserved_block_count_ssd_total().value(),
                           c.used_reserved_block_count_worst_case_component().value(), c.reserved_block_count_ssd_total().value());
    });
    customized("Lowest, highest temp.", [](const auto& c) {
        // The datatype has signed temperatures in unsigned fields.
        return fmt::format("{}, {} \u00B0C", static_cast<std::int32_t>(c.minimum_temperature().value()),
                           static_cast<std::int32_t>(c.maximum_temperature().value()));
    });
    customized("Controller writes", [&](const auto& c) -> std::string {
        if (c.total_data_written_by_controller_approximate().value() == 0) {
            sheet.AddNote(kUnsentNote);
            return kUnsent;
        }
        return Grouped(c.total_data_written_by_controller_approximate().value());
    });
    customized("Abnormal voltage", [](const auto& c) { return fmt::format("{}", c.abnormal_input_vcc_voltage_counter().value()); });
    return sheet.Render(2) + rest;
}

}  // namespace orbis::host
