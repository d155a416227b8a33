#pragma once

#include <chrono>

// The retrievers of this test's plug-in. SmartNvmeInfo's is scripted by the item id, PhysicalDiskDynamicInfo's cannot
// be constructed, and the others do not exist.
namespace orbis::border::scripted {

// Collection time of every item.
inline constexpr std::chrono::sys_seconds kTime = std::chrono::sys_days(std::chrono::year(2031) / 5 / 17) + std::chrono::hours(3);

// Number of calls of a retriever.
extern int g_Asked;

}  // namespace orbis::border::scripted
