#pragma once

#include <cstdint>

#include "platform/Export.h"

namespace orbis::platform {

inline constexpr std::uint32_t kFirmwareProviderSmbios = 0x52534D42;  // 'RSMB'

// Firmware tables.
class Firmware {
public:
    virtual ~Firmware() = default;

    // GetSystemFirmwareTable. Returns the number of bytes written, the number needed when `size` is too small (buffer untouched,
    // LastError kInsufficientBuffer; null with 0 asks for it), and 0 on failure with LastError set (kInvalidFunction: no such
    // provider).
    [[nodiscard]] virtual std::uint32_t SystemFirmwareTable(std::uint32_t provider, std::uint32_t table, void* buffer,
                                                            std::uint32_t size) = 0;
    [[nodiscard]] virtual std::uint32_t LastError() const noexcept = 0;

    // The port that is in force now (see Platform::Current).
    [[nodiscard]] ORBIS_PLATFORM_EXPORT static Firmware& Current() noexcept;
};

}  // namespace orbis::platform
