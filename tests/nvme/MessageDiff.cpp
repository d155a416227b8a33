#include "MessageDiff.h"

#include <algorithm>

#include <google/protobuf/descriptor.h>

namespace orbis::tests {
namespace {

using google::protobuf::Descriptor;
using google::protobuf::FieldDescriptor;
using google::protobuf::Message;

bool IsValue(const FieldDescriptor& field)
{
    return field.message_type() == nullptr || field.message_type()->file()->name() == "google/protobuf/wrappers.proto";
}

std::string Indexed(const std::string& path, int index) { return path + "[" + std::to_string(index) + "]"; }

bool IsSame(const Message& one, const Message& other) { return one.SerializeAsString() == other.SerializeAsString(); }

void Compare(const Message& one, const Message& other, const std::string& prefix, std::set<std::string>& changed)
{
    if (IsSame(one, other)) {
        return;
    }
    const auto& reflection = *one.GetReflection();
    for (int i = 0; i < one.GetDescriptor()->field_count(); ++i) {
        const auto& field = *one.GetDescriptor()->field(i);
        const auto path = prefix + field.name();
        if (field.is_repeated()) {
            const auto size = reflection.FieldSize(one, &field);
            const auto otherSize = reflection.FieldSize(other, &field);
            if (size != otherSize) {
                changed.insert(path);
            }
            for (int entry = 0; entry < std::min(size, otherSize); ++entry) {
                Compare(reflection.GetRepeatedMessage(one, &field, entry), reflection.GetRepeatedMessage(other, &field, entry),
                        Indexed(path, entry) + ".", changed);
            }
        } else if (reflection.HasField(one, &field) != reflection.HasField(other, &field)) {
            changed.insert(path);
        } else if (field.message_type() == nullptr) {
            // Without a message type these schemas have texts and bytes only.
            if (reflection.GetString(one, &field) != reflection.GetString(other, &field)) {
                changed.insert(path);
            }
        } else if (!IsValue(field)) {
            Compare(reflection.GetMessage(one, &field), reflection.GetMessage(other, &field), path + ".", changed);
        } else if (!IsSame(reflection.GetMessage(one, &field), reflection.GetMessage(other, &field))) {
            changed.insert(path);
        }
    }
}

void Collect(const Descriptor& type, int repeats, const std::string& prefix, std::set<std::string>& fields)
{
    for (int i = 0; i < type.field_count(); ++i) {
        const auto& field = *type.field(i);
        const auto path = prefix + field.name();
        if (IsValue(field)) {
            fields.insert(path);
        } else if (!field.is_repeated()) {
            Collect(*field.message_type(), repeats, path + ".", fields);
        } else {
            for (int entry = 0; entry < repeats; ++entry) {
                Collect(*field.message_type(), repeats, Indexed(path, entry) + ".", fields);
            }
        }
    }
}

void CollectUnset(const Message& message, const std::string& prefix, std::set<std::string>& unset)
{
    const auto& reflection = *message.GetReflection();
    for (int i = 0; i < message.GetDescriptor()->field_count(); ++i) {
        const auto& field = *message.GetDescriptor()->field(i);
        const auto path = prefix + field.name();
        if (field.is_repeated()) {
            if (reflection.FieldSize(message, &field) == 0) {
                unset.insert(path);
            }
            for (int entry = 0; entry < reflection.FieldSize(message, &field); ++entry) {
                CollectUnset(reflection.GetRepeatedMessage(message, &field, entry), Indexed(path, entry) + ".", unset);
            }
        } else if (!reflection.HasField(message, &field)) {
            unset.insert(path);
        } else if (field.message_type() == nullptr ? reflection.GetString(message, &field).empty()
                                                   : reflection.GetMessage(message, &field).ByteSizeLong() == 0) {
            unset.insert(path);  // a wrapper of zero or false has no bytes
        } else if (!IsValue(field)) {
            CollectUnset(reflection.GetMessage(message, &field), path + ".", unset);
        }
    }
}

}  // namespace

std::set<std::string> ChangedFields(const Message& one, const Message& other)
{
    std::set<std::string> changed;
    Compare(one, other, "", changed);
    return changed;
}

std::set<std::string> ValueFields(const Descriptor& type, int repeats)
{
    std::set<std::string> fields;
    Collect(type, repeats, "", fields);
    return fields;
}

std::set<std::string> UnsetFields(const Message& message)
{
    std::set<std::string> unset;
    CollectUnset(message, "", unset);
    return unset;
}

}  // namespace orbis::tests
