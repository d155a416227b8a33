#pragma once

#include <set>
#include <string>

#include <google/protobuf/message.h>

namespace orbis::tests {

// Paths of the fields in which two messages of one type differ. A wrapper of the well-known types is one value; a sub-message that
// only one side has is named alone; a repeated field of another length is named without index, beside the entries that differ.
std::set<std::string> ChangedFields(const google::protobuf::Message& one, const google::protobuf::Message& other);

// Paths of all values that a message of this type can hold, "[n]" for n below `repeats` after a repeated one.
std::set<std::string> ValueFields(const google::protobuf::Descriptor& type, int repeats);

// Paths of the values that are not set, or are zero, false or empty.
std::set<std::string> UnsetFields(const google::protobuf::Message& message);

}  // namespace orbis::tests
