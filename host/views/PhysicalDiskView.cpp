#include <fmt/format.h>

#include "Table.h"
#include "views/Units.h"
#include "views/Views.h"

namespace orbis::host {
namespace {

std::string Kind(const datatypes::PhysicalDiskStaticInfo& disk)
{
    return disk.capability_size() == 0 ? "" : disk.capability(disk.capability_size() - 1);
}

std::string Flags(const datatypes::PhysicalDiskPartitionInfo& partition)
{
    std::string flags;
    const auto add = [&](bool set, const char* name) {
        if (set) {
            flags += flags.empty() ? "" : " ";
            flags += name;
        }
    };
    add(partition.is_boot_volume().value(), "boot");
    add(partition.is_page_file_present().value(), "page-file");
    add(partition.is_crash_dump().value(), "crash-dump");
    return flags;
}

std::string Number(bool present, double value, int decimals) { return present ? fmt::format("{:.{}f}", value, decimals) : ""; }

// Rates are in units of 2^20 bytes per second; decimal megabytes are shown, because disks are sold with decimal units.
std::string MegabytesPerSecond(bool present, float mebibytes)
{
    return Number(present, static_cast<double>(mebibytes) * 1.048576, 2);
}

// "C: 2E9B71D4"
std::string Volume(const std::string& letter, const std::string& serial)
{
    return letter + (letter.empty() || serial.empty() ? "" : " ") + serial;
}

}  // namespace

std::string RenderItemIds(const std::vector<std::string>& ids, const Disks& disks, const Style& style)
{
    const auto render = [&](const auto& nameOf) {
        Table table(style);
        table.AddColumn("Disk");
        table.AddColumn("Item id", Table::Align::Words);
        for (const std::string& id : ids) {
            table.AddRow({nameOf(id), id});
        }
        return table;
    };
    const Table named = render([&](const std::string& id) { return disks.NameOf(id); });
    const bool fits = style.width == 0 || named.NaturalWidth(2) <= style.width;
    return (fits ? named : render([&](const std::string& id) { return disks.ShortNameOf(id); })).Render(2);
}

std::string Render(const ViewItems<datatypes::PhysicalDiskStaticInfo>& items, const Disks& disks, const Style& style)
{
    Table table(style);
    Table withoutIds(style);
    for (Table* one : {&table, &withoutIds}) {
        one->AddColumn("Disk");
        one->AddColumn("Kind");
        one->AddColumn("Size", Table::Align::Right);
        one->AddColumn("Firmware");
    }
    table.AddColumn("Item id");
    Table partitions(style);
    Table partitionsWithoutIds(style);
    Table partitionIds(style);
    for (Table* one : {&partitions, &partitionsWithoutIds, &partitionIds}) {
        one->AddColumn("Disk");
        one->AddColumn("Part", Table::Align::Right);
    }
    for (Table* one : {&partitions, &partitionsWithoutIds}) {
        one->AddColumn("Name", Table::Align::Words);
        one->AddColumn("Size", Table::Align::Right);
        one->AddColumn("Volume");
        one->AddColumn("Flags", Table::Align::Words);
    }
    for (Table* one : {&partitions, &partitionIds}) {
        one->AddColumn("Identifier", Table::Align::Words);
    }
    std::vector<std::string> ids;
    for (const auto& item : items) {
        const auto add = [&](std::vector<std::string> cells) {
            withoutIds.AddRow(cells);
            cells.resize(4);
            cells.push_back(item.itemId);
            table.AddRow(std::move(cells));
            ids.push_back(item.itemId);
        };
        if (item.message == nullptr) {
            add({disks.NameOf(item.itemId), "(no data)"});
            continue;
        }
        const auto& disk = *item.message;
        // A disk without an inventory record still has a number and a model here.
        const bool isKnown = disks.Find(item.itemId) != nullptr;
        add({isKnown ? disks.NameOf(item.itemId) : disk.name() + ' ' + disk.make_model(), Kind(disk),
             Mebibytes(static_cast<double>(disk.size().value())), disk.firmware_revision()});
        for (const auto& partition : disk.partitions()) {
            if (partition.name() == "Not Used" && partition.size().value() == 0) {
                continue;  // an empty entry of the partition table
            }
            const std::string name = isKnown ? disks.ShortNameOf(item.itemId) : disk.name();
            const std::string number = fmt::format("{}", partition.index().value());
            std::vector<std::string> cells{
                name,
                number,
                partition.name(),
                Mebibytes(static_cast<double>(partition.size().value())),
                Volume(disks.LetterOf(item.itemId, partition.serial_number()), partition.serial_number()),
                Flags(partition)};
            partitionsWithoutIds.AddRow(cells);
            cells.push_back(partition.guid());
            partitions.AddRow(std::move(cells));
            if (partition.guid().find_first_not_of("0-") != std::string::npos) {
                partitionIds.AddRow({name, number, partition.guid()});
            }
        }
    }
    // A truncated id is useless, so an id that does not fit is written on a line below.
    const auto fits = [&](const Table& whole) { return style.width == 0 || whole.NaturalWidth(2) <= style.width; };
    std::string out = fits(table) ? table.Render(2) : withoutIds.Render(2) + '\n' + RenderItemIds(ids, disks, style);
    if (!partitions.IsEmpty()) {
        out += '\n' + (fits(partitions) ? partitions : partitionsWithoutIds).Render(2);
        out += fits(partitions) || partitionIds.IsEmpty() ? "" : '\n' + partitionIds.Render(2);
    }
    return out;
}

std::string Render(const ViewItems<datatypes::PhysicalDiskDynamicInfo>& items, const Disks& disks, const Style& style)
{
    Table table(style);
    table.AddColumn("Disk");
    for (const char* title : {"Busy\n%", "Read\nMB/s", "Write\nMB/s", "Read\nms", "Write\nms", "Read\nin all", "Written\nin all"}) {
        table.AddColumn(title, Table::Align::Right);
    }
    for (const auto& item : items) {
        if (item.message == nullptr) {
            table.AddRow({disks.NameOf(item.itemId)});
            continue;
        }
        const auto& disk = *item.message;
        table.AddRow({disks.NameOf(item.itemId),
                      Number(disk.has_idle_time_percentage(), 100.0 - static_cast<double>(disk.idle_time_percentage().value()), 1),
                      MegabytesPerSecond(disk.has_byte_read_per_sec_in_mb(), disk.byte_read_per_sec_in_mb().value()),
                      MegabytesPerSecond(disk.has_byte_write_per_sec_in_mb(), disk.byte_write_per_sec_in_mb().value()),
                      Number(disk.has_avg_disk_ms_per_read(), static_cast<double>(disk.avg_disk_ms_per_read().value()), 2),
                      Number(disk.has_avg_disk_ms_per_write(), static_cast<double>(disk.avg_disk_ms_per_write().value()), 2),
                      disk.has_byte_read_in_mb() ? Mebibytes(static_cast<double>(disk.byte_read_in_mb().value())) : "",
                      disk.has_byte_write_in_mb() ? Mebibytes(static_cast<double>(disk.byte_write_in_mb().value())) : ""});
    }
    return table.Render(2);
}

}  // namespace orbis::host
