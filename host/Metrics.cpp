#include "Metrics.h"

#include <fmt/format.h>
#include <google/protobuf/descriptor.h>

#include <array>
#include <cmath>
#include <limits>
#include <optional>

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
using Family = MetricsText::Family;
using Labels = MetricsText::Labels;

// How a field becomes a value. Integers stay integers; what is divided is a floating-point number.
struct Scale {
    std::uint32_t factor = 1;
    std::uint32_t divisor = 1;
};
constexpr Scale kPercent{1, 100};
constexpr Scale kMinutes{60};
constexpr Scale kMebibytes{1048576};

// One field of a message as a series.
struct Row {
    std::string_view field;
    Family family;
    Scale scale{};
    const char* label = nullptr;  // with its value, where several fields share a family
    const char* labelValue = nullptr;
    bool isZeroAbsent = false;  // the datatype sends 0 for "not reported"
};

constexpr Family kTemperature{"orbis_disk_temperature_celsius", "Temperature, by sensor."};
constexpr Family kThrottled{"orbis_nvme_thermal_throttling_total", "Transitions to a thermal management temperature, by level."};
constexpr Family kThrottledTime{"orbis_nvme_thermal_throttling_seconds_total", "Time throttled for heat, by level."};
constexpr Family kCritical{"orbis_nvme_critical_warning", "Critical warning of the drive, 1 when it is set."};
constexpr Family kEndurance{"orbis_nvme_endurance_group_warning", "Warning of an endurance group, 1 when it is set."};

constexpr std::array kDynamicRows{
    Row{"idle_time_percentage", {"orbis_disk_idle_ratio", "Share of time without an outstanding request."}, kPercent},
    Row{"read_time_percentage", {"orbis_disk_read_time_ratio", "Share of time busy with reads."}, kPercent},
    Row{"write_time_percentage", {"orbis_disk_write_time_ratio", "Share of time busy with writes."}, kPercent},
    Row{"byte_read_per_sec_in_MB", {"orbis_disk_read_bytes_per_second", "Bytes read a second."}, kMebibytes},
    Row{"byte_write_per_sec_in_MB", {"orbis_disk_written_bytes_per_second", "Bytes written a second."}, kMebibytes},
    Row{"avg_disk_MS_per_read", {"orbis_disk_read_latency_seconds", "Average time of a read."}, {1, 1000}},
    Row{"avg_disk_MS_per_write", {"orbis_disk_write_latency_seconds", "Average time of a write."}, {1, 1000}},
    Row{"byte_read_in_MB", {"orbis_volume_read_bytes_total", "Read from the disk's last volume since it was mounted."}, kMebibytes},
    Row{"byte_write_in_MB",
        {"orbis_volume_written_bytes_total", "Written to the disk's last volume since it was mounted."},
        kMebibytes},
};

constexpr std::array kHealthRows{
    Row{"composite_temperature", kTemperature, {}, "sensor", "composite", true},
    Row{"temperature_sensor1", kTemperature, {}, "sensor", "1", true},
    Row{"temperature_sensor2", kTemperature, {}, "sensor", "2", true},
    Row{"temperature_sensor3", kTemperature, {}, "sensor", "3", true},
    Row{"temperature_sensor4", kTemperature, {}, "sensor", "4", true},
    Row{"temperature_sensor5", kTemperature, {}, "sensor", "5", true},
    Row{"temperature_sensor6", kTemperature, {}, "sensor", "6", true},
    Row{"temperature_sensor7", kTemperature, {}, "sensor", "7", true},
    Row{"temperature_sensor8", kTemperature, {}, "sensor", "8", true},
    Row{"available_spare", {"orbis_nvme_available_spare_ratio", "Spare capacity that is left."}, kPercent},
    Row{"available_spare_threshold",
        {"orbis_nvme_available_spare_threshold_ratio", "Spare capacity below which the drive warns."},
        kPercent},
    Row{"percentage_used", {"orbis_nvme_used_ratio", "Endurance used; may pass 1."}, kPercent},
    Row{"data_unit_read", {"orbis_nvme_data_read_bytes_total", "Data read by the host."}, {512000}},
    Row{"data_unit_written", {"orbis_nvme_data_written_bytes_total", "Data written by the host."}, {512000}},
    Row{"host_read_commands", {"orbis_nvme_host_read_commands_total", "Read commands completed."}},
    Row{"host_written_commands", {"orbis_nvme_host_write_commands_total", "Write commands completed."}},
    Row{"controller_busy_time", {"orbis_nvme_controller_busy_seconds_total", "Time busy with commands."}, kMinutes},
    Row{"power_cycles", {"orbis_nvme_power_cycles_total", "Power cycles."}},
    Row{"power_on_hours", {"orbis_nvme_power_on_seconds_total", "Time powered on."}, {3600}},
    Row{"unsafe_shutdowns", {"orbis_nvme_unsafe_shutdowns_total", "Shutdowns without notice."}},
    Row{"media_and_data_integrity_errors", {"orbis_nvme_media_errors_total", "Unrecovered data integrity errors."}},
    Row{"number_of_error_info_log_entries", {"orbis_nvme_error_log_entries_total", "Entries ever made in the error log."}},
    Row{"warning_composite_temperature_time",
        {"orbis_nvme_above_warning_temperature_seconds_total", "Time at or above the warning temperature."},
        kMinutes},
    Row{"critical_composite_temperature_time",
        {"orbis_nvme_above_critical_temperature_seconds_total", "Time at or above the critical temperature."},
        kMinutes},
    Row{"thermal_mgmt_temperature1_transition_count", kThrottled, {}, "level", "light"},
    Row{"thermal_mgmt_temperature2_transition_count", kThrottled, {}, "level", "heavy"},
    Row{"total_time_for_thermal_mgmt_temperature1", kThrottledTime, {}, "level", "light"},
    Row{"total_time_for_thermal_mgmt_temperature2", kThrottledTime, {}, "level", "heavy"},
};

constexpr std::array kCriticalRows{
    Row{"low_available_space", kCritical, {}, "condition", "spare"},
    Row{"out_of_temperature_threshold", kCritical, {}, "condition", "temperature"},
    Row{"degraded_reliability", kCritical, {}, "condition", "reliability"},
    Row{"read_only", kCritical, {}, "condition", "read_only"},
    Row{"failed_volatile_memory_backup_device", kCritical, {}, "condition", "backup"},
    Row{"unreliable_persistent_memory_region", kCritical, {}, "condition", "persistent_memory"},
};
constexpr std::array kEnduranceRows{
    Row{"low_available_spare_capacity", kEndurance, {}, "condition", "spare"},
    Row{"degraded_reliability", kEndurance, {}, "condition", "reliability"},
    Row{"read_only", kEndurance, {}, "condition", "read_only"},
};

constexpr std::array kMakerRows{
    Row{"wear_leveling_count", {"orbis_nvme_maker_wear_leveling", "Wear levelling count of the maker's log."}},
    Row{"used_reserved_block_count_worst_case_component",
        {"orbis_nvme_maker_used_reserved_blocks_worst", "Reserved blocks used, worst component."}},
    Row{"used_reserved_block_count_ssd_total", {"orbis_nvme_maker_used_reserved_blocks", "Reserved blocks used."}},
    Row{"reserved_block_count_ssd_total", {"orbis_nvme_maker_reserved_blocks", "Reserved blocks."}},
    Row{"total_data_written_by_controller",
        {"orbis_nvme_maker_controller_writes_total", "Data written by the controller, in the maker's unit."}},
    Row{"abnormal_input_vcc_voltage_counter", {"orbis_nvme_maker_abnormal_voltage_total", "Times the supply was out of range."}},
};

std::string Real(double value)
{
    if (std::isnan(value)) {
        return "NaN";
    }
    return std::isinf(value) ? (value < 0 ? "-Inf" : "+Inf") : fmt::format("{}", value);
}

// The number that a float prints as: 0.2F is 0.2, not 0.20000000298.
double Widened(float value) { return std::isfinite(value) ? std::stod(fmt::format("{}", value)) : static_cast<double>(value); }

template <class Integer>
std::string Scaled(Integer value, const Scale& scale)
{
    // Wrapped numbers have 64 bits at most, and so does every product here that a real disk gives.
    return scale.divisor == 1 && value <= std::numeric_limits<Integer>::max() / static_cast<Integer>(scale.factor)
               ? fmt::format("{}", value * static_cast<Integer>(scale.factor))
               : Real(static_cast<double>(value) * scale.factor / scale.divisor);
}

// The value of a field: 16 bytes or a wrapped number. Nothing when it is absent.
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
    explicit Document(const Disks& disks) : m_Disks(disks) {}

    // The labels by which every series of a disk is known: where it is, and which one it is.
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
            if (const auto value = ValueOf(message, row)) {
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

    MetricsText& Text() { return m_Text; }

private:
    const Disks& m_Disks;
    MetricsText m_Text;
    std::map<std::string, const datatypes::NvmeIdentifyControllerData*> m_Identify;
};

template <class T>
bool AddPass(const Pass& pass, Document& document)
{
    if (pass.datatype != T::descriptor()->name()) {
        return false;
    }
    for (const Collected& item : pass.items) {
        if (item.message != nullptr) {
            document.AddItem(item.itemId, static_cast<const T&>(*item.message));
        }
    }
    return true;
}

}  // namespace

std::string RenderMetrics(const std::vector<Pass>& passes, const Disks& disks, const std::map<std::string, Collection>& collections,
                          const std::vector<Finding>& findings)
{
    Document document(disks);
    std::map<std::string, const datatypes::PhysicalDiskStaticInfo*> items;
    for (const Pass& pass : passes) {
        AddPass<datatypes::PhysicalDiskStaticInfo>(pass, document) || AddPass<datatypes::PhysicalDiskDynamicInfo>(pass, document) ||
            AddPass<datatypes::SmartDynamicInfo>(pass, document) || AddPass<datatypes::SmartNvmeInfo>(pass, document) ||
            AddPass<datatypes::NvmeIdentifyControllerData>(pass, document);
        const bool isStatic = pass.datatype == datatypes::PhysicalDiskStaticInfo::descriptor()->name();
        for (const Collected& item : pass.items) {
            auto& known = items[item.itemId];
            known = isStatic ? static_cast<const datatypes::PhysicalDiskStaticInfo*>(item.message.get()) : known;
        }
    }
    for (const auto& [itemId, message] : items) {
        document.AddInfo(itemId, message);
    }
    MetricsText& text = document.Text();
    const auto seconds = [](auto duration) { return Real(std::chrono::duration<double>(duration).count()); };
    for (const auto& [datatype, collection] : collections) {
        const Labels labels{{"datatype", datatype}};
        text.Add({"orbis_collection_success", "1 when the datatype was collected."}, labels, collection.isSuccess ? "1" : "0");
        text.Add({"orbis_collection_duration_seconds", "How long the collection took."}, labels, seconds(collection.duration));
        text.Add({"orbis_collection_timestamp_seconds", "When the collection began, since 1970."}, labels,
                 seconds(collection.time.time_since_epoch()));
    }
    text.Add({"orbis_findings", "Findings about what was left out."}, {}, fmt::format("{}", findings.size()));
    text.Add({"orbis_host_info", "Version of this program; always 1."}, {{"version", kVersion}}, "1");
    return text.Text();
}

}  // namespace orbis::host
