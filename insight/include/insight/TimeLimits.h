#pragma once

#include <functional>

#include "insight/Export.h"
#include "platform/Forwarding.h"

namespace orbis::insight {

// A decorator that sends pass-through requests with no longer a time-out than what is left of the caller's time, and at least one
// second; it changes the time-out field and nothing else.
class ORBIS_INSIGHT_EXPORT TimeLimits final : public platform::ForwardingPlatform, private platform::ForwardingDeviceIo {
public:
    // `secondsLeft` says how much time is left. `inner` is not owned and must outlive this object.
    TimeLimits(platform::Platform& inner, std::function<double()> secondsLeft);

    [[nodiscard]] platform::DeviceIo& DeviceIoPort() noexcept override { return *this; }

private:
    bool Control(platform::NativeHandle device, std::uint32_t code, void* in, std::uint32_t inSize, void* out,
                 std::uint32_t outSize, std::uint32_t* returned, void* overlapped) override;

    std::function<double()> m_SecondsLeft;
};

}  // namespace orbis::insight
