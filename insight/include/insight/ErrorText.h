#pragma once

#include <cstdint>
#include <string>

#include "insight/Export.h"

namespace orbis::insight {

// A Win32 error code in words for people, with its number: "access denied (error 5)".
[[nodiscard]] ORBIS_INSIGHT_EXPORT std::string ErrorText(std::uint32_t error);

}  // namespace orbis::insight
