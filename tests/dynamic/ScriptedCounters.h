#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "platform/Platform.h"

namespace orbis::tests {

// A machine whose performance counters and sleep a test scripts; everything else is another machine's.
class ScriptedCounters final : public platform::Platform, private platform::Pdh, private platform::Time {
public:
    explicit ScriptedCounters(platform::Platform& machine) : m_Machine(machine) {}

    // What EnumInstances lists.
    std::vector<std::u16string> instances;
    // Values by full path; a path that is not here reads 0.
    std::map<std::u16string, double> values;
    // Paths that cannot be added, and paths whose value is not to be had.
    std::set<std::u16string> refused;
    std::set<std::u16string> unreadable;
    // Statuses of the calls; 0 lets them pass.
    platform::PdhStatus openStatus = 0;
    platform::PdhStatus enumStatus = 0;
    platform::PdhStatus sampleStatus = 0;

    std::vector<std::uint32_t> sleeps;
    int samples = 0;
    int openQueries = 0;
    int opened = 0;

    platform::DeviceIo& DeviceIoPort() noexcept override { return m_Machine.DeviceIoPort(); }
    platform::Setup& SetupPort() noexcept override { return m_Machine.SetupPort(); }
    platform::Wmi& WmiPort() noexcept override { return m_Machine.WmiPort(); }
    platform::Firmware& FirmwarePort() noexcept override { return m_Machine.FirmwarePort(); }
    platform::Pdh& PdhPort() noexcept override { return *this; }
    platform::Time& TimePort() noexcept override { return *this; }
    platform::Text& TextPort() noexcept override { return m_Machine.TextPort(); }

private:
    platform::PdhStatus OpenQuery(const char16_t* dataSource, std::uintptr_t userData, platform::PdhQueryObject** query) override;
    platform::PdhStatus EnumInstances(const char16_t* object, char16_t* buffer, std::uint32_t* characters) override;
    platform::PdhStatus AddEnglishCounter(platform::PdhQueryObject* query, const char16_t* path, std::uintptr_t userData,
                                          platform::PdhCounterObject** counter) override;
    platform::PdhStatus CollectQueryData(platform::PdhQueryObject* query) override;
    platform::PdhStatus FormattedValue(platform::PdhCounterObject* counter, std::uint32_t format,
                                       platform::PdhCounterValue* value) override;
    platform::PdhStatus CloseQuery(platform::PdhQueryObject* query) noexcept override;

    std::chrono::system_clock::time_point UtcNow() override { return m_Machine.TimePort().UtcNow(); }
    void Sleep(std::uint32_t milliseconds) override { sleeps.push_back(milliseconds); }

    platform::Platform& m_Machine;
    std::vector<std::unique_ptr<std::u16string>> m_Counters;  // their paths; a counter object points to its own
};

}  // namespace orbis::tests
