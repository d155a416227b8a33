#pragma once

#include "platform/Time.h"

namespace orbis::platform::linux_system {

class Time final : public platform::Time {
public:
    std::chrono::system_clock::time_point UtcNow() override;
    void Sleep(std::uint32_t milliseconds) override;
};

}  // namespace orbis::platform::linux_system
