#pragma once

#include <chrono>

// The retrievers of this test's plug-in. That of SmartNvmeInfo does what the item id says, that of PhysicalDiskDynamicInfo
// cannot be constructed, and the others do not exist.
namespace orbis::border::scripted {

// When every item was collected.
inline constexpr std::chrono::sys_seconds kTime = std::chrono::sys_days(std::chrono::year(2031) / 5 / 17) + std::chrono::hours(3);

// How often a retriever was asked.
extern int g_Asked;

}  // namespace orbis::border::scripted
