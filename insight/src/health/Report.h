#pragma once

#include "insight/Health.h"

namespace orbis::insight {

// Sorts the reasons, heaviest first, and sets the verdict that they give.
void SettleVerdict(DiskHealth& disk);
void SortWorstFirst(HealthReport& report);

}  // namespace orbis::insight
