#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/Guid.h"

namespace orbis::platform::linux_system {

// "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx", in either case.
[[nodiscard]] std::optional<Guid> ParseGuid(std::string_view text) noexcept;
// The same form in lower case.
[[nodiscard]] std::string GuidText(const Guid& guid);

}  // namespace orbis::platform::linux_system
