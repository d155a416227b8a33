#include "Formats.h"

#include <fmt/format.h>
#include <google/protobuf/io/coded_stream.h>
#include <google/protobuf/io/zero_copy_stream_impl_lite.h>
#include <google/protobuf/text_format.h>
#include <google/protobuf/timestamp.pb.h>
#include <google/protobuf/util/delimited_message_util.h>
#include <google/protobuf/wrappers.pb.h>
#include <algorithm>
#include <array>
#include <string_view>

#include "JsonWriter.h"
#include "Table.h"
#include "orbis/host/collected_item.pb.h"
#include "orbis/host/json_line.pb.h"
#include "views/Views.h"

namespace orbis::host {
namespace {

namespace pb = google::protobuf;

constexpr std::string_view kPackage = "veyra.orbis.datatypes.";

template <class Datatype>
const pb::Message& PrototypeOf()
{
    return Datatype::default_instance();
}

pb::Timestamp ToTimestamp(std::chrono::system_clock::time_point time)
{
    const auto sinceEpoch = time.time_since_epoch();
    const auto seconds = std::chrono::floor<std::chrono::seconds>(sinceEpoch);
    pb::Timestamp timestamp;
    timestamp.set_seconds(seconds.count());
    timestamp.set_nanos(
        static_cast<std::int32_t>(std::chrono::duration_cast<std::chrono::nanoseconds>(sinceEpoch - seconds).count()));
    return timestamp;
}

std::string WriteTime(JsonWriter& writer, std::chrono::system_clock::time_point time)
{
    return writer.Write("google.protobuf.Timestamp", ToTimestamp(time));
}

std::string WriteText(JsonWriter& writer, const std::string& utf8)
{
    pb::StringValue value;
    value.set_value(utf8);
    return writer.Write("google.protobuf.StringValue", value);
}

// For each item its data; "null" for one without.
std::vector<std::string> WriteData(JsonWriter& writer, const CollectedDatatype& result)
{
    std::vector<const pb::MessageLite*> messages;
    for (const Collected& item : result.items) {
        messages.push_back(item.message.get());
    }
    return writer.Write(std::string(kPackage) + result.datatype, messages);
}

std::string RenderJson(const std::vector<CollectedDatatype>& results)
{
    JsonWriter writer;
    std::string out = "[";
    const char* separator = "\n";
    for (const CollectedDatatype& result : results) {
        const std::vector<std::string> data = WriteData(writer, result);
        auto text = data.begin();
        for (const Collected& item : result.items) {
            out += fmt::format(R"({}{{"datatype":{},"itemId":{},"collectionTime":{},"data":{}}})", separator,
                               WriteText(writer, result.datatype), WriteText(writer, item.itemId), WriteTime(writer, item.time),
                               *text++);
            separator = ",\n";
        }
    }
    return out + "\n]\n";
}

// Whether the finding is about this disk and concerns this datatype.
bool Concerns(const Finding& finding, const Disk* disk, const std::string& datatype)
{
    const bool isItsDisk = disk != nullptr && disk->number &&
                           (finding.subject == fmt::format("DISK{}", *disk->number) || disk->letters.contains(finding.subject));
    const auto& names = finding.datatypes;
    return isItsDisk && (names.empty() || std::find(names.begin(), names.end(), datatype) != names.end());
}

void Add(const Finding& finding, JsonLine& line)
{
    JsonFinding& added = *line.add_findings();
    added.set_kind(finding.kind);
    added.set_subject(finding.subject);
    added.set_text(finding.text);
    added.set_remedy(finding.remedy);
    added.mutable_datatypes()->Add(finding.datatypes.begin(), finding.datatypes.end());
}

JsonLine BeginLine(const Context& context, std::chrono::system_clock::time_point time)
{
    constexpr std::uint32_t kFormatVersion = 1;
    JsonLine line;
    line.set_format_version(kFormatVersion);
    line.set_host(context.host);
    *line.mutable_time() = ToTimestamp(time);
    return line;
}

// One line for each item, and one for the findings that concern none of them.
std::string RenderJsonLines(const std::vector<CollectedDatatype>& results, const Context& context)
{
    constexpr const char* kLine = "orbis.host.JsonLine";
    JsonWriter writer;
    std::string out;
    std::vector<const Finding*> left;
    for (const Finding& finding : context.findings) {
        left.push_back(&finding);
    }
    for (const CollectedDatatype& result : results) {
        const std::vector<std::string> data = WriteData(writer, result);
        auto itsData = data.begin();
        for (const Collected& item : result.items) {
            JsonLine line = BeginLine(context, item.time);
            const Disk* disk = context.disks.Find(item.itemId);
            if (disk != nullptr) {
                JsonDisk& known = *line.mutable_disk();
                if (disk->number) {
                    known.set_number(*disk->number);
                }
                if (!disk->serialNumber.empty()) {
                    known.set_serial(disk->serialNumber);
                }
                if (!disk->model.empty()) {
                    known.set_model(disk->model);
                }
                for (const auto& [letter, volume] : disk->letters) {
                    known.add_letters(letter);
                }
            }
            line.set_datatype(result.datatype);
            line.set_item_id(item.itemId);
            for (const Finding& finding : context.findings) {
                if (Concerns(finding, disk, result.datatype)) {
                    Add(finding, line);
                    std::erase(left, &finding);
                }
            }
            std::string text = writer.Write(kLine, line);
            text.pop_back();  // the brace that closes it
            out += fmt::format("{},\"data\":{}}}\n", text, *itsData++);
        }
    }
    if (!left.empty()) {
        JsonLine line = BeginLine(context, context.time);
        for (const Finding* finding : left) {
            Add(*finding, line);
        }
        out += writer.Write(kLine, line) + '\n';
    }
    return out;
}

std::string RenderText(const std::vector<CollectedDatatype>& results)
{
    JsonWriter writer;
    pb::TextFormat::Printer printer;
    printer.SetUseUtf8StringEscaping(true);
    std::string out;
    for (const CollectedDatatype& result : results) {
        for (const Collected& item : result.items) {
            // Item ids are device text. Quoted and escaped as in JSON, they stay on one line.
            out += fmt::format("{}# {} {} {}\n", out.empty() ? "" : "\n", result.datatype, WriteText(writer, item.itemId),
                               Rfc3339(item.time));
            if (item.message == nullptr) {
                out += "# no data\n";
                continue;
            }
            std::string text;
            printer.PrintToString(*item.message, &text);
            out += text;
        }
    }
    return out;
}

std::string RenderBinary(const std::vector<CollectedDatatype>& results)
{
    std::string out;
    pb::io::StringOutputStream stream(&out);
    for (const CollectedDatatype& result : results) {
        for (const Collected& item : result.items) {
            CollectedItem record;
            record.set_datatype(result.datatype);
            record.set_item_id(item.itemId);
            *record.mutable_collection_time() = ToTimestamp(item.time);
            if (item.message != nullptr) {
                record.mutable_data()->PackFrom(*item.message);
            }
            pb::util::SerializeDelimitedToZeroCopyStream(record, &stream);
        }
    }
    return out;
}

template <class T>
bool RenderAs(const CollectedDatatype& result, const Disks& disks, const Style& style, std::string& out)
{
    if (result.datatype != T::descriptor()->name()) {
        return false;
    }
    ViewItems<T> items;
    for (const Collected& item : result.items) {
        items.push_back({item.itemId, static_cast<const T*>(item.message.get())});
    }
    out += Render(items, disks, style);
    return true;
}

// The item ids of the named disks, unless a table shows them.
std::string RenderLegend(const std::vector<CollectedDatatype>& results, const Disks& disks, const Style& style)
{
    std::vector<std::string> shown;
    for (const CollectedDatatype& result : results) {
        for (const Collected& item : result.items) {
            if (disks.Find(item.itemId) != nullptr && std::find(shown.begin(), shown.end(), item.itemId) == shown.end()) {
                shown.push_back(item.itemId);
            }
        }
    }
    return shown.empty() ? std::string() : '\n' + RenderItemIds(shown, disks, style);
}

std::string RenderTables(const std::vector<CollectedDatatype>& results, const Disks& disks, const Style& style)
{
    std::string out;
    bool hasIds = false;
    for (const CollectedDatatype& result : results) {
        hasIds = hasIds || result.datatype == datatypes::PhysicalDiskStaticInfo::descriptor()->name();
        out += fmt::format("{}{}: {} {}\n", out.empty() ? "" : "\n", result.datatype, result.items.size(),
                           result.items.size() == 1 ? "disk" : "disks");
        if (!result.items.empty()) {
            RenderAs<datatypes::PhysicalDiskStaticInfo>(result, disks, style, out) ||
                RenderAs<datatypes::PhysicalDiskDynamicInfo>(result, disks, style, out) ||
                RenderAs<datatypes::SmartStaticInfo>(result, disks, style, out) ||
                RenderAs<datatypes::SmartDynamicInfo>(result, disks, style, out) ||
                RenderAs<datatypes::SmartNvmeInfo>(result, disks, style, out) ||
                RenderAs<datatypes::NvmeIdentifyControllerData>(result, disks, style, out);
        }
    }
    return hasIds ? out : out + RenderLegend(results, disks, style);
}

}  // namespace

void Keep(std::vector<CollectedDatatype>& results, const std::vector<std::string>& itemIds)
{
    for (CollectedDatatype& result : results) {
        std::erase_if(result.items, [&](const Collected& item) {
            return std::find(itemIds.begin(), itemIds.end(), item.itemId) == itemIds.end();
        });
    }
}

void Keep(insight::HealthReport& report, const std::vector<std::string>& itemIds, const Disks& disks)
{
    const auto isWanted = [&](const insight::DiskHealth& disk) {
        return std::any_of(itemIds.begin(), itemIds.end(), [&](const std::string& id) {
            const Disk* known = disks.Find(id);
            return known != nullptr && known->number == disk.number();
        });
    };
    auto& all = *report.mutable_disk();
    all.erase(std::remove_if(all.begin(), all.end(), [&](const insight::DiskHealth& disk) { return !isWanted(disk); }), all.end());
}

std::unique_ptr<pb::Message> NewMessage(const std::string& fullName)
{
    // By class, so that descriptors are registered and built only on request.
    using Prototype = const pb::Message& (*)();
    static constexpr std::array<std::pair<std::string_view, Prototype>, 6> kDatatypes{
        {{"PhysicalDiskDynamicInfo", PrototypeOf<datatypes::PhysicalDiskDynamicInfo>},
         {"PhysicalDiskStaticInfo", PrototypeOf<datatypes::PhysicalDiskStaticInfo>},
         {"SmartDynamicInfo", PrototypeOf<datatypes::SmartDynamicInfo>},
         {"SmartNvmeInfo", PrototypeOf<datatypes::SmartNvmeInfo>},
         {"SmartStaticInfo", PrototypeOf<datatypes::SmartStaticInfo>},
         {"NvmeIdentifyControllerData", PrototypeOf<datatypes::NvmeIdentifyControllerData>}}};
    const auto found = std::ranges::find_if(kDatatypes, [&](const auto& one) {
        return fullName.starts_with(kPackage) && fullName.substr(kPackage.size()) == one.first;
    });
    return std::unique_ptr<pb::Message>(found == kDatatypes.end() ? nullptr : found->second().New());
}

std::string Render(const std::vector<CollectedDatatype>& results, Format format, const Context& context)
{
    switch (format) {
        case Format::Json:
            return RenderJson(results);
        case Format::JsonLines:
            return RenderJsonLines(results, context);
        case Format::Text:
            return RenderText(results);
        case Format::Binary:
            return RenderBinary(results);
        case Format::Table:
            break;
    }
    return RenderTables(results, context.disks, context.style);
}

std::string Rfc3339(std::chrono::system_clock::time_point time)
{
    JsonWriter writer;
    const std::string quoted = WriteTime(writer, time);
    return quoted.size() > 2 ? quoted.substr(1, quoted.size() - 2) : quoted;
}

}  // namespace orbis::host
