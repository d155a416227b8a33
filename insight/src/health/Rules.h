#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

#include "health/Unsigned128.h"
#include "insight/Health.h"

namespace orbis::insight {

// The rules in the order of the table.
enum class HealthRuleId : std::size_t {
    NvmeSpareWarning,
    NvmeSpare,
    NvmeReliability,
    NvmeReadOnly,
    NvmeBackup,
    NvmePersistentMemory,
    AtaPreFailure,
    NvmeTemperatureWarning,
    NvmeTemperature,
    NvmeMediaErrors,
    NvmeUsed,
    NvmeEnduranceGroup,
    MakerReservedBlocks,
    AtaOldAge,
    AtaReallocated,
    AtaReportedUncorrectable,
    AtaPending,
    AtaOfflineUncorrectable,
    NvmeNearlyUsed,
    AtaCrcErrors,
    NvmeUnsafeShutdowns,
    NvmeWarningTemperatureTime,
    NvmeCriticalTemperatureTime,
    Count,
};

[[nodiscard]] const HealthRule& RuleOf(HealthRuleId rule) noexcept;
// RuleCounter as a number.
[[nodiscard]] std::optional<Unsigned128> CounterOf(const DiskHealth& disk, std::string_view name);

}  // namespace orbis::insight
