#include "MachineChecks.h"

#include <fmt/format.h>
#include <google/protobuf/descriptor.h>

#include "Bytes.h"
#include "MachineState.h"

namespace orbis::simulated {
namespace {

using google::protobuf::FieldDescriptor;
using google::protobuf::Message;
using google::protobuf::TextFormat;

constexpr std::uint32_t kLongestBytes = 16U << 20;

// A message of the file with its path, and the lines of its fields where they are known.
struct Place {
    const Message& message;
    const TextFormat::ParseInfoTree* tree = nullptr;
    std::string path;

    [[nodiscard]] const FieldDescriptor& Field(const char* name) const { return *message.GetDescriptor()->FindFieldByName(name); }
    [[nodiscard]] std::string PathOf(const FieldDescriptor& field, int index) const
    {
        return (path.empty() ? "" : path + ".") + field.name() + (field.is_repeated() ? fmt::format("[{}]", index) : "");
    }
    [[nodiscard]] Place Inner(const FieldDescriptor& field, int index) const
    {
        const auto& reflection = *message.GetReflection();
        const Message& inner =
            field.is_repeated() ? reflection.GetRepeatedMessage(message, &field, index) : reflection.GetMessage(message, &field);
        return {inner, tree != nullptr ? tree->GetTreeForNested(&field, field.is_repeated() ? index : -1) : nullptr,
                PathOf(field, index)};
    }
};

class Checker {
public:
    explicit Checker(std::string file) : m_File(std::move(file)) {}

    // Visits every message of the file.
    void Visit(const Place& place);

    [[nodiscard]] std::vector<Finding> Take() { return std::move(m_Findings); }

private:
    void Add(Finding::Severity severity, const Place& place, const char* fieldName, int index, std::string message,
             std::string wayOut)
    {
        const FieldDescriptor& field = place.Field(fieldName);
        Finding finding{severity, m_File, 0, 0, place.PathOf(field, index), std::move(message), std::move(wayOut)};
        if (place.tree != nullptr) {
            const TextFormat::ParseLocation at = place.tree->GetLocation(&field, field.is_repeated() ? index : -1);
            finding.line = at.line + 1;
            finding.column = at.column + 1;
        }
        m_Findings.push_back(std::move(finding));
    }
    void Error(const Place& place, const char* field, std::string message, std::string wayOut, int index = 0)
    {
        Add(Finding::Severity::Error, place, field, index, std::move(message), std::move(wayOut));
    }

    void Check(const Place& place, const description::Bytes& bytes);
    void Check(const Place& place, const description::Patch& patch);
    void Check(const Place& place, const description::Machine& machine);
    void CheckHex(const Place& place, const std::string& hex);

    std::string m_File;
    std::vector<Finding> m_Findings;
};

void Checker::CheckHex(const Place& place, const std::string& hex)
{
    if (!ParseHex(hex)) {
        Error(place, "hex", "not pairs of hexadecimal digits", "write each byte as two digits, blanks between bytes if you like");
    }
}

void Checker::Check(const Place& place, const description::Bytes& bytes)
{
    CheckHex(place, bytes.hex());
    if (bytes.size() > kLongestBytes) {
        Error(place, "size", "more than 16 MiB", "no request answers so much");
    }
}

void Checker::Check(const Place& place, const description::Patch& patch)
{
    CheckHex(place, patch.hex());
    if (patch.offset() > kLongestBytes) {
        Error(place, "offset", "past 16 MiB", "no page is so long");
    }
}

void Checker::Check(const Place& place, const description::Machine& machine)
{
    if (machine.has_code_page() && !IsKnownCodePage(machine.code_page())) {
        Error(place, "code_page", fmt::format("unknown code page {}", machine.code_page()), "use 65001, 1252, 437, 28591 or 20127");
    }
    if (!machine.start().empty() && !ParseUtcTime(machine.start())) {
        Error(place, "start", "not a UTC time", "write it as 2024-05-17T08:30:00Z");
    }
}

void Checker::Visit(const Place& place)
{
    if (const auto* bytes = dynamic_cast<const description::Bytes*>(&place.message)) {
        Check(place, *bytes);
    } else if (const auto* patch = dynamic_cast<const description::Patch*>(&place.message)) {
        Check(place, *patch);
    } else if (const auto* machine = dynamic_cast<const description::Machine*>(&place.message)) {
        Check(place, *machine);
    }
    const auto& reflection = *place.message.GetReflection();
    std::vector<const FieldDescriptor*> fields;
    reflection.ListFields(place.message, &fields);
    for (const FieldDescriptor* field : fields) {
        if (field->cpp_type() != FieldDescriptor::CPPTYPE_MESSAGE) {
            continue;
        }
        const int count = field->is_repeated() ? reflection.FieldSize(place.message, field) : 1;
        for (int i = 0; i < count; ++i) {
            Visit(place.Inner(*field, i));
        }
    }
}

}  // namespace

std::vector<Finding> CheckDescription(const description::Machine& machine, const TextFormat::ParseInfoTree* locations,
                                      const std::string& name)
{
    Checker checker(name);
    checker.Visit({machine, locations, {}});
    return checker.Take();
}

}  // namespace orbis::simulated
