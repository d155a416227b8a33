#pragma once

#include <string>
#include <vector>

#include "Formats.h"
#include "insight/Journal.h"
#include "orbis/insight/report.pb.h"

namespace orbis::host {

// The document of a report on one pass: `results` with the calls that made them, the verdicts, and what was left out. It is not
// redacted.
[[nodiscard]] insight::Report MakeReportOf(const std::vector<CollectedDatatype>& results, const insight::Extract& calls,
                                           const insight::HealthReport& health, const std::vector<Finding>& findings);
// Adds the counters of the baseline that the verdicts were compared with.
void AddBaseline(insight::Report& report, const insight::HealthReport& baseline);

}  // namespace orbis::host
