#pragma once

#include <string>

#include "orbis/insight/report.pb.h"

namespace orbis::host {

// The report as one self-contained HTML file: page, style and scripts of this folder with the document in it.
// Throws std::runtime_error when the document cannot be written as JSON.
[[nodiscard]] std::string RenderPage(const insight::Report& report);

// JSON that is safe in a script element: no text in it ends the element or begins a comment, and every script parser accepts it.
[[nodiscard]] std::string JsonForScript(const std::string& json);

}  // namespace orbis::host
