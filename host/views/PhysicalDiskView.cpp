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

}  // namespace

std::string DiskTitle(const std::string& itemId)
{
    constexpr std::string_view kPrefix = "Disk_";
    const std::string title = itemId.starts_with(kPrefix) ? itemId.substr(kPrefix.size()) : itemId;
    return title.empty() ? "(no id)" : title;
}

std::string Render(const ViewItems<datatypes::PhysicalDiskStaticInfo>& items, std::size_t width)
{
    Table disks;
    disks.AddColumn("Disk");
    disks.AddColumn("Model");
    disks.AddColumn("Kind");
    disks.AddColumn("Size", Table::Align::Right);
    disks.AddColumn("Firmware");
    disks.AddColumn("Id");
    Table partitions;
    partitions.AddColumn("Disk");
    partitions.AddColumn("Part", Table::Align::Right);
    partitions.AddColumn("Name");
    partitions.AddColumn("Size", Table::Align::Right);
    partitions.AddColumn("Volume");
    partitions.AddColumn("Flags");
    partitions.AddColumn("Identifier");
    for (const auto& item : items) {
        if (item.message == nullptr) {
            disks.AddRow({"(no data)", "", "", "", "", DiskTitle(item.itemId)});
            continue;
        }
        const auto& disk = *item.message;
        disks.AddRow({disk.name(), disk.make_model(), Kind(disk), Mebibytes(disk.size().value()), disk.firmware_revision(),
                      DiskTitle(item.itemId)});
        for (const auto& partition : disk.partitions()) {
            if (partition.name() == "Not Used" && partition.size().value() == 0) {
                continue;  // an empty entry of the partition table
            }
            partitions.AddRow({disk.name(), fmt::format("{}", partition.index().value()), partition.name(),
                               Mebibytes(partition.size().value()), partition.serial_number(), Flags(partition), partition.guid()});
        }
    }
    std::string out = disks.Render(width, 2);
    if (!partitions.IsEmpty()) {
        out += '\n' + partitions.Render(width, 2);
    }
    return out;
}

std::string Render(const ViewItems<datatypes::PhysicalDiskDynamicInfo>& items, std::size_t width)
{
    Table table;
    table.AddColumn("Disk");
    for (const char* title : {"Busy %", "Read MiB/s", "Write MiB/s", "ms/read", "ms/write", "Read MiB", "Written MiB"}) {
        table.AddColumn(title, Table::Align::Right);
    }
    for (const auto& item : items) {
        if (item.message == nullptr) {
            table.AddRow({DiskTitle(item.itemId)});
            continue;
        }
        const auto& disk = *item.message;
        table.AddRow({DiskTitle(item.itemId),
                      Number(disk.has_idle_time_percentage(), 100.0 - static_cast<double>(disk.idle_time_percentage().value()), 1),
                      Number(disk.has_byte_read_per_sec_in_mb(), static_cast<double>(disk.byte_read_per_sec_in_mb().value()), 2),
                      Number(disk.has_byte_write_per_sec_in_mb(), static_cast<double>(disk.byte_write_per_sec_in_mb().value()), 2),
                      Number(disk.has_avg_disk_ms_per_read(), static_cast<double>(disk.avg_disk_ms_per_read().value()), 2),
                      Number(disk.has_avg_disk_ms_per_write(), static_cast<double>(disk.avg_disk_ms_per_write().value()), 2),
                      disk.has_byte_read_in_mb() ? fmt::format("{}", disk.byte_read_in_mb().value()) : "",
                      disk.has_byte_write_in_mb() ? fmt::format("{}", disk.byte_write_in_mb().value()) : ""});
    }
    return table.Render(width, 2);
}

}  // namespace orbis::host
