#pragma once

#include <cstdint>
#include <string>

#include "insight/Export.h"

namespace orbis::insight {

// A Win32 error code in words for people, with its number: "access denied (error 5)".
[[nodiscard]] ORBIS_INSIGHT_EXPORT std::string ErrorText(std::uint32_t error);
// Whether a Win32 error says that a drive has no medium: ERROR_NOT_READY or ERROR_NO_MEDIA_IN_DRIVE.
[[nodiscard]] ORBIS_INSIGHT_EXPORT bool MeansNoMedium(std::uint32_t error) noexcept;

}  // namespace orbis::insight
