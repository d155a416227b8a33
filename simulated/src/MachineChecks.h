#pragma once

#include <google/protobuf/text_format.h>

#include <string>
#include <vector>

#include "orbis/simulated/machine.pb.h"
#include "simulated/MachineFile.h"

namespace orbis::simulated {

// What is wrong or odd with a description, in the order of its fields. `locations` (may be null) knows the lines of the file
// `name`.
[[nodiscard]] std::vector<Finding> CheckDescription(const description::Machine& machine,
                                                    const google::protobuf::TextFormat::ParseInfoTree* locations,
                                                    const std::string& name);
// What a checked description describes, for people.
[[nodiscard]] std::string SummaryOf(const description::Machine& machine);
// Throws MachineFileError for the first finding that is an error.
void ThrowFirstError(const std::vector<Finding>& findings);

}  // namespace orbis::simulated
