#pragma once

#include <string>

#include "insight/Export.h"
#include "insight/Journal.h"
#include "orbis/insight/recording.pb.h"

// Makes a recording of a journal: a machine file with a recording replays the answers that the collections got.
namespace orbis::insight {

inline constexpr std::uint32_t kRecordingFormatVersion = 1;

// Whether a variant of this type contains its value itself: no text, array, object or reference.
[[nodiscard]] constexpr bool HasPlainPayload(platform::VariantType type) noexcept
{
    constexpr std::uint32_t kPlain = 0x00FF0CFF;  // VT_EMPTY to VT_DATE, VT_ERROR, VT_BOOL, VT_I1 to VT_UINT
    const auto number = static_cast<std::uint32_t>(type);
    return number < 32 && (kPlain >> number & 1U) != 0;
}

// A recording of the collections' calls, made on one thread. Throws std::runtime_error for a journal that was full, because an
// incomplete recording would replay a different machine.
[[nodiscard]] ORBIS_INSIGHT_EXPORT Recording MakeRecording(const Extract& extract);

// Replaces everything that identifies the machine, its disks and people: by field, consistently, with a random key that is
// discarded. Bytes that no standard defines become zero. Throws std::runtime_error when a replaced value is still found in some
// form.
ORBIS_INSIGHT_EXPORT void Redact(Recording& recording);

}  // namespace orbis::insight
