#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace Veyra::Orbis::Cpp::Common {

// One SMART attribute; what was not read is absent.
struct SmartAttribute {
    std::optional<std::uint64_t> raw;
    std::optional<std::uint8_t> normalised;
    std::optional<std::uint8_t> worst;
    std::optional<std::uint8_t> threshold;
};

// ATA attribute ids in slot order. Slot 31 (counted from 1) holds 242 and slot 32 holds 241, in that order on purpose.
inline constexpr std::array<std::uint8_t, 33> kSmartAttributeIds{1,   3,   4,   5,   7,   9,   10,  11,  12,  175, 176,
                                                                 177, 178, 179, 180, 181, 182, 184, 191, 192, 193, 194,
                                                                 195, 196, 197, 198, 199, 200, 238, 240, 242, 241, 254};

inline constexpr std::uint8_t kSmartSpinUpTime = 3;
inline constexpr std::uint8_t kSmartPowerOnHours = 9;
inline constexpr std::uint8_t kSmartWearLevelingCount = 177;
inline constexpr std::uint8_t kSmartTemperature = 194;
inline constexpr std::uint8_t kSmartHeadFlyingHours = 240;

// The first slot of an attribute id, counted from 0; the number of slots for an id that has none.
[[nodiscard]] constexpr std::size_t SmartSlotOf(std::uint8_t id) noexcept
{
    return static_cast<std::size_t>(std::ranges::find(kSmartAttributeIds, id) - kSmartAttributeIds.begin());
}

// SMART state of one disk.
struct SmartDataCollection {
    std::uint32_t physicalDriveNumber = 0;
    std::string name;                      // "SSD", or "SMART" and the drive number; empty when reading ended early
    std::optional<std::string> modelName;  // 40 bytes, untrimmed
    std::optional<std::string> eppid;      // 20 bytes, untrimmed
    std::array<SmartAttribute, kSmartAttributeIds.size()> attributes{};

    // The attribute's slot, or null for an id that has none.
    [[nodiscard]] SmartAttribute* Find(std::uint8_t id) noexcept
    {
        const std::size_t slot = SmartSlotOf(id);
        return slot < attributes.size() ? &attributes[slot] : nullptr;
    }
};

}  // namespace Veyra::Orbis::Cpp::Common
