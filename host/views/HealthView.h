#pragma once

#include <string>

#include "Style.h"
#include "orbis/insight/explanation.pb.h"
#include "orbis/insight/health.pb.h"

namespace orbis::host {

// One line for each disk, worst first, and beneath it the reasons for its verdict.
[[nodiscard]] std::string Render(const insight::HealthReport& report, const Style& style);
// One table for each message: field, value, source and conversion, or why the value is missing.
[[nodiscard]] std::string Render(const insight::ExplanationReport& report, const Style& style);

}  // namespace orbis::host
