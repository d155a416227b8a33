#pragma once

#include <cstdint>

#include "Object.h"
#include "sondix/IHealthInfo.h"

namespace veyra::sondix::nvme {

// Critical warning, byte 0
class CriticalWarning final : public Object<CriticalWarning, IHealthInfo::ICriticalWarning, 0, 1> {
public:
    using Object::Object;
    bool AvailableSpareBelowThreshold() const noexcept override { return bit<0>(); }
    bool TemperatureOutOfThreshold() const noexcept override { return bit<1>(); }
    bool NvmSubsystemReliabilityDegraded() const noexcept override { return bit<2>(); }
    bool MediaReadOnly() const noexcept override { return bit<3>(); }
    bool VolatileMemoryBackupDeviceFailed() const noexcept override { return bit<4>(); }
    bool PersistentMemoryRegionReadOnlyOrUnreliable() const noexcept override { return bit<5>(); }
};

// Endurance group critical warning summary, byte 6
class EnduranceGroupCriticalWarningSummary final
    : public Object<EnduranceGroupCriticalWarningSummary, IHealthInfo::IEnduranceGroupCriticalWarningSummary, 6, 1> {
public:
    using Object::Object;
    bool AvailableSpareCapacityBelowThreshold() const noexcept override { return bit<0>(); }
    bool ReliabilityDegraded() const noexcept override { return bit<2>(); }
    bool ReadOnly() const noexcept override { return bit<3>(); }
};

// SMART / Health Information log, 512 bytes.
class HealthInfo final : public Object<HealthInfo, IHealthInfo, 0, 512> {
public:
    using Object::Object;
    ICriticalWarning* CriticalWarning() const noexcept override { return New<nvme::CriticalWarning>(Whole()); }
    std::int32_t CompositeTemperature() const noexcept override { return Celsius(word<1, std::uint16_t>()); }
    std::uint8_t AvailableSpare() const noexcept override { return word<3, std::uint8_t>(); }
    std::uint8_t AvailableSpareThreshold() const noexcept override { return word<4, std::uint8_t>(); }
    std::uint8_t PercentageUsed() const noexcept override { return word<5, std::uint8_t>(); }
    IEnduranceGroupCriticalWarningSummary* EnduranceGroupCriticalWarningSummary() const noexcept override
    {
        return New<nvme::EnduranceGroupCriticalWarningSummary>(Whole());
    }
    const Carray<16>& DataUnitsRead() const noexcept override { return bytes<32, 16>(); }
    const Carray<16>& DataUnitsWritten() const noexcept override { return bytes<48, 16>(); }
    const Carray<16>& HostReadCommands() const noexcept override { return bytes<64, 16>(); }
    const Carray<16>& HostWriteCommands() const noexcept override { return bytes<80, 16>(); }
    const Carray<16>& ControllerBusyTime() const noexcept override { return bytes<96, 16>(); }
    const Carray<16>& PowerCycles() const noexcept override { return bytes<112, 16>(); }
    const Carray<16>& PowerOnHours() const noexcept override { return bytes<128, 16>(); }
    const Carray<16>& UnsafeShutdowns() const noexcept override { return bytes<144, 16>(); }
    const Carray<16>& MediaAndDataIntegrityErrors() const noexcept override { return bytes<160, 16>(); }
    const Carray<16>& NumberOfErrorInformationLogEntries() const noexcept override { return bytes<176, 16>(); }
    std::uint32_t WarningCompositeTemperatureTime() const noexcept override { return word<192, std::uint32_t>(); }
    std::uint32_t CriticalCompositeTemperatureTime() const noexcept override { return word<196, std::uint32_t>(); }
    std::int32_t TemperatureSensor1() const noexcept override { return Celsius(word<200, std::uint16_t>()); }
    std::int32_t TemperatureSensor2() const noexcept override { return Celsius(word<202, std::uint16_t>()); }
    std::int32_t TemperatureSensor3() const noexcept override { return Celsius(word<204, std::uint16_t>()); }
    std::int32_t TemperatureSensor4() const noexcept override { return Celsius(word<206, std::uint16_t>()); }
    std::int32_t TemperatureSensor5() const noexcept override { return Celsius(word<208, std::uint16_t>()); }
    std::int32_t TemperatureSensor6() const noexcept override { return Celsius(word<210, std::uint16_t>()); }
    std::int32_t TemperatureSensor7() const noexcept override { return Celsius(word<212, std::uint16_t>()); }
    std::int32_t TemperatureSensor8() const noexcept override { return Celsius(word<214, std::uint16_t>()); }
    std::uint32_t ThermalManagementTemperature1TransitionCount() const noexcept override { return word<216, std::uint32_t>(); }
    std::uint32_t ThermalManagementTemperature2TransitionCount() const noexcept override { return word<220, std::uint32_t>(); }
    std::uint32_t TotalTimeForThermalManagementTemperature1() const noexcept override { return word<224, std::uint32_t>(); }
    std::uint32_t TotalTimeForThermalManagementTemperature2() const noexcept override { return word<228, std::uint32_t>(); }

private:
    // 273, not 273.15: the log has whole kelvins, and -273 stands for a missing sensor.
    static std::int32_t Celsius(std::uint16_t kelvin) noexcept { return std::int32_t{kelvin} - 273; }
};

}  // namespace veyra::sondix::nvme
