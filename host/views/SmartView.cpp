#include <fmt/format.h>
#include <google/protobuf/descriptor.h>

#include <array>

#include "Table.h"
#include "views/Units.h"
#include "views/Views.h"

namespace orbis::host {
namespace {

// ATA attribute ids of the message's fields, by the field's name.
struct AttributeId {
    std::string_view field;
    int id;
};
constexpr std::array<AttributeId, 33> kAttributeIds{{
    {"raw_read_error_rate", 1},
    {"spin_up_time", 3},
    {"start_stop_count", 4},
    {"realloc_sector_count", 5},
    {"seek_error_rate", 7},
    {"power_on_hour", 9},
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
    {"temperature", 194},
    {"ecc_rate", 195},
    {"reallocation_event_count", 196},
    {"current_pending_sector_count", 197},
    {"uncorrectable_sector_count", 198},
    {"CRC_error_count", 199},
    {"write_error_rate", 200},
    {"program_erase_cycle_count", 238},
    {"head_flying_hours", 240},
    {"total_blocks_read", 242},
    {"total_blocks_written", 241},
    {"free_fall_count", 254},
}};

std::string Readable(std::string_view field)
{
    std::string name(field);
    for (char& letter : name) {
        letter = letter == '_' ? ' ' : letter;
    }
    if (name[0] >= 'a' && name[0] <= 'z') {
        name[0] = static_cast<char>(name[0] - 'a' + 'A');
    }
    return name;
}

std::string Value(bool present, std::uint32_t value) { return present ? fmt::format("{}", value) : "-"; }

}  // namespace

std::string Render(const ViewItems<datatypes::SmartStaticInfo>& items, std::size_t width)
{
    Table table;
    table.AddColumn("Name");
    table.AddColumn("Model");
    table.AddColumn("Part identifier");
    table.AddColumn("Id");
    for (const auto& item : items) {
        if (item.message == nullptr) {
            table.AddRow({"(no data)", "", "", DiskTitle(item.itemId)});
        } else {
            table.AddRow({item.message->name(), item.message->model_name(), item.message->eppid(), DiskTitle(item.itemId)});
        }
    }
    return table.Render(width, 2);
}

std::string Render(const ViewItems<datatypes::SmartDynamicInfo>& items, std::size_t width)
{
    std::string out;
    for (const auto& item : items) {
        out += fmt::format("{}  {} ({})\n", out.empty() ? "" : "\n", Printable(DiskTitle(item.itemId)),
                           item.message == nullptr ? "no data" : Printable(item.message->name()));
        if (item.message == nullptr) {
            continue;
        }
        Table table;
        table.AddColumn("Id", Table::Align::Right);
        table.AddColumn("Attribute");
        table.AddColumn("Value", Table::Align::Right);
        table.AddColumn("Worst", Table::Align::Right);
        table.AddColumn("Threshold", Table::Align::Right);
        table.AddColumn("Raw", Table::Align::Right);
        table.AddColumn("");
        const auto* descriptor = item.message->GetDescriptor();
        const auto* reflection = item.message->GetReflection();
        for (const AttributeId& attribute : kAttributeIds) {
            const auto* field = descriptor->FindFieldByName(std::string(attribute.field));
            if (field == nullptr || !reflection->HasField(*item.message, field)) {
                continue;
            }
            const auto& detail = static_cast<const datatypes::SmartAttributeDetail&>(reflection->GetMessage(*item.message, field));
            const bool rated = detail.has_threshold() && detail.threshold().value() > 0;
            const bool failing = rated && detail.has_normal() && detail.normal().value() <= detail.threshold().value();
            const bool failed = rated && detail.has_worst() && detail.worst().value() <= detail.threshold().value();
            table.AddRow({fmt::format("{}", attribute.id), Readable(attribute.field),
                          Value(detail.has_normal(), detail.normal().value()), Value(detail.has_worst(), detail.worst().value()),
                          Value(detail.has_threshold(), detail.threshold().value()),
                          detail.has_raw_value() ? fmt::format("{}", detail.raw_value().value()) : "-",
                          failing  ? "FAILING"
                          : failed ? "failed once"
                                   : ""});
        }
        out += table.IsEmpty() ? "    no SMART values\n" : table.Render(width, 4);
    }
    return out;
}

}  // namespace orbis::host
