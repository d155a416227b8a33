#include "Metrics.h"

#include <fmt/format.h>
#include <google/protobuf/descriptor.h>

#include <array>
#include <cmath>
#include <limits>
#include <optional>

#include "MetricsRows.h"
#include "SmartAttributes.h"
#include "Text.h"
#include "Version.h"
#include "orbis/datatypes/nvme_health.pb.h"
#include "orbis/datatypes/nvme_identify.pb.h"
#include "orbis/datatypes/physical_disk.pb.h"
#include "orbis/datatypes/smart.pb.h"

namespace orbis::host {
namespace {

namespace datatypes = ::veyra::orbis::datatypes;
namespace pb = google::protobuf;
using Labels = MetricsText::Labels;

std::string Real(double value)
{
    if (std::isnan(value)) {
        return "NaN";
    }
    return std::isinf(value) ? (value < 0 ? "-Inf" : "+Inf") : fmt::format("{}", value);
}

// The number as a float prints it: 0.2F is 0.2, not 0.20000000298.
double Widened(float value) { return std::isfinite(value) ? std::stod(fmt::format("{}", value)) : static_cast<double>(value); }

template <class Integer>
std::string Scaled(Integer value, const Scale& scale)
{
    // Wrapped numbers have 64 bits at most, and so does every product here that a real disk gives.
    return scale.divisor == 1 && value <= std::numeric_limits<Integer>::max() / static_cast<Integer>(scale.factor)
               ? fmt::format("{}", value * static_cast<Integer>(scale.factor))
               : Real(static_cast<double>(value) * scale.factor / scale.divisor);
}

// The value of a field: 16 bytes or a wrapped number. Empty when it is absent.
std::optional<std::string> ValueOf(const pb::Message& message, const Row& row)
{
    const pb::FieldDescriptor* field = message.GetDescriptor()->FindFieldByName(std::string(row.field));
    if (field == nullptr || !message.GetReflection()->HasField(message, field)) {
        return std::nullopt;
    }
    if (field->type() == pb::FieldDescriptor::TYPE_BYTES) {
        const std::string bytes = message.GetReflection()->GetString(message, field);
        return bytes.empty() ? std::nullopt : std::optional(Decimal(bytes, row.scale.factor));
    }
    const pb::Message& wrapper = message.GetReflection()->GetMessage(message, field);
    const pb::Reflection& reflection = *wrapper.GetReflection();
    const pb::FieldDescriptor* value = wrapper.GetDescriptor()->FindFieldByNumber(1);
    const auto integer = [&](auto number) -> std::optional<std::string> {
        return number == 0 && row.isZeroAbsent ? std::nullopt : std::optional(Scaled(number, row.scale));
    };
    switch (value->cpp_type()) {
        case pb::FieldDescriptor::CPPTYPE_BOOL:
            return reflection.GetBool(wrapper, value) ? "1" : "0";
        case pb::FieldDescriptor::CPPTYPE_UINT32:
            return integer(std::uint64_t{reflection.GetUInt32(wrapper, value)});
        case pb::FieldDescriptor::CPPTYPE_INT32:
            return integer(std::int64_t{reflection.GetInt32(wrapper, value)});
        case pb::FieldDescriptor::CPPTYPE_UINT64:
            return integer(std::uint64_t{reflection.GetUInt64(wrapper, value)});
        case pb::FieldDescriptor::CPPTYPE_INT64:
            return integer(std::int64_t{reflection.GetInt64(wrapper, value)});
        case pb::FieldDescriptor::CPPTYPE_FLOAT:
            return Real(Widened(reflection.GetFloat(wrapper, value)) * row.scale.factor / row.scale.divisor);
        default:
            return std::nullopt;
    }
}

// The document while it is being filled.
class Document {
public:
    explicit Document(const MetricsSource& source) : m_Disks(source.disks), m_Evidence(source.evidence) {}

    // The labels that identify the disk in every series: drive number and serial number.
    [[nodiscard]] Labels Of(const std::string& itemId) const
    {
        const Disk* disk = m_Disks.Find(itemId);
        const bool hasNumber = disk != nullptr && disk->number;
        return {{"disk", hasNumber ? fmt::format("{}", *disk->number) : itemId},
                {"serial", disk == nullptr ? "" : disk->serialNumber}};
    }

    template <std::size_t Size>
    void Add(const std::array<Row, Size>& rows, const std::string& itemId, const pb::Message& message)
    {
        for (const Row& row : rows) {
            auto value = ExactCounter(itemId, row);
            value = value ? value : ValueOf(message, row);
            if (value) {
                Labels labels = Of(itemId);
                if (row.label != nullptr) {
                    labels.emplace_back(row.label, row.labelValue);
                }
                m_Text.Add(row.family, std::move(labels), *value);
            }
        }
    }

    void AddItem(const std::string& itemId, const datatypes::PhysicalDiskStaticInfo& message)
    {
        if (message.has_size()) {
            m_Text.Add({"orbis_disk_size_bytes", "Capacity, rounded down to a multiple of 2^20."}, Of(itemId),
                       Scaled(std::uint64_t{message.size().value()}, kMebibytes));
        }
        for (const auto& partition : message.partitions()) {
            if (partition.size().value() == 0) {
                continue;
            }
            Labels labels = Of(itemId);
            labels.emplace_back("partition", fmt::format("{}", partition.index().value()));
            labels.emplace_back("name", partition.name());
            labels.emplace_back("letter", m_Disks.LetterOf(itemId, partition.serial_number()));
            m_Text.Add({"orbis_partition_size_bytes", "Length of a partition."}, std::move(labels),
                       Scaled(std::uint64_t{partition.size().value()}, kMebibytes));
        }
    }
    void AddItem(const std::string& itemId, const datatypes::PhysicalDiskDynamicInfo& message)
    {
        Add(kDynamicRows, itemId, message);
    }
    void AddItem(const std::string& itemId, const datatypes::SmartNvmeInfo& message)
    {
        if (message.has_health_info()) {
            const auto& health = message.health_info();
            Add(kHealthRows, itemId, health);
            Add(kCriticalRows, itemId, health.critical_warning());
            Add(kEnduranceRows, itemId, health.endurance_group_critical_warning_summary());
        }
        if (message.has_customized_health_info()) {
            Add(kMakerRows, itemId, message.customized_health_info());
        }
    }
    void AddItem(const std::string& itemId, const datatypes::SmartDynamicInfo& message)
    {
        for (const SmartAttribute& attribute : kSmartAttributes) {
            const auto* field = message.GetDescriptor()->FindFieldByName(std::string(attribute.field));
            if (!message.GetReflection()->HasField(message, field)) {
                continue;
            }
            const auto& detail =
                static_cast<const datatypes::SmartAttributeDetail&>(message.GetReflection()->GetMessage(message, field));
            const auto add = [&](const Family& family, bool has, std::uint64_t value) {
                if (has) {
                    Labels labels = Of(itemId);
                    labels.emplace_back("id", fmt::format("{}", attribute.id));
                    labels.emplace_back("attribute", std::string(attribute.field));
                    m_Text.Add(family, std::move(labels), fmt::format("{}", value));
                }
            };
            add({"orbis_smart_raw_value", "Raw value of a SMART attribute, in the maker's unit."}, detail.has_raw_value(),
                detail.raw_value().value());
            add({"orbis_smart_normalized_value", "Health of a SMART attribute on the maker's scale, higher is better."},
                detail.has_normal(), detail.normal().value());
            add({"orbis_smart_worst_value", "Lowest normalized value ever."}, detail.has_worst(), detail.worst().value());
            add({"orbis_smart_threshold", "Normalized value at or below which the attribute has failed; 0 never fails."},
                detail.has_threshold(), detail.threshold().value());
        }
        if (message.temperature().has_raw_value()) {
            Labels labels = Of(itemId);
            labels.emplace_back("sensor", "drive");
            m_Text.Add(kTemperature, std::move(labels), fmt::format("{}", message.temperature().raw_value().value()));
        }
    }
    void AddItem(const std::string& itemId, const datatypes::NvmeIdentifyControllerData& message)
    {
        // Limits in Kelvin; 0 is not reported.
        const auto limit = [&](const Family& family, std::uint32_t kelvin) {
            if (kelvin != 0) {
                m_Text.Add(family, Of(itemId), fmt::format("{}", static_cast<std::int64_t>(kelvin) - 273));
            }
        };
        limit({"orbis_nvme_warning_temperature_celsius", "Temperature above which the drive warns."},
              message.warning_composite_temperature_threshold().value());
        limit({"orbis_nvme_critical_temperature_celsius", "Temperature above which the drive is not to run."},
              message.critical_composite_temperature_threshold().value());
        m_Identify[itemId] = &message;
    }

    void AddInfo(const std::string& itemId, const datatypes::PhysicalDiskStaticInfo* message)
    {
        Labels labels = Of(itemId);
        const auto add = [&](const char* name, std::string value) {
            if (!value.empty()) {
                labels.emplace_back(name, std::move(value));
            }
        };
        add("item_id", itemId);
        if (const Disk* disk = m_Disks.Find(itemId)) {
            add("model", disk->model);
            std::string letters;
            for (const auto& [letter, volume] : disk->letters) {
                letters += (letters.empty() ? "" : " ") + letter;
            }
            add("letters", letters);
        }
        if (message != nullptr) {
            add("kind", message->capability_size() == 0 ? "" : message->capability(message->capability_size() - 1));
            add("firmware", Trimmed(message->firmware_revision()));
            add("part", Trimmed(message->eppid()));
            add("partition_table", message->guid());
        }
        if (const auto found = m_Identify.find(itemId); found != m_Identify.end()) {
            const auto& identify = *found->second;
            const auto& version = identify.version();
            add("nvme_version",
                fmt::format("{}.{}.{}", version.major().value(), version.minor().value(), version.tertiary().value()));
            add("pci_vendor", fmt::format("{:04x}", identify.pci_vendor_id().value()));
            add("pci_subsystem_vendor", fmt::format("{:04x}", identify.pci_subsystem_vendor_id().value()));
            add("ieee_oui", identify.ieee_oui_identifier());
            add("controller", fmt::format("{}", identify.controller_id().value()));
            add("namespaces", fmt::format("{}", identify.number_of_namespaces().value()));
            add("power_states", fmt::format("{}", identify.power_state_desc_size()));
            add("firmware_slots", fmt::format("{}", identify.firmware_updates().number_of_firmware_slots().value()));
            add("subsystem", identify.nvm_subsystem_nvme_qualified_name());
            add("nvme_part", identify.customized_controller_data().eppid());
        }
        m_Text.Add({"orbis_disk_info", "Identity of a disk; always 1."}, std::move(labels), "1");
    }

    void AddHealth(const insight::DiskHealth& health)
    {
        Labels labels{{"disk", fmt::format("{}", health.number())}, {"serial", health.serial_number()}};
        for (const Disk& disk : m_Disks.All()) {
            labels = disk.number == health.number() ? Of(disk.itemId) : labels;
        }
        // A notice does not change the verdict OK.
        const auto verdict = health.verdict() == insight::NOTICE ? insight::OK : health.verdict();
        for (const auto one : {insight::OK, insight::UNKNOWN, insight::WARN, insight::FAIL, insight::ASLEEP}) {
            Labels with = labels;
            with.emplace_back("verdict", insight::Verdict_Name(one));
            m_Text.Add({"orbis_disk_verdict", "1 for the verdict of the disk, 0 for the others; docs/HEALTH.md has the rules."},
                       std::move(with), verdict == one ? "1" : "0");
        }
        for (const insight::HealthRule& rule : insight::HealthRules()) {
            const bool isCount =
                rule.level == insight::WARN && (rule.counter == "mediaErrors" || rule.counter.starts_with("attribute."));
            if (const auto count = isCount ? insight::RuleCounter(health, rule.counter) : std::nullopt) {
                Labels with = labels;
                with.emplace_back("rule", rule.name);
                m_Text.Add({"orbis_disk_errors", "Count that a rule warns of; pending sectors may become fewer."}, std::move(with),
                           *count);
            }
        }
        for (const auto& reason : health.reason()) {
            Labels with = labels;
            with.emplace_back("rule", reason.rule());
            with.emplace_back("level", insight::Verdict_Name(reason.level()));
            m_Text.Add({"orbis_disk_reason", "1 for each rule that applies to the disk."}, std::move(with), "1");
        }
    }

    MetricsText& Text() { return m_Text; }

private:
    // A counter from the log itself: a datatype sends one whose lowest byte is 0 as nothing.
    [[nodiscard]] std::optional<std::string> ExactCounter(const std::string& itemId, const Row& row) const
    {
        constexpr std::size_t kSize = 16;
        const Disk* disk = row.place == 0 ? nullptr : m_Disks.Find(itemId);
        for (const insight::DiskEvidence& one : m_Evidence) {
            const auto page = one.nvmeHealth.Bytes();
            if (disk != nullptr && disk->number == one.number && one.nvmeHealth.IsAnswered() && page.size() >= row.place + kSize) {
                return Decimal({reinterpret_cast<const char*>(page.data()) + row.place, kSize}, row.scale.factor);
            }
        }
        return std::nullopt;
    }

    const Disks& m_Disks;
    const std::vector<insight::DiskEvidence>& m_Evidence;
    MetricsText m_Text;
    std::map<std::string, const datatypes::NvmeIdentifyControllerData*> m_Identify;
};

template <class T>
bool AddResult(const CollectedDatatype& result, Document& document)
{
    if (result.datatype != T::descriptor()->name()) {
        return false;
    }
    for (const Collected& item : result.items) {
        if (item.message != nullptr) {
            document.AddItem(item.itemId, static_cast<const T&>(*item.message));
        }
    }
    return true;
}

}  // namespace

std::string RenderMetrics(const MetricsSource& source)
{
    Document document(source);
    std::map<std::string, const datatypes::PhysicalDiskStaticInfo*> items;
    for (const CollectedDatatype& result : source.results) {
        AddResult<datatypes::PhysicalDiskStaticInfo>(result, document) ||
            AddResult<datatypes::PhysicalDiskDynamicInfo>(result, document) ||
            AddResult<datatypes::SmartDynamicInfo>(result, document) || AddResult<datatypes::SmartNvmeInfo>(result, document) ||
            AddResult<datatypes::NvmeIdentifyControllerData>(result, document);
        const bool isStatic = result.datatype == datatypes::PhysicalDiskStaticInfo::descriptor()->name();
        for (const Collected& item : result.items) {
            auto& known = items[item.itemId];
            known = isStatic ? static_cast<const datatypes::PhysicalDiskStaticInfo*>(item.message.get()) : known;
        }
    }
    for (const auto& [itemId, message] : items) {
        document.AddInfo(itemId, message);
    }
    for (const insight::DiskHealth& health : source.health.disk()) {
        document.AddHealth(health);
    }
    MetricsText& text = document.Text();
    const auto seconds = [](auto duration) { return Real(std::chrono::duration<double>(duration).count()); };
    for (const auto& [datatype, collection] : source.collections) {
        const Labels labels{{"datatype", datatype}};
        text.Add({"orbis_collection_success", "1 when the datatype was collected."}, labels, collection.isSuccess ? "1" : "0");
        text.Add({"orbis_collection_duration_seconds", "How long the collection took."}, labels, seconds(collection.duration));
        text.Add({"orbis_collection_timestamp_seconds", "When the collection began, since 1970."}, labels,
                 seconds(collection.time.time_since_epoch()));
    }
    text.Add({"orbis_findings", "Findings about what was left out."}, {}, fmt::format("{}", source.findings.size()));
    text.Add({"orbis_host_info", "Version of this program; always 1."}, {{"version", kVersion}}, "1");
    return text.Text();
}

}  // namespace orbis::host
