#pragma once

#include <map>
#include <memory>
#include <mutex>

#include "linux/kernel/Machine.h"
#include "platform/Pdh.h"

namespace orbis::platform::linux_system {

// The PhysicalDisk object's seven counters, worked out from what /proc/diskstats counts between two samples. A counter is tied to
// its disk: it goes on when a volume of the disk comes or goes and the instance is called differently from then on.
class Pdh final : public platform::Pdh {
public:
    explicit Pdh(Machine& machine);
    ~Pdh() override;

    PdhStatus OpenQuery(const char16_t* dataSource, std::uintptr_t userData, PdhQueryObject** query) override;
    PdhStatus EnumInstances(const char16_t* object, char16_t* buffer, std::uint32_t* characters) override;
    PdhStatus AddEnglishCounter(PdhQueryObject* query, const char16_t* path, std::uintptr_t userData,
                                PdhCounterObject** counter) override;
    PdhStatus CounterInstances(PdhCounterObject* counter, char16_t* buffer, std::uint32_t* characters) override;
    PdhStatus CollectQueryData(PdhQueryObject* query) override;
    PdhStatus FormattedValue(PdhCounterObject* counter, std::uint32_t format, PdhCounterValue* value) override;
    PdhStatus CloseQuery(PdhQueryObject* query) noexcept override;

private:
    struct Query;

    [[nodiscard]] Query* Find(PdhQueryObject* query);
    // Null when no query has it. Call it under the lock.
    [[nodiscard]] Query* QueryOf(PdhCounterObject* counter);

    Machine& m_Machine;
    std::mutex m_Lock;
    std::map<PdhQueryObject*, std::unique_ptr<Query>> m_Queries;
};

}  // namespace orbis::platform::linux_system
