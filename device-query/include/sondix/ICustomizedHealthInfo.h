#pragma once

#include <cstdint>

#include "sondix/Types.h"

namespace veyra::sondix::nvme {

// The maker's health log.
class ICustomizedHealthInfo : public IObject {
public:
    // Slots 1 to 10, in this order.
    virtual std::uint8_t WearLevelingCount() const = 0;
    virtual std::uint8_t UsedReservedBlockCountWorstCaseComponent() const = 0;
    virtual std::uint8_t UsedReservedBlockCountSsdTotal() const = 0;
    virtual std::uint32_t ReservedBlockCountSsdTotal() const = 0;
    virtual std::int32_t MinimumTemperature() const = 0;                 // degrees Celsius over the drive's life
    virtual std::int32_t MaximumTemperature() const = 0;                 // degrees Celsius over the drive's life
    virtual const Carray<16>& TotalDataWrittenByController() const = 0;  // 128-bit little-endian
    virtual std::uint32_t AccumulatedHostActiveIdleCounter() const = 0;
    virtual std::uint32_t AccumulatedNonOperationalPowerStateCounter() const = 0;
    virtual std::uint8_t AbnormalInputVccVoltageCounter() const = 0;

protected:
    ~ICustomizedHealthInfo() = default;
};

}  // namespace veyra::sondix::nvme
