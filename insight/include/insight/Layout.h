#pragma once

#include <span>
#include <vector>

#include "insight/Calls.h"
#include "insight/Export.h"
#include "orbis/insight/report.pb.h"

namespace orbis::insight {

// The layout of each disk, from the answers of one pass: number, capacity, and partitions with the gaps between them in order of
// their position. Names, flags and the kind of the disk are left to the caller. By drive number; a disk without an answer is not
// there.
[[nodiscard]] ORBIS_INSIGHT_EXPORT std::vector<ReportDisk> LayoutsOf(std::span<const Record> records);

}  // namespace orbis::insight
