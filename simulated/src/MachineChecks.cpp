#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <tuple>

#include "Bytes.h"
#include "Checker.h"

namespace orbis::simulated {
namespace {

using google::protobuf::FieldDescriptor;
using google::protobuf::TextFormat;

// Values that must be unique in a machine, and the place where each was first seen.
class Unique {
public:
    // The place of the value's first use, or nothing.
    [[nodiscard]] std::optional<std::string> SeenBefore(const std::string& value, const Place& place)
    {
        const auto [entry, isNew] = m_Seen.emplace(value, place.path);
        return isNew ? std::nullopt : std::optional(entry->second);
    }

    [[nodiscard]] bool Has(const std::string& value) const { return m_Seen.contains(value); }

private:
    std::map<std::string, std::string> m_Seen;
};

void CheckLetter(const Place& place, const std::string& letter, Unique& letters, Findings& findings)
{
    if (const auto first = letter.empty() ? std::nullopt : letters.SeenBefore(ToUpper(letter), place)) {
        findings.Error(place, "letter", fmt::format("drive letter {} is used already in {}", ToUpper(letter), *first),
                       "give each volume its own letter");
    }
}

// Values that must differ between disks, volumes and classes.
void CheckUniqueness(const Place& machine, Findings& findings)
{
    Unique numbers;
    Unique instances;
    Unique letters;
    for (const Place& place : machine.Each("disk")) {
        const auto& disk = dynamic_cast<const description::Disk&>(place.message);
        if (const auto first = numbers.SeenBefore(std::to_string(disk.number()), place)) {
            findings.Error(place, "number", fmt::format("physical drive {} is described already in {}", disk.number(), *first),
                           "give each disk its own number; rows of WMI may be doubled with wmi_class");
        }
        if (disk.has_pnp_device_id()) {
            if (const auto first = instances.SeenBefore(ToUpper(disk.pnp_device_id()), place)) {
                findings.Warning(place, "pnp_device_id", fmt::format("used already in {}", *first),
                                 "give each disk its own, unless this is intended");
            }
        }
        const char* table = disk.has_gpt() ? "gpt" : disk.has_mbr() ? "mbr" : nullptr;
        if (table != nullptr) {
            for (const Place& partition : place.Inner(table).Each("partition")) {
                const auto& volume = dynamic_cast<const description::Partition&>(partition.message).volume();
                CheckLetter(partition.Inner("volume"), volume.letter(), letters, findings);
            }
        }
    }
    for (const Place& place : machine.Each("volume")) {
        const auto& volume = dynamic_cast<const description::LooseVolume&>(place.message);
        CheckLetter(place, volume.letter(), letters, findings);
        if (volume.letter().empty()) {
            findings.Error(place, "letter", "is empty", "write one letter from A to Z, without a colon");
        }
        if (volume.has_disk() && !numbers.Has(std::to_string(volume.disk()))) {
            findings.Error(place, "disk", fmt::format("there is no disk {}", volume.disk()),
                           "write the number of one of the disks");
        }
    }
    Unique classes;
    for (const Place& place : machine.Each("wmi_class")) {
        const auto& wmiClass = dynamic_cast<const description::WmiClass&>(place.message);
        if (const auto first = classes.SeenBefore(ToLower(wmiClass.wmi_namespace() + ':' + wmiClass.name()), place)) {
            findings.Error(place, "name", fmt::format("class {} is described already in {}", wmiClass.name(), *first),
                           "put all rows into one class");
        }
    }
}

void Visit(const Place& place, Findings& findings)
{
    if (place.message.GetDescriptor() == insight::Recording::descriptor()) {
        CheckRecording(place, findings);
        return;
    }
    CheckFields(place, findings);
    if (place.message.GetDescriptor() == description::Disk::descriptor()) {
        CheckDisk(place, findings);
    } else if (const auto* property = dynamic_cast<const description::WmiProperty*>(&place.message)) {
        if (property->value_case() == description::WmiProperty::VALUE_NOT_SET) {
            findings.Error(place, "name", fmt::format("property {} has no value", property->name()),
                           "give it one, or null: true for VT_NULL");
        }
    }
    std::vector<const FieldDescriptor*> fields;
    place.message.GetReflection()->ListFields(place.message, &fields);
    for (const FieldDescriptor* field : fields) {
        if (field->cpp_type() == FieldDescriptor::CPPTYPE_MESSAGE) {
            for (const Place& inner : place.Each(*field)) {
                Visit(inner, findings);
            }
        }
    }
}

}  // namespace

const FieldDescriptor& Place::Field(const char* name) const { return *message.GetDescriptor()->FindFieldByName(name); }

std::string Place::PathOf(const FieldDescriptor& field, int index) const
{
    return (path.empty() ? "" : path + ".") + field.name() + (field.is_repeated() ? fmt::format("[{}]", index) : "");
}

Place Place::Inner(const FieldDescriptor& field, int index) const
{
    const auto& reflection = *message.GetReflection();
    const auto& inner =
        field.is_repeated() ? reflection.GetRepeatedMessage(message, &field, index) : reflection.GetMessage(message, &field);
    const int position = field.is_repeated() ? index : -1;
    if (tree == nullptr) {
        return {inner, nullptr, PathOf(field, index), line, column};
    }
    const TextFormat::ParseLocation at = tree->GetLocation(&field, position);
    return {inner, tree->GetTreeForNested(&field, position), PathOf(field, index), at.line + 1, at.column + 1};
}

std::vector<Place> Place::Each(const FieldDescriptor& field) const
{
    std::vector<Place> places;
    const int count = field.is_repeated() ? message.GetReflection()->FieldSize(message, &field) : 1;
    places.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        places.push_back(Inner(field, i));
    }
    return places;
}

void Findings::Add(Finding::Severity severity, const Place& place, const FieldDescriptor& field, int index, std::string message,
                   std::string hint)
{
    Finding finding{severity, m_File, place.line, place.column, place.PathOf(field, index), std::move(message), std::move(hint)};
    const TextFormat::ParseLocation at =
        place.tree != nullptr ? place.tree->GetLocation(&field, field.is_repeated() ? index : -1) : TextFormat::ParseLocation();
    if (at.line >= 0) {  // else the field is not in the file, and its message's place is all there is
        finding.line = at.line + 1;
        finding.column = at.column + 1;
    }
    m_Findings.push_back(std::move(finding));
}

std::vector<Finding> Findings::Take()
{
    std::stable_sort(m_Findings.begin(), m_Findings.end(), [](const Finding& left, const Finding& right) {
        return std::tie(left.line, left.column) < std::tie(right.line, right.column);
    });
    return std::move(m_Findings);
}

std::vector<Finding> CheckDescription(const description::Machine& machine, const TextFormat::ParseInfoTree* locations,
                                      const std::string& name)
{
    Findings findings(name);
    const Place place{machine, locations, {}, locations != nullptr ? 1 : 0, locations != nullptr ? 1 : 0};
    CheckUniqueness(place, findings);
    Visit(place, findings);
    return findings.Take();
}

}  // namespace orbis::simulated
