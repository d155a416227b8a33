#pragma once

#include <filesystem>

#include "orbis/insight/health.pb.h"

namespace orbis::host {

// An earlier `orbis-host health --format json`. Throws std::invalid_argument that names the file.
[[nodiscard]] insight::HealthReport ReadHealthReport(const std::filesystem::path& file);

}  // namespace orbis::host
