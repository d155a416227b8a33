#include <fmt/format.h>
#include <google/protobuf/descriptor.h>
#include <algorithm>
#include <bitset>
#include <set>

#include "explain/Applied.h"
#include "insight/ErrorText.h"

namespace orbis::insight {
namespace {

using google::protobuf::FieldDescriptor;
using google::protobuf::Message;
using Observations = Explainer::Observations;

bool IsWrapper(const FieldDescriptor& field)
{
    return field.type() == FieldDescriptor::TYPE_MESSAGE &&
           field.message_type()->file()->name() == "google/protobuf/wrappers.proto";
}

// The value of a field as in JSON, without quotes; bytes in hexadecimal.
std::string ScalarText(const Message& message, const FieldDescriptor& field)
{
    const auto& reflection = *message.GetReflection();
    switch (field.cpp_type()) {
        case FieldDescriptor::CPPTYPE_BOOL:
            return reflection.GetBool(message, &field) ? "true" : "false";
        case FieldDescriptor::CPPTYPE_UINT32:
            return std::to_string(reflection.GetUInt32(message, &field));
        case FieldDescriptor::CPPTYPE_INT32:
            return std::to_string(reflection.GetInt32(message, &field));
        case FieldDescriptor::CPPTYPE_UINT64:
            return std::to_string(reflection.GetUInt64(message, &field));
        case FieldDescriptor::CPPTYPE_INT64:
            return std::to_string(reflection.GetInt64(message, &field));
        case FieldDescriptor::CPPTYPE_FLOAT:
            return fmt::format("{}", reflection.GetFloat(message, &field));
        case FieldDescriptor::CPPTYPE_DOUBLE:
            return fmt::format("{}", reflection.GetDouble(message, &field));
        case FieldDescriptor::CPPTYPE_ENUM:
            return reflection.GetEnum(message, &field)->name();
        case FieldDescriptor::CPPTYPE_STRING: {
            const std::string text = reflection.GetString(message, &field);
            if (field.type() == FieldDescriptor::TYPE_STRING) {
                return text;
            }
            return HexText({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
        }
        case FieldDescriptor::CPPTYPE_MESSAGE:
            break;
    }
    return {};
}

class Walk {
public:
    Walk(const Observations& observations, MessageExplanation& out) : m_Observations(observations), m_Out(out) {}

    void Fields(const Message& message, const std::string& prefix, const Scope& scope)
    {
        const auto& descriptor = *message.GetDescriptor();
        for (int at = 0; at < descriptor.field_count(); ++at) {
            Field(message, *descriptor.field(at), prefix, scope);
        }
    }

    [[nodiscard]] const std::set<Request>& Requests() const noexcept { return m_Requests; }
    [[nodiscard]] const std::set<std::string>& Classes() const noexcept { return m_Classes; }

private:
    void Field(const Message& message, const FieldDescriptor& field, const std::string& prefix, const Scope& scope)
    {
        const auto& reflection = *message.GetReflection();
        const std::string path = prefix + field.json_name();
        const FieldSource* source = SourceOf(fmt::format("{}.{}", field.containing_type()->name(), field.name()));
        Note(source);
        if (field.is_repeated() && field.type() == FieldDescriptor::TYPE_MESSAGE) {
            const int count = reflection.FieldSize(message, &field);
            if (count == 0) {
                Leaf(path, FieldExplanation::ABSENT, {}, source, scope);
            }
            for (int at = 0; at < count; ++at) {
                const Message& element = reflection.GetRepeatedMessage(message, &field, at);
                Fields(element, fmt::format("{}[{}].", path, at), ElementScope(element, static_cast<std::uint32_t>(at), scope));
            }
            return;
        }
        if (field.is_repeated()) {
            std::string text;
            for (int at = 0; at < reflection.FieldSize(message, &field); ++at) {
                text += (at == 0 ? "" : ", ") + reflection.GetRepeatedString(message, &field, at);
            }
            Leaf(path, text.empty() ? FieldExplanation::ABSENT : FieldExplanation::SET, text, source, scope);
            return;
        }
        if (!reflection.HasField(message, &field)) {
            Leaf(path, FieldExplanation::ABSENT, {}, source, scope);
            return;
        }
        if (IsWrapper(field)) {
            const Message& wrapper = reflection.GetMessage(message, &field);
            Leaf(path, FieldExplanation::SET, ScalarText(wrapper, *wrapper.GetDescriptor()->field(0)), source, scope);
            return;
        }
        if (field.type() == FieldDescriptor::TYPE_MESSAGE) {
            Scope inner = scope;
            if (source != nullptr && source->from_size() > 0 && source->from(0).has_attribute()) {
                inner.attribute = source->from(0).attribute();
            }
            Fields(reflection.GetMessage(message, &field), path + ".", inner);
            return;
        }
        std::string text = ScalarText(message, field);
        const bool isEmpty = text.empty() && field.cpp_type() == FieldDescriptor::CPPTYPE_STRING;
        Leaf(path, isEmpty ? FieldExplanation::EMPTY : FieldExplanation::SET, std::move(text), source, scope);
    }

    void Note(const FieldSource* source)
    {
        if (source != nullptr) {
            for (const Place& place : source->from()) {
                m_Requests.insert(place.request());
                m_Classes.insert(place.wmi_class());
            }
        }
    }

    Scope ElementScope(const Message& element, std::uint32_t index, const Scope& scope) const
    {
        Scope inner = scope;
        for (const Element& one : Sources().element()) {
            if (one.message() == element.GetDescriptor()->name()) {
                inner.base = one.first() + index * one.stride();
            }
        }
        if (element.GetDescriptor()->name() == "PhysicalDiskPartitionInfo") {
            inner.letter = LetterOfPartition(inner);
        }
        return inner;
    }

    // The volume whose partition identifier is that of the layout's entry.
    char LetterOfPartition(const Scope& scope) const
    {
        constexpr std::size_t kIdentifier = 48;  // of PARTITION_INFORMATION_EX, in both styles' union
        constexpr std::size_t kLength = 16;
        const auto* layout = scope.disk ? m_Observations.FindPage(*scope.disk, 0, DRIVE_LAYOUT) : nullptr;
        if (layout == nullptr || layout->answer.bytes.size() < scope.base + kIdentifier + kLength) {
            return 0;
        }
        const auto* identifier = layout->answer.bytes.data() + scope.base + kIdentifier;
        for (const char letter : m_Observations.Letters(*scope.disk)) {
            const auto* info = m_Observations.FindPage(*scope.disk, letter, PARTITION_INFO);
            if (info != nullptr && info->answer.bytes.size() >= kIdentifier + kLength &&
                std::equal(identifier, identifier + kLength, info->answer.bytes.data() + kIdentifier) &&
                std::any_of(identifier, identifier + kLength, [](std::uint8_t byte) { return byte != 0; })) {
                return letter;
            }
        }
        return 0;
    }

    void Leaf(const std::string& path, FieldExplanation::State state, std::string value, const FieldSource* source,
              const Scope& scope)
    {
        FieldExplanation& field = *m_Out.add_field();
        field.set_field(path);
        field.set_state(state);
        field.set_value(std::move(value));
        if (source == nullptr) {
            field.set_reason("the source of this field is not in the table");
            return;
        }
        field.set_unit(source->unit());
        RawContent content;
        const Place* used = nullptr;
        for (const Place& place : source->from()) {
            RawContent raw = RawOf(m_Observations, place, scope);
            if (!raw.found) {
                field.set_reason(field.reason().empty() ? raw.reason : field.reason());
                continue;
            }
            if (IsChoice(*source) && !Decides(place, raw)) {
                continue;
            }
            field.set_raw(field.raw() + (field.raw().empty() ? "" : "; ") + raw.text + (IsNumber(*source) ? raw.number : ""));
            if (used == nullptr) {
                content = std::move(raw);
                used = &place;
            }
            if (!source->joined()) {
                break;
            }
        }
        // Every place that was tried if none answered, else the place of the value.
        FieldSource shown = *source;
        if (used != nullptr && !source->joined()) {
            shown.clear_from();
            *shown.add_from() = *used;
        }
        field.set_source(PlaceText(shown, scope.base, scope.attribute.value_or(0)));
        if (state != FieldExplanation::ABSENT) {
            field.set_rule(AppliedRules(*source, content, field, scope));
        }
        if (used != nullptr && state == FieldExplanation::SET) {
            field.clear_reason();
        } else if (used != nullptr) {
            field.set_reason(WhyMissing(*source, state, scope));
        }
    }

    const Observations& m_Observations;
    MessageExplanation& m_Out;
    std::set<Request> m_Requests;
    std::set<std::string> m_Classes;  // of WMI
};

FieldExplanation& AddNotCarried(MessageExplanation& out, std::string name, std::string source, std::string raw)
{
    FieldExplanation& field = *out.add_field();
    field.set_field(std::move(name));
    field.set_state(FieldExplanation::NOT_CARRIED);
    field.set_source(std::move(source));
    field.set_raw(std::move(raw));
    field.set_reason("the disk reports it; no datatype carries it");
    return field;
}

// SMART attributes that the datatype has no field for.
void AddOtherAttributes(const Observations& observations, std::uint32_t disk, MessageExplanation& out)
{
    const auto* page = observations.FindPage(disk, 0, SMART_DATA);
    if (page == nullptr || !page->answer.IsAnswered()) {
        return;
    }
    std::bitset<256> carried;
    for (const FieldSource& field : Sources().field()) {
        for (const Place& place : field.from()) {
            if (place.has_attribute() && field.name().starts_with("SmartDynamicInfo.")) {
                carried.set(place.attribute() & 0xFFU);
            }
        }
    }
    const auto bytes = page->answer.Bytes();
    for (std::uint32_t at = 2; at + 12 <= std::min<std::size_t>(bytes.size(), 362); at += 12) {
        const std::uint8_t id = bytes[at];
        if (id != 0 && !carried.test(id)) {
            AddNotCarried(out, fmt::format("attribute {}", id), fmt::format("{} bytes {}-{}", PageName(SMART_DATA), at, at + 11),
                          HexText(bytes.subspan(at, 12)))
                .set_value(fmt::format("value {}, worst {}", bytes[at + 3], bytes[at + 4]));
        }
    }
}

// Bytes of a page that are not zero and from which no field is made.
void AddOtherBytes(const Observations& observations, std::uint32_t disk, Request request, MessageExplanation& out)
{
    const auto* page = observations.FindPage(disk, 0, request);
    if (page == nullptr || !page->answer.IsAnswered()) {
        return;
    }
    const auto bytes = page->answer.Bytes();
    std::vector<bool> covered(bytes.size(), false);
    const auto cover = [&](std::size_t first, std::size_t last) {
        for (std::size_t at = first; at <= last && at < covered.size(); ++at) {
            covered[at] = true;
        }
    };
    for (const FieldSource& field : Sources().field()) {
        const bool isElement = field.name().starts_with("NvmePowerStateDesc.");
        for (const Place& place : field.from()) {
            if (place.request() == request && place.has_first() && !isElement) {
                cover(place.first(), place.last());
            }
        }
    }
    for (std::size_t at = 0; at < bytes.size(); ++at) {
        if (covered[at] || bytes[at] == 0) {
            continue;
        }
        std::size_t last = at;
        while (last + 1 < bytes.size() && !covered[last + 1] && bytes[last + 1] != 0) {
            ++last;
        }
        AddNotCarried(out, at == last ? fmt::format("byte {}", at) : fmt::format("bytes {}-{}", at, last), PageName(request),
                      HexText(bytes.subspan(at, last - at + 1)));
        at = last;
    }
}

void AddRequest(std::string request, std::chrono::nanoseconds duration, std::string outcome, MessageExplanation& out)
{
    RequestExplanation& one = *out.add_request();
    one.set_request(std::move(request));
    one.set_milliseconds(std::chrono::duration<double, std::milli>(duration).count());
    one.set_outcome(std::move(outcome));
}

// Requests to the system rather than to a disk: WMI classes, counters, the firmware table.
void AddSystemRequests(const Observations& observations, const std::set<Request>& wanted, const std::set<std::string>& classes,
                       MessageExplanation& out)
{
    for (const auto& [kind, duration] : observations.Queries()) {
        if (classes.contains(kind)) {
            const auto failure = observations.QueryFailure(kind);
            AddRequest("WMI " + kind, duration,
                       failure ? fmt::format("failed (0x{:08X})", static_cast<std::uint32_t>(*failure))
                               : fmt::format("{} {}", observations.RowsOf(kind), observations.RowsOf(kind) == 1 ? "row" : "rows"),
                       out);
        }
    }
    if (wanted.contains(COUNTER) && observations.CounterTime().count() > 0) {
        AddRequest("performance counters", observations.CounterTime(), "of all disks", out);
    }
    if (wanted.contains(SMBIOS) && observations.FirmwareTime().count() > 0) {
        AddRequest("SMBIOS table", observations.FirmwareTime(),
                   observations.FirmwareTable().empty() ? ErrorText(observations.FirmwareError())
                                                        : fmt::format("{} bytes", observations.FirmwareTable().size()),
                   out);
    }
}

void AddRequests(const Observations& observations, std::uint32_t disk, const std::set<Request>& wanted, MessageExplanation& out)
{
    for (const auto& [place, pages] : observations.Pages()) {
        if (place.first != disk) {
            continue;
        }
        for (const auto& [request, page] : pages) {
            if (!wanted.contains(request)) {
                continue;
            }
            std::string outcome;
            switch (page.answer.state) {
                case PageAnswer::State::Answered:
                    outcome = fmt::format("{} bytes", page.answer.bytes.size());
                    break;
                case PageAnswer::State::Refused:
                    outcome = ErrorText(page.answer.error);
                    break;
                case PageAnswer::State::Unsupported:
                    outcome = "the disk refused it";
                    break;
                case PageAnswer::State::NotAsked:
                    break;
            }
            const std::string asked = place.second == 0 ? fmt::format("DISK{}", disk) : std::string{place.second, ':'};
            AddRequest(fmt::format("{} of {}", PageName(request), asked), page.duration, std::move(outcome), out);
        }
    }
}

}  // namespace

Explainer::Explainer(std::span<const Record> records) : m_Observations(std::make_unique<Observations>(records)) {}
Explainer::~Explainer() = default;

MessageExplanation Explainer::Explain(const Message& message, std::string_view itemId) const
{
    constexpr std::string_view kPrefix = "Disk_";
    MessageExplanation out;
    out.set_datatype(message.GetDescriptor()->name());
    out.set_item_id(itemId.data(), itemId.size());
    Scope scope;
    if (itemId.starts_with(kPrefix)) {
        scope.disk = m_Observations->NumberOf(itemId.substr(kPrefix.size()));
    }
    Walk walk(*m_Observations, out);
    walk.Fields(message, {}, scope);
    if (!scope.disk) {
        return out;
    }
    out.set_disk(*scope.disk);
    out.set_name(m_Observations->NameOf(*scope.disk));
    if (out.datatype() == "SmartDynamicInfo") {
        AddOtherAttributes(*m_Observations, *scope.disk, out);
    } else if (out.datatype() == "SmartNvmeInfo") {
        AddOtherBytes(*m_Observations, *scope.disk, NVME_HEALTH_LOG, out);
    } else if (out.datatype() == "NvmeIdentifyControllerData") {
        AddOtherBytes(*m_Observations, *scope.disk, NVME_IDENTIFY, out);
    }
    AddRequests(*m_Observations, *scope.disk, walk.Requests(), out);
    AddSystemRequests(*m_Observations, walk.Requests(), walk.Classes(), out);
    return out;
}

}  // namespace orbis::insight
