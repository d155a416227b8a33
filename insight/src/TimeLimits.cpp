#include "insight/TimeLimits.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

#include "platform/Requests.h"

namespace orbis::insight {
namespace {

using namespace platform;

// The offset of a request's time-out in seconds; 0 for a request without one.
std::size_t TimeoutOffset(std::uint32_t code)
{
    switch (code) {
        case kIoctlAtaPassThroughDirect:
            return offsetof(AtaPassThroughDirect, timeOutValue);
        case kIoctlScsiPassThroughDirect:
            return offsetof(ScsiPassThroughDirect, timeOutValue);
        case kIoctlStorageProtocolCommand:
            return offsetof(StorageProtocolCommandHead, timeOutValue);
        default:
            return 0;
    }
}

}  // namespace

TimeLimits::TimeLimits(Platform& inner, std::function<double()> secondsLeft)
    : ForwardingPlatform(inner), ForwardingDeviceIo(inner.DeviceIoPort()), m_SecondsLeft(std::move(secondsLeft))
{}

bool TimeLimits::Control(NativeHandle device, std::uint32_t code, void* in, std::uint32_t inSize, void* out, std::uint32_t outSize,
                         std::uint32_t* returned, void* overlapped)
{
    const std::size_t offset = TimeoutOffset(code);
    std::uint32_t asked = 0;
    if (offset == 0 || in == nullptr || inSize < offset + sizeof asked) {
        return ForwardingDeviceIo::Control(device, code, in, inSize, out, outSize, returned, overlapped);
    }
    auto* const field = static_cast<std::uint8_t*>(in) + offset;
    std::memcpy(&asked, field, sizeof asked);
    const auto left = static_cast<std::uint32_t>(std::clamp(std::ceil(m_SecondsLeft()), 1.0, 86400.0));
    const std::uint32_t sent = std::min(asked, left);
    std::memcpy(field, &sent, sizeof sent);
    const bool done = ForwardingDeviceIo::Control(device, code, in, inSize, out, outSize, returned, overlapped);
    std::memcpy(field, &asked, sizeof asked);  // restores the caller's request
    return done;
}

}  // namespace orbis::insight
