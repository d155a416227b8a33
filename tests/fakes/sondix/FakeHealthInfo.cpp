#include "FakeObject.h"

namespace orbis::fakes {
namespace {

using namespace veyra;
using namespace veyra::sondix::nvme;

class FakeCriticalWarning final : public FakeObject<FakeCriticalWarning, IHealthInfo::ICriticalWarning> {
public:
    using FakeObject::FakeObject;
    bool AvailableSpareBelowThreshold() const override { return Flag(__func__); }
    bool TemperatureOutOfThreshold() const override { return Flag(__func__); }
    bool NvmSubsystemReliabilityDegraded() const override { return Flag(__func__); }
    bool MediaReadOnly() const override { return Flag(__func__); }
    bool VolatileMemoryBackupDeviceFailed() const override { return Flag(__func__); }
    bool PersistentMemoryRegionReadOnlyOrUnreliable() const override { return Flag(__func__); }
};

class FakeEnduranceGroupCriticalWarningSummary final
    : public FakeObject<FakeEnduranceGroupCriticalWarningSummary, IHealthInfo::IEnduranceGroupCriticalWarningSummary> {
public:
    using FakeObject::FakeObject;
    bool AvailableSpareCapacityBelowThreshold() const override { return Flag(__func__); }
    bool ReliabilityDegraded() const override { return Flag(__func__); }
    bool ReadOnly() const override { return Flag(__func__); }
};

class FakeHealthInfo final : public FakeObject<FakeHealthInfo, IHealthInfo> {
public:
    explicit FakeHealthInfo(std::int32_t drive) : FakeObject(drive, "IHealthInfo") {}
    ICriticalWarning* CriticalWarning() const override { return New<FakeCriticalWarning>(__func__, "ICriticalWarning"); }
    std::int32_t CompositeTemperature() const override { return Number<std::int32_t>(__func__); }
    std::uint8_t AvailableSpare() const override { return Number<std::uint8_t>(__func__); }
    std::uint8_t AvailableSpareThreshold() const override { return Number<std::uint8_t>(__func__); }
    std::uint8_t PercentageUsed() const override { return Number<std::uint8_t>(__func__); }
    IEnduranceGroupCriticalWarningSummary* EnduranceGroupCriticalWarningSummary() const override
    {
        return New<FakeEnduranceGroupCriticalWarningSummary>(__func__, "IEnduranceGroupCriticalWarningSummary");
    }
    const Carray<16>& DataUnitsRead() const override { return Text<Carray<16>>(__func__); }
    const Carray<16>& DataUnitsWritten() const override { return Text<Carray<16>>(__func__); }
    const Carray<16>& HostReadCommands() const override { return Text<Carray<16>>(__func__); }
    const Carray<16>& HostWriteCommands() const override { return Text<Carray<16>>(__func__); }
    const Carray<16>& ControllerBusyTime() const override { return Text<Carray<16>>(__func__); }
    const Carray<16>& PowerCycles() const override { return Text<Carray<16>>(__func__); }
    const Carray<16>& PowerOnHours() const override { return Text<Carray<16>>(__func__); }
    const Carray<16>& UnsafeShutdowns() const override { return Text<Carray<16>>(__func__); }
    const Carray<16>& MediaAndDataIntegrityErrors() const override { return Text<Carray<16>>(__func__); }
    const Carray<16>& NumberOfErrorInformationLogEntries() const override { return Text<Carray<16>>(__func__); }
    std::uint32_t WarningCompositeTemperatureTime() const override { return Number<std::uint32_t>(__func__); }
    std::uint32_t CriticalCompositeTemperatureTime() const override { return Number<std::uint32_t>(__func__); }
    std::int32_t TemperatureSensor1() const override { return Number<std::int32_t>(__func__); }
    std::int32_t TemperatureSensor2() const override { return Number<std::int32_t>(__func__); }
    std::int32_t TemperatureSensor3() const override { return Number<std::int32_t>(__func__); }
    std::int32_t TemperatureSensor4() const override { return Number<std::int32_t>(__func__); }
    std::int32_t TemperatureSensor5() const override { return Number<std::int32_t>(__func__); }
    std::int32_t TemperatureSensor6() const override { return Number<std::int32_t>(__func__); }
    std::int32_t TemperatureSensor7() const override { return Number<std::int32_t>(__func__); }
    std::int32_t TemperatureSensor8() const override { return Number<std::int32_t>(__func__); }
    std::uint32_t ThermalManagementTemperature1TransitionCount() const override { return Number<std::uint32_t>(__func__); }
    std::uint32_t ThermalManagementTemperature2TransitionCount() const override { return Number<std::uint32_t>(__func__); }
    std::uint32_t TotalTimeForThermalManagementTemperature1() const override { return Number<std::uint32_t>(__func__); }
    std::uint32_t TotalTimeForThermalManagementTemperature2() const override { return Number<std::uint32_t>(__func__); }
};

class FakeCustomizedHealthInfo final : public FakeObject<FakeCustomizedHealthInfo, ICustomizedHealthInfo> {
public:
    explicit FakeCustomizedHealthInfo(std::int32_t drive) : FakeObject(drive, "ICustomizedHealthInfo") {}
    std::uint8_t WearLevelingCount() const override { return Number<std::uint8_t>(__func__); }
    std::uint8_t UsedReservedBlockCountWorstCaseComponent() const override { return Number<std::uint8_t>(__func__); }
    std::uint8_t UsedReservedBlockCountSsdTotal() const override { return Number<std::uint8_t>(__func__); }
    std::uint32_t ReservedBlockCountSsdTotal() const override { return Number<std::uint32_t>(__func__); }
    std::int32_t MinimumTemperature() const override { return Number<std::int32_t>(__func__); }
    std::int32_t MaximumTemperature() const override { return Number<std::int32_t>(__func__); }
    const Carray<16>& TotalDataWrittenByController() const override { return Text<Carray<16>>(__func__); }
    std::uint32_t AccumulatedHostActiveIdleCounter() const override { return Number<std::uint32_t>(__func__); }
    std::uint32_t AccumulatedNonOperationalPowerStateCounter() const override { return Number<std::uint32_t>(__func__); }
    std::uint8_t AbnormalInputVccVoltageCounter() const override { return Number<std::uint8_t>(__func__); }
};

}  // namespace

IHealthInfo* NewFakeHealthInfo(std::int32_t drive) { return new FakeHealthInfo(drive); }
ICustomizedHealthInfo* NewFakeCustomizedHealthInfo(std::int32_t drive) { return new FakeCustomizedHealthInfo(drive); }

}  // namespace orbis::fakes
