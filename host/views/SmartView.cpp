#include <fmt/format.h>
#include <google/protobuf/descriptor.h>

#include <map>
#include <utility>

#include "SmartAttributes.h"
#include "Table.h"
#include "Text.h"
#include "insight/ErrorText.h"
#include "platform/Errors.h"
#include "views/Units.h"
#include "views/Views.h"

namespace orbis::host {
namespace {

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

// Why a disk has no SMART values.
std::string NoValuesReason(const Disk* disk)
{
    // Windows' NVMe driver gives the vendor "NVMe", which is part of every id.
    if (disk != nullptr && (disk->isNvme || disk->itemId.find("&VEN_NVME") != std::string::npos)) {
        return "NVMe, see SmartNvmeInfo";
    }
    if (disk == nullptr || !disk->smartError) {
        return "the drive reports none";
    }
    if (*disk->smartError == platform::win32::kAccessDenied) {
        return "no access";
    }
    return *disk->smartError == 0 ? "the drive refused the request" : insight::ErrorText(*disk->smartError);
}

std::string RenderAttributes(const datatypes::SmartDynamicInfo& message, const Style& style)
{
    Table table(style);
    table.AddColumn("Id", Table::Align::Right);
    table.AddColumn("Attribute", Table::Align::Words);
    for (const char* title : {"Value", "Worst", "Threshold", "Raw"}) {
        table.AddColumn(title, Table::Align::Right);
    }
    table.AddColumn("");  // unit of the raw value
    table.AddColumn("");
    const auto* descriptor = message.GetDescriptor();
    const auto* reflection = message.GetReflection();
    for (const SmartAttribute& attribute : kSmartAttributes) {
        const auto* field = descriptor->FindFieldByName(std::string(attribute.field));
        if (field == nullptr || !reflection->HasField(message, field)) {
            continue;
        }
        const auto& detail = static_cast<const datatypes::SmartAttributeDetail&>(reflection->GetMessage(message, field));
        const bool rated = detail.has_threshold() && detail.threshold().value() > 0;
        const bool failing = rated && detail.has_normal() && detail.normal().value() <= detail.threshold().value();
        const bool failed = rated && detail.has_worst() && detail.worst().value() <= detail.threshold().value();
        table.AddRow(
            {fmt::format("{}", attribute.id), Readable(attribute.field), Value(detail.has_normal(), detail.normal().value()),
             Value(detail.has_worst(), detail.worst().value()), Value(detail.has_threshold(), detail.threshold().value()),
             detail.has_raw_value() ? Grouped(std::uint64_t{detail.raw_value().value()}) : "-", std::string(attribute.unit),
             failing  ? "FAILING"
             : failed ? "failed once"
                      : ""});
    }
    return table.IsEmpty() ? std::string() : table.Render(4);
}

}  // namespace

std::string Render(const ViewItems<datatypes::SmartStaticInfo>& items, const Disks& disks, const Style& style)
{
    Table table(style);
    for (const char* title : {"Disk", "Name", "Model", "Part identifier"}) {
        table.AddColumn(title);
    }
    for (const auto& item : items) {
        const std::string name = disks.NameOf(item.itemId);
        if (item.message == nullptr) {
            table.AddRow({name, "(no data)"});
            continue;
        }
        // The model that the disk is named by is not repeated.
        const std::string model = Trimmed(item.message->model_name());
        table.AddRow({name, item.message->name(), name.ends_with(' ' + model) ? "" : model, item.message->eppid()});
    }
    return table.Render(2);
}

std::string Render(const ViewItems<datatypes::SmartDynamicInfo>& items, const Disks& disks, const Style& style)
{
    std::string out;
    std::map<std::string, std::vector<std::string>> without;  // ids of disks without values, by reason
    for (const auto& item : items) {
        const std::string name = disks.NameOf(item.itemId);
        const std::string attributes = item.message == nullptr ? "" : RenderAttributes(*item.message, style);
        if (attributes.empty()) {
            const std::string reason = item.message == nullptr ? "no data" : NoValuesReason(disks.Find(item.itemId));
            without[reason].push_back(item.itemId);
        } else {
            out += (out.empty() ? "" : "\n") + RenderText(name + " (" + item.message->name() + ')', style, 2) + attributes;
        }
    }
    const char* gap = out.empty() ? "" : "\n";
    for (const auto& [reason, ids] : without) {
        constexpr std::size_t kFew = 3;
        std::string names;
        for (const std::string& id : ids) {
            names += (names.empty() ? "" : ", ") + (ids.size() > kFew ? disks.ShortNameOf(id) : disks.NameOf(id));
        }
        out += std::exchange(gap, "") + RenderText("No SMART values (" + reason + "): " + names, style, 2);
    }
    return out;
}

}  // namespace orbis::host
