#pragma once

#include <cstdint>

#include "MakerHealthLog.h"
#include "Object.h"
#include "sondix/ICustomizedHealthInfo.h"

namespace veyra::sondix::nvme {

class CustomizedHealthInfo final : public Destroyable<CustomizedHealthInfo, ICustomizedHealthInfo> {
public:
    explicit CustomizedHealthInfo(const maker::MakerHealthLog& log) noexcept : m_Log(log) {}
    std::uint8_t WearLevelingCount() const noexcept override { return m_Log.WearLevelingCount(); }
    std::uint8_t UsedReservedBlockCountWorstCaseComponent() const noexcept override
    {
        return m_Log.UsedReservedBlockCountWorstCaseComponent();
    }
    std::uint8_t UsedReservedBlockCountSsdTotal() const noexcept override { return m_Log.UsedReservedBlockCountSsdTotal(); }
    std::uint32_t ReservedBlockCountSsdTotal() const noexcept override { return m_Log.ReservedBlockCountSsdTotal(); }
    std::int32_t MinimumTemperature() const noexcept override { return m_Log.MinimumTemperature(); }
    std::int32_t MaximumTemperature() const noexcept override { return m_Log.MaximumTemperature(); }
    const Carray<16>& TotalDataWrittenByController() const noexcept override { return m_Log.TotalDataWrittenByController(); }
    std::uint32_t AccumulatedHostActiveIdleCounter() const noexcept override { return m_Log.AccumulatedHostActiveIdleCounter(); }
    std::uint32_t AccumulatedNonOperationalPowerStateCounter() const noexcept override
    {
        return m_Log.AccumulatedNonOperationalPowerStateCounter();
    }
    std::uint8_t AbnormalInputVccVoltageCounter() const noexcept override { return m_Log.AbnormalInputVccVoltageCounter(); }

private:
    maker::MakerHealthLog m_Log;
};

}  // namespace veyra::sondix::nvme
