#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

#include "emulated/LastError.h"
#include "platform/Errors.h"
#include "platform/Firmware.h"

namespace orbis::platform::emulated {

struct FirmwareTable {
    std::vector<std::uint8_t> content;
    Win32Error error = win32::kSuccess;
};

// GetSystemFirmwareTable over tables by provider and identifier.
class Firmware final : public platform::Firmware {
public:
    using Tables = std::function<FirmwareTable(std::uint32_t provider, std::uint32_t table)>;

    explicit Firmware(Tables tables) : m_Tables(std::move(tables)) {}

    std::uint32_t SystemFirmwareTable(std::uint32_t provider, std::uint32_t table, void* buffer, std::uint32_t size) override
    {
        const auto [content, error] = m_Tables(provider, table);
        if (error != win32::kSuccess) {
            return FailWith(error, 0U);
        }
        const auto needed = static_cast<std::uint32_t>(content.size());
        if (buffer == nullptr || size < needed) {
            return FailWith(win32::kInsufficientBuffer, needed);
        }
        std::ranges::copy(content, static_cast<std::uint8_t*>(buffer));
        return needed;
    }

    std::uint32_t LastError() const noexcept override { return emulated::LastError(); }

private:
    const Tables m_Tables;
};

}  // namespace orbis::platform::emulated
