#include "views/LiveView.h"

#include <fmt/format.h>
#include <algorithm>
#include <array>
#include <cmath>

#include "Table.h"

namespace orbis::host {
namespace {

constexpr std::size_t kHistory = 24;

std::string Figure(bool present, double value, int decimals) { return present ? fmt::format("{:.{}f}", value, decimals) : "-"; }

std::deque<float> Newest(const std::deque<float>& values, std::size_t count)
{
    const std::size_t first = values.size() - std::min(values.size(), count);
    return {values.begin() + static_cast<std::ptrdiff_t>(first), values.end()};
}

}  // namespace

std::string Sparkline(const std::deque<float>& values, float full)
{
    static constexpr std::array<std::string_view, 8> kBars{"\u2581", "\u2582", "\u2583", "\u2584",
                                                           "\u2585", "\u2586", "\u2587", "\u2588"};
    std::string line;
    for (const float value : values) {
        if (!(value >= 0)) {  // a missing figure, or not a number
            line += ' ';
        } else {
            const float share = std::min(value / full, 1.0F);
            line += kBars[static_cast<std::size_t>(std::lround(share * 7.0F))];
        }
    }
    return line;
}

void LiveView::Add(const ViewItems<datatypes::PhysicalDiskDynamicInfo>& items)
{
    for (auto& [id, disk] : m_Disks) {
        disk.isPresent = false;
    }
    for (const auto& item : items) {
        if (item.message == nullptr) {
            continue;
        }
        const auto [found, isNew] = m_Disks.try_emplace(item.itemId);
        if (isNew) {
            m_Order.push_back(item.itemId);
        }
        found->second.latest = *item.message;
        found->second.isPresent = true;
    }
    std::erase_if(m_Order, [&](const std::string& id) {
        Activity& disk = m_Disks[id];
        const bool hasFigure = disk.isPresent && disk.latest.has_idle_time_percentage();
        disk.busy.push_back(hasFigure ? 100.0F - disk.latest.idle_time_percentage().value() : -1.0F);
        if (disk.busy.size() > kHistory) {
            disk.busy.pop_front();
        }
        const bool isForgotten =
            !disk.isPresent && std::all_of(disk.busy.begin(), disk.busy.end(), [](float busy) { return busy < 0; });
        if (isForgotten) {
            m_Disks.erase(id);
        }
        return isForgotten;
    });
}

std::string LiveView::Render(const Disks& disks, const Style& style) const
{
    Table table(style);
    table.AddColumn("Disk");
    for (const char* title : {"Busy\n%", "Read\nMB/s", "Write\nMB/s", "Read\nms", "Write\nms"}) {
        table.AddColumn(title, Table::Align::Right);
    }
    // The history ends at the newest figure and, like numbers, is never cut.
    table.AddColumn("Busy\nso far", Table::Align::Right);
    const std::size_t shown = style.width != 0 && style.width < 100 ? 10 : kHistory;
    constexpr double kMegabytes = 1.048576;  // in 2^20 bytes
    for (const std::string& id : m_Order) {
        const Activity& disk = m_Disks.at(id);
        if (!disk.isPresent) {
            table.AddRow({disks.NameOf(id), "gone", "", "", "", "", Sparkline(Newest(disk.busy, shown), 100)});
            continue;
        }
        const auto& now = disk.latest;
        table.AddRow(
            {disks.NameOf(id),
             Figure(now.has_idle_time_percentage(), 100.0 - static_cast<double>(now.idle_time_percentage().value()), 1),
             Figure(now.has_byte_read_per_sec_in_mb(), kMegabytes * static_cast<double>(now.byte_read_per_sec_in_mb().value()), 2),
             Figure(now.has_byte_write_per_sec_in_mb(), kMegabytes * static_cast<double>(now.byte_write_per_sec_in_mb().value()),
                    2),
             Figure(now.has_avg_disk_ms_per_read(), static_cast<double>(now.avg_disk_ms_per_read().value()), 2),
             Figure(now.has_avg_disk_ms_per_write(), static_cast<double>(now.avg_disk_ms_per_write().value()), 2),
             Sparkline(Newest(disk.busy, shown), 100)});
    }
    return table.Render(2);
}

}  // namespace orbis::host
