#include "WindowsFirmware.h"

#include "WindowsHeaders.h"

namespace orbis::platform {

std::uint32_t WindowsFirmware::SystemFirmwareTable(std::uint32_t provider, std::uint32_t table, void* buffer, std::uint32_t size)
{
    return ::GetSystemFirmwareTable(provider, table, buffer, size);
}

std::uint32_t WindowsFirmware::LastError() const noexcept { return ::GetLastError(); }

}  // namespace orbis::platform
