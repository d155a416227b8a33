#pragma once

#include <google/protobuf/descriptor.h>
#include <google/protobuf/text_format.h>

#include <string>
#include <utility>
#include <vector>

#include "orbis/simulated/machine.pb.h"
#include "simulated/MachineFile.h"

namespace orbis::simulated {

// A message of a machine file with its path, and the lines of its fields where they are known.
struct Place {
    const google::protobuf::Message& message;
    const google::protobuf::TextFormat::ParseInfoTree* tree = nullptr;
    std::string path;
    int line = 0;  // of the message itself, from 1; 0 when it is not known
    int column = 0;

    [[nodiscard]] const google::protobuf::FieldDescriptor& Field(const char* name) const;
    [[nodiscard]] std::string PathOf(const google::protobuf::FieldDescriptor& field, int index) const;
    // The message in a field, `index` of a repeated one.
    [[nodiscard]] Place Inner(const google::protobuf::FieldDescriptor& field, int index) const;
    [[nodiscard]] Place Inner(const char* field, int index = 0) const { return Inner(Field(field), index); }
    // Every message in a field.
    [[nodiscard]] std::vector<Place> Each(const google::protobuf::FieldDescriptor& field) const;
    [[nodiscard]] std::vector<Place> Each(const char* field) const { return Each(Field(field)); }
};

// Findings at places.
class Findings {
public:
    explicit Findings(std::string file) : m_File(std::move(file)) {}

    void Error(const Place& place, const char* field, std::string message, std::string hint, int index = 0)
    {
        Add(Finding::Severity::Error, place, place.Field(field), index, std::move(message), std::move(hint));
    }
    void Warning(const Place& place, const char* field, std::string message, std::string hint, int index = 0)
    {
        Add(Finding::Severity::Warning, place, place.Field(field), index, std::move(message), std::move(hint));
    }
    void Add(Finding::Severity severity, const Place& place, const google::protobuf::FieldDescriptor& field, int index,
             std::string message, std::string hint);

    // In the order of the file.
    [[nodiscard]] std::vector<Finding> Take();

private:
    std::string m_File;
    std::vector<Finding> m_Findings;
};

// Rules for single fields, by a table: ranges, lengths, GUIDs, letters, error codes, bytes.
void CheckFields(const Place& place, Findings& findings);
// Rules for one disk as a whole: sizes, kinds, activities, partitions.
void CheckDisk(const Place& place, Findings& findings);
// Rules for a recording.
void CheckRecording(const Place& place, Findings& findings);

// The errors and warnings about a description, in the order of its fields. `locations` (may be null) has the lines of the file
// `name`.
[[nodiscard]] std::vector<Finding> CheckDescription(const description::Machine& machine,
                                                    const google::protobuf::TextFormat::ParseInfoTree* locations,
                                                    const std::string& name);
// A description of the machine for people.
[[nodiscard]] std::string SummaryOf(const description::Machine& machine);
// Throws MachineFileError for the first finding that is an error.
void ThrowFirstError(const std::vector<Finding>& findings);

}  // namespace orbis::simulated
