#pragma once

#include <cstdint>

#include "sondix/Types.h"

namespace veyra::sondix::nvme {

// SMART / Health Information log of the controller, log identifier 02h (NVMe 1.4, 5.14.1.2, figure 194).
//
// Temperatures are degrees Celsius: the drive's kelvins less 273, so -273 when it reports 0, "not implemented". Counters of
// 16 bytes are 128-bit little-endian. Interface pointers are new objects that the caller frees with SXDelete; null when memory is
// short.
class IHealthInfo : public IObject {
public:
    class ICriticalWarning;
    class IEnduranceGroupCriticalWarningSummary;

    // Slots 1 to 30, in this order.
    virtual ICriticalWarning* CriticalWarning() const = 0;     // byte 0
    virtual std::int32_t CompositeTemperature() const = 0;     // bytes 2:1
    virtual std::uint8_t AvailableSpare() const = 0;           // byte 3, percent
    virtual std::uint8_t AvailableSpareThreshold() const = 0;  // byte 4, percent
    virtual std::uint8_t PercentageUsed() const = 0;           // byte 5, percent; above 100 is allowed, 255 is the most
    virtual IEnduranceGroupCriticalWarningSummary* EnduranceGroupCriticalWarningSummary() const = 0;  // byte 6
    virtual const Carray<16>& DataUnitsRead() const = 0;                             // bytes 47:32, thousands of 512 bytes
    virtual const Carray<16>& DataUnitsWritten() const = 0;                          // bytes 63:48, thousands of 512 bytes
    virtual const Carray<16>& HostReadCommands() const = 0;                          // bytes 79:64
    virtual const Carray<16>& HostWriteCommands() const = 0;                         // bytes 95:80
    virtual const Carray<16>& ControllerBusyTime() const = 0;                        // bytes 111:96, minutes
    virtual const Carray<16>& PowerCycles() const = 0;                               // bytes 127:112
    virtual const Carray<16>& PowerOnHours() const = 0;                              // bytes 143:128
    virtual const Carray<16>& UnsafeShutdowns() const = 0;                           // bytes 159:144
    virtual const Carray<16>& MediaAndDataIntegrityErrors() const = 0;               // bytes 175:160
    virtual const Carray<16>& NumberOfErrorInformationLogEntries() const = 0;        // bytes 191:176
    virtual std::uint32_t WarningCompositeTemperatureTime() const = 0;               // bytes 195:192, minutes
    virtual std::uint32_t CriticalCompositeTemperatureTime() const = 0;              // bytes 199:196, minutes
    virtual std::int32_t TemperatureSensor1() const = 0;                             // bytes 201:200
    virtual std::int32_t TemperatureSensor2() const = 0;                             // bytes 203:202
    virtual std::int32_t TemperatureSensor3() const = 0;                             // bytes 205:204
    virtual std::int32_t TemperatureSensor4() const = 0;                             // bytes 207:206
    virtual std::int32_t TemperatureSensor5() const = 0;                             // bytes 209:208
    virtual std::int32_t TemperatureSensor6() const = 0;                             // bytes 211:210
    virtual std::int32_t TemperatureSensor7() const = 0;                             // bytes 213:212
    virtual std::int32_t TemperatureSensor8() const = 0;                             // bytes 215:214
    virtual std::uint32_t ThermalManagementTemperature1TransitionCount() const = 0;  // bytes 219:216
    virtual std::uint32_t ThermalManagementTemperature2TransitionCount() const = 0;  // bytes 223:220
    virtual std::uint32_t TotalTimeForThermalManagementTemperature1() const = 0;     // bytes 227:224, seconds
    virtual std::uint32_t TotalTimeForThermalManagementTemperature2() const = 0;     // bytes 231:228, seconds

protected:
    ~IHealthInfo() = default;
};

// Critical warning, byte 0
class IHealthInfo::ICriticalWarning : public IObject {
public:
    virtual bool AvailableSpareBelowThreshold() const = 0;                // bit 0
    virtual bool TemperatureOutOfThreshold() const = 0;                   // bit 1
    virtual bool NvmSubsystemReliabilityDegraded() const = 0;             // bit 2
    virtual bool MediaReadOnly() const = 0;                               // bit 3
    virtual bool VolatileMemoryBackupDeviceFailed() const = 0;            // bit 4
    virtual bool PersistentMemoryRegionReadOnlyOrUnreliable() const = 0;  // bit 5

protected:
    ~ICriticalWarning() = default;
};

// Endurance group critical warning summary, byte 6
class IHealthInfo::IEnduranceGroupCriticalWarningSummary : public IObject {
public:
    virtual bool AvailableSpareCapacityBelowThreshold() const = 0;  // bit 0
    virtual bool ReliabilityDegraded() const = 0;                   // bit 2
    virtual bool ReadOnly() const = 0;                              // bit 3

protected:
    ~IEnduranceGroupCriticalWarningSummary() = default;
};

}  // namespace veyra::sondix::nvme
