#pragma once

#include <string>
#include <vector>

#include "Collector.h"
#include "Formats.h"
#include "MachineInForce.h"
#include "orbis/host/internal/supervision.pb.h"

namespace orbis::host {

// The answers of a pass, for the supervisor to keep while their disk is late.
[[nodiscard]] std::vector<LastAnswer> AnswersOf(const std::vector<CollectedDatatype>& results, const Disks& disks);

// Adds to the results of a watch the last answers of the disks that are late, and returns a line for each of these disks, with the
// answers' age. Nothing in a process that is not supervised.
[[nodiscard]] std::string AddLastAnswers(std::vector<CollectedDatatype>& results, Collector& collector,
                                         const MachineInForce& machine);

}  // namespace orbis::host
