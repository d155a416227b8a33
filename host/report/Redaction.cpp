#include "report/Redaction.h"

#include <fmt/format.h>
#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>
#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <vector>

#include "Formats.h"

namespace orbis::host {
namespace {

namespace pb = google::protobuf;
using insight::FieldExplanation;

// Texts and byte strings that do not identify one device among others of its kind. Every other one is replaced.
constexpr std::array<std::string_view, 24> kKept{
    "PhysicalDiskStaticInfo.name",
    "PhysicalDiskStaticInfo.description",
    "PhysicalDiskStaticInfo.make_model",
    "PhysicalDiskStaticInfo.capability",
    "PhysicalDiskStaticInfo.firmware_revision",
    "SmartStaticInfo.name",
    "SmartStaticInfo.model_name",
    "SmartDynamicInfo.name",
    "NvmeIdentifyControllerData.model_number",
    "NvmeIdentifyControllerData.firmware_revision",
    "NvmeIdentifyControllerData.ieee_oui_identifier",
    "NvmeIdentifyControllerData.total_nvm_capacity",
    "NvmeIdentifyControllerData.unallocated_nvm_capacity",
    "NvmeHealthInfo.data_unit_read",
    "NvmeHealthInfo.data_unit_written",
    "NvmeHealthInfo.host_read_commands",
    "NvmeHealthInfo.host_written_commands",
    "NvmeHealthInfo.controller_busy_time",
    "NvmeHealthInfo.power_cycles",
    "NvmeHealthInfo.power_on_hours",
    "NvmeHealthInfo.unsafe_shutdowns",
    "NvmeHealthInfo.media_and_data_integrity_errors",
    "NvmeHealthInfo.number_of_error_info_log_entries",
    "NvmeCustomizedHealthInfo.total_data_written_by_controller",
};
// Partition names that operating systems assign.
constexpr std::array<std::string_view, 6> kPartitionNames{
    "Not Used",           "EFI system partition", "EFI System Partition", "Microsoft reserved partition", "Basic data partition",
    "Linux root (x86-64)"};

constexpr std::string_view kLeftOut = "(left out)";

bool IsText(const pb::FieldDescriptor& field) { return field.cpp_type() == pb::FieldDescriptor::CPPTYPE_STRING; }

std::string NameOf(const pb::FieldDescriptor& field) { return field.containing_type()->name() + '.' + field.name(); }

bool MayStay(const pb::FieldDescriptor& field, std::string_view value)
{
    const std::string name = NameOf(field);
    return std::find(kKept.begin(), kKept.end(), name) != kKept.end() ||
           (name == "PhysicalDiskPartitionInfo.name" &&
            std::find(kPartitionNames.begin(), kPartitionNames.end(), value) != kPartitionNames.end());
}

// The field at a path in JSON's spelling, "partitions[0].serialNumber"; null when there is none.
const pb::FieldDescriptor* FieldAt(const pb::Descriptor* type, std::string_view path)
{
    while (type != nullptr) {
        const std::size_t dot = path.find('.');
        const std::string_view name = path.substr(0, std::min(dot, path.find('[')));
        const pb::FieldDescriptor* found = nullptr;
        for (int at = 0; at < type->field_count(); ++at) {
            found = type->field(at)->json_name() == name ? type->field(at) : found;
        }
        if (found == nullptr || dot == std::string_view::npos) {
            return found;
        }
        type = found->message_type();
        path.remove_prefix(dot + 1);
    }
    return nullptr;
}

std::string Lower(std::string_view text)
{
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](char letter) { return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter; });
    return lower;
}

std::string_view Trim(std::string_view text)
{
    constexpr std::string_view kPadding(" \t\0", 3);
    const std::size_t first = text.find_first_not_of(kPadding);
    return first == std::string_view::npos ? std::string_view() : text.substr(first, text.find_last_not_of(kPadding) - first + 1);
}

// Calls `change` with each text of the message and of those in it, and its field.
template <class Change>
void ForEachText(pb::Message& message, const Change& change)
{
    const auto& reflection = *message.GetReflection();
    std::vector<const pb::FieldDescriptor*> fields;
    reflection.ListFields(message, &fields);
    for (const pb::FieldDescriptor* field : fields) {
        const int count = field->is_repeated() ? reflection.FieldSize(message, field) : 1;
        for (int at = 0; at < count; ++at) {
            if (field->type() == pb::FieldDescriptor::TYPE_MESSAGE) {
                ForEachText(field->is_repeated() ? *reflection.MutableRepeatedMessage(&message, field, at)
                                                 : *reflection.MutableMessage(&message, field),
                            change);
            } else if (IsText(*field) && field->is_repeated()) {
                reflection.SetRepeatedString(&message, field, at, change(*field, reflection.GetRepeatedString(message, field, at)));
            } else if (IsText(*field)) {
                reflection.SetString(&message, field, change(*field, reflection.GetString(message, field)));
            }
        }
    }
}

// The texts to replace, with their replacements.
class Secrets {
public:
    // The replacement of a whole text.
    std::string Of(std::string_view text)
    {
        const std::string key = Lower(Trim(text));
        if (key.empty()) {
            return {};
        }
        const auto [found, isNew] = m_Replacements.try_emplace(key, std::string());
        if (isNew) {
            found->second = fmt::format("[{}]", m_Replacements.size());
        }
        return found->second;
    }

    // An item id or device id keeps its bus and model: "Disk_SCSI\DISK&VEN_X&PROD_Y\[1]". Its last part identifies the device.
    std::string OfDeviceId(std::string_view id)
    {
        constexpr std::string_view kPrefix = "Disk_";
        const std::size_t last = id.rfind('\\');
        if (last != std::string_view::npos) {
            return std::string(id.substr(0, last + 1)) + Of(id.substr(last + 1));
        }
        return id.starts_with(kPrefix) ? std::string(kPrefix) + Of(id.substr(kPrefix.size())) : Of(id);
    }

    // Learns the ids in a text of this program: of device paths, "\\?\scsi#disk&ven_x#ID#{...}", and the item ids in quotation
    // marks.
    void LearnIdsIn(std::string_view text)
    {
        for (std::size_t end = text.find("#{"); end != std::string_view::npos; end = text.find("#{", end + 2)) {
            const std::size_t before = text.substr(0, end).rfind('#');
            if (before != std::string_view::npos) {
                (void)Of(text.substr(before + 1, end - before - 1));
            }
        }
        constexpr std::string_view kItem = "\"Disk_";
        for (std::size_t at = text.find(kItem); at != std::string_view::npos; at = text.find(kItem, at + 1)) {
            const std::string_view id = text.substr(at + kItem.size());
            (void)OfDeviceId(id.substr(0, id.find('"')));
        }
    }

    // The text with every secret in it replaced, in upper or lower case. A short secret may occur by chance, so it is replaced only
    // where it is a whole word.
    [[nodiscard]] std::string In(std::string text) const
    {
        constexpr std::size_t kShortest = 4;
        for (const auto& [secret, replacement] : Longest()) {
            if (secret->size() < kShortest) {
                break;
            }
            for (std::size_t at = 0; (at = Lower(text).find(*secret, at)) != std::string::npos; at += replacement->size()) {
                text.replace(at, secret->size(), *replacement);
            }
        }
        return text;
    }

private:
    using Pair = std::pair<const std::string*, const std::string*>;

    // Longest first, because one secret may be part of another.
    [[nodiscard]] const std::vector<Pair>& Longest() const
    {
        if (m_Longest.size() != m_Replacements.size()) {
            m_Longest.clear();
            for (const auto& [secret, replacement] : m_Replacements) {
                m_Longest.emplace_back(&secret, &replacement);
            }
            std::stable_sort(m_Longest.begin(), m_Longest.end(),
                             [](const Pair& left, const Pair& right) { return left.first->size() > right.first->size(); });
        }
        return m_Longest;
    }

    std::map<std::string, std::string> m_Replacements;  // by the text in lower case, without padding
    mutable std::vector<Pair> m_Longest;
};

// Bytes in the spelling of the explanations: "5A 00".
std::string Hex(std::string_view bytes)
{
    std::string text;
    for (const char byte : bytes) {
        text += fmt::format("{}{:02X}", text.empty() ? "" : " ", static_cast<unsigned char>(byte));
    }
    return text;
}

std::string Replaced(const pb::FieldDescriptor& field, const std::string& value, Secrets& secrets)
{
    if (MayStay(field, value)) {
        return value;
    }
    return NameOf(field) == "PhysicalDiskStaticInfo.device_instance_id" ? secrets.OfDeviceId(value) : secrets.Of(value);
}

void RedactItem(insight::ReportItem& item, Secrets& secrets)
{
    item.set_item_id(secrets.OfDeviceId(item.item_id()));
    if (!item.has_data()) {
        return;
    }
    std::string type;
    pb::Any::ParseAnyTypeUrl(item.data().type_url(), &type);
    const auto message = NewMessage(type);
    if (message == nullptr || !item.data().UnpackTo(message.get())) {
        item.clear_data();
        return;
    }
    ForEachText(*message, [&](const pb::FieldDescriptor& field, const std::string& value) {
        const bool isBytes = field.type() == pb::FieldDescriptor::TYPE_BYTES && !MayStay(field, value);
        return Replaced(field, isBytes ? Hex(value) : value, secrets);
    });
    item.mutable_data()->PackFrom(*message);
}

// The raw content of a field that is kept may show more than the field itself: names and flags of a partition are derived from its
// identifier, one flag from the path of a folder.
bool ShowsMore(const pb::FieldDescriptor& known, const FieldExplanation& field)
{
    const std::string name = NameOf(known);
    const bool isMeasure = name == "PhysicalDiskPartitionInfo.size" || name == "PhysicalDiskPartitionInfo.index";
    const std::string_view raw = field.raw();
    return (name.starts_with("PhysicalDiskPartitionInfo.") && !isMeasure) ||
           (raw.find('"') != std::string_view::npos && raw != '"' + field.value() + '"');
}

void RedactExplanation(insight::MessageExplanation& explanation, Secrets& secrets)
{
    explanation.set_item_id(secrets.OfDeviceId(explanation.item_id()));
    const auto message = NewMessage("veyra.orbis.datatypes." + explanation.datatype());
    for (FieldExplanation& field : *explanation.mutable_field()) {
        if (field.state() == FieldExplanation::NOT_CARRIED) {
            // A SMART attribute is a count; other bytes may contain anything.
            field.set_raw(field.field().starts_with("attribute ") ? field.raw() : std::string(kLeftOut));
            continue;
        }
        const pb::FieldDescriptor* known = message == nullptr ? nullptr : FieldAt(message->GetDescriptor(), field.field());
        const bool isText = known == nullptr || IsText(*known);
        if (isText && (known == nullptr || !MayStay(*known, field.value()))) {
            field.set_value(known == nullptr ? secrets.Of(field.value()) : Replaced(*known, field.value(), secrets));
            field.set_raw(std::string(field.raw().empty() ? std::string_view() : kLeftOut));
        } else if (ShowsMore(*known, field)) {
            field.set_raw(std::string(field.raw().empty() ? std::string_view() : kLeftOut));
        }
    }
}

}  // namespace

void Redact(insight::Report& report)
{
    Secrets secrets;
    for (const std::string* host : {&report.host(), &report.health().host()}) {
        (void)secrets.Of(*host);
    }
    for (insight::ReportItem& item : *report.mutable_item()) {
        RedactItem(item, secrets);
    }
    for (insight::MessageExplanation& explanation : *report.mutable_explanation()) {
        RedactExplanation(explanation, secrets);
    }
    for (auto* disks : {report.mutable_health()->mutable_disk(), report.mutable_health()->mutable_gone()}) {
        for (insight::DiskHealth& disk : *disks) {
            disk.set_serial_number(secrets.Of(disk.serial_number()));
        }
    }
    for (insight::ReportDisk& disk : *report.mutable_disk()) {
        for (insight::ReportPartition& partition : *disk.mutable_partition()) {
            const bool isKnown =
                std::find(kPartitionNames.begin(), kPartitionNames.end(), partition.name()) != kPartitionNames.end();
            partition.set_name(isKnown ? partition.name() : secrets.Of(partition.name()));
        }
    }
    // The remaining texts are this program's own, with paths and names in them.
    for (insight::ReportFinding& finding : *report.mutable_finding()) {
        secrets.LearnIdsIn(finding.text());
        ForEachText(finding, [&](const auto&, const std::string& text) { return secrets.In(text); });
    }
    for (insight::MessageExplanation& explanation : *report.mutable_explanation()) {
        for (insight::RequestExplanation& request : *explanation.mutable_request()) {
            request.set_request(secrets.In(request.request()));
        }
        secrets.LearnIdsIn(explanation.reason());
        explanation.set_reason(secrets.In(explanation.reason()));
        for (FieldExplanation& field : *explanation.mutable_field()) {
            field.set_reason(secrets.In(field.reason()));
        }
    }
    report.set_host(secrets.Of(report.host()));
    report.mutable_health()->set_host(secrets.Of(report.health().host()));
    report.set_is_redacted(true);
}

}  // namespace orbis::host
