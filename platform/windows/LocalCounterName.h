#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace orbis::platform {

// The index of a counter or object by its English name in the system's list of them: "1", zero, "1847", zero, "2", zero, "System",
// zero, ... (the REG_MULTI_SZ value Counter of the Perflib key 009).
[[nodiscard]] std::optional<std::uint32_t> FindCounterIndex(std::wstring_view list, std::wstring_view english);

// An English counter or object name in the system's language; the name itself where the system has no other.
[[nodiscard]] std::wstring LocalCounterName(std::wstring_view english);

}  // namespace orbis::platform
