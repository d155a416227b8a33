#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/Guid.h"

namespace orbis::platform::emulated {

// "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx", in either case, with or without braces.
[[nodiscard]] std::optional<Guid> ParseGuid(std::string_view text) noexcept;
// That form, in lower case and without braces.
[[nodiscard]] std::string GuidText(const Guid& guid);

}  // namespace orbis::platform::emulated
