#pragma once

#include <chrono>
#include <cstdint>

#include "platform/Export.h"

namespace orbis::platform {

// The clock and the only sleep of the system; a simulated machine keeps its own time.
class Time {
public:
    virtual ~Time() = default;

    // Current UTC time.
    [[nodiscard]] virtual std::chrono::system_clock::time_point UtcNow() = 0;
    // Sleep: blocks the calling thread.
    virtual void Sleep(std::uint32_t milliseconds) = 0;

    // The port that is in force now (see Platform::Current).
    [[nodiscard]] ORBIS_PLATFORM_EXPORT static Time& Current() noexcept;
};

}  // namespace orbis::platform
