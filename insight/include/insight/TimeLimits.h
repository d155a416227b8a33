#pragma once

#include <functional>

#include "insight/Export.h"
#include "platform/Forwarding.h"

namespace orbis::insight {

// A decorator that limits the time-outs of pass-through requests to the caller's remaining time, but to at least one second. It
// changes only the time-out field.
class ORBIS_INSIGHT_EXPORT TimeLimits final : public platform::ForwardingPlatform, private platform::ForwardingDeviceIo {
public:
    // `secondsLeft` returns the remaining time. `inner` is not owned and must outlive this object.
    TimeLimits(platform::Platform& inner, std::function<double()> secondsLeft);

    [[nodiscard]] platform::DeviceIo& DeviceIoPort() noexcept override { return *this; }

private:
    bool Control(platform::NativeHandle device, std::uint32_t code, void* in, std::uint32_t inSize, void* out,
                 std::uint32_t outSize, std::uint32_t* returned, void* overlapped) override;

    std::function<double()> m_SecondsLeft;
};

}  // namespace orbis::insight
