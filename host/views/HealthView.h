#pragma once

#include <string>

#include "Style.h"
#include "orbis/insight/explanation.pb.h"
#include "orbis/insight/health.pb.h"

namespace orbis::host {

// One line a disk, worst first, and beneath it the reasons of its verdict.
[[nodiscard]] std::string Render(const insight::HealthReport& report, const Style& style);
// One table a message: field, value, where it came from and why it is what it is.
[[nodiscard]] std::string Render(const insight::ExplanationReport& report, const Style& style);

}  // namespace orbis::host
