#pragma once

#include "platform/Time.h"

namespace orbis::platform {

class LinuxTime final : public Time {
public:
    std::chrono::system_clock::time_point UtcNow() override;
    void Sleep(std::uint32_t milliseconds) override;
};

}  // namespace orbis::platform
