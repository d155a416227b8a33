#pragma once

#include "platform/Time.h"

namespace orbis::platform {

// The system's clock and Sleep.
class WindowsTime final : public Time {
public:
    std::chrono::system_clock::time_point UtcNow() override;
    void Sleep(std::uint32_t milliseconds) override;
};

}  // namespace orbis::platform
