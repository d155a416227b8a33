#pragma once

#include <filesystem>

#include "MachineInForce.h"
#include "orbis/insight/health.pb.h"

namespace orbis::host {

// Reads an earlier output of `orbis-host health --format json`. Throws std::invalid_argument that names the file.
[[nodiscard]] insight::HealthReport ReadHealthReport(const std::filesystem::path& file);

// Adds the disks that are left out because they are asleep, with their last verdicts in an earlier report, which may be empty.
void AddAsleep(insight::HealthReport& report, const MachineInForce& machine, const insight::HealthReport& earlier);

}  // namespace orbis::host
