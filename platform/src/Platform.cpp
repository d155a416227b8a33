#include "platform/Platform.h"

#include <atomic>

namespace orbis::platform {
namespace {

std::atomic<Platform*> g_Replacement{nullptr};

}  // namespace

Platform& Platform::Current() noexcept
{
    Platform* replacement = g_Replacement.load(std::memory_order_acquire);
    return replacement != nullptr ? *replacement : System();
}

Platform& Platform::Replace(Platform* machine) noexcept
{
    Platform* before = g_Replacement.exchange(machine, std::memory_order_acq_rel);
    return before != nullptr ? *before : System();
}

DeviceIo& DeviceIo::Current() noexcept { return Platform::Current().DeviceIoPort(); }
Setup& Setup::Current() noexcept { return Platform::Current().SetupPort(); }
Wmi& Wmi::Current() noexcept { return Platform::Current().WmiPort(); }
Firmware& Firmware::Current() noexcept { return Platform::Current().FirmwarePort(); }
Pdh& Pdh::Current() noexcept { return Platform::Current().PdhPort(); }
Time& Time::Current() noexcept { return Platform::Current().TimePort(); }
Text& Text::Current() noexcept { return Platform::Current().TextPort(); }

}  // namespace orbis::platform
