#pragma once

#include "platform/Pdh.h"

namespace orbis::platform {

// Performance Data Helper, by English names.
class WindowsPdh final : public Pdh {
public:
    PdhStatus OpenQuery(const char16_t* dataSource, std::uintptr_t userData, PdhQueryObject** query) override;
    PdhStatus EnumInstances(const char16_t* object, char16_t* buffer, std::uint32_t* characters) override;
    PdhStatus AddEnglishCounter(PdhQueryObject* query, const char16_t* path, std::uintptr_t userData,
                                PdhCounterObject** counter) override;
    PdhStatus CounterInstances(PdhCounterObject* counter, char16_t* buffer, std::uint32_t* characters) override;
    PdhStatus CollectQueryData(PdhQueryObject* query) override;
    PdhStatus FormattedValue(PdhCounterObject* counter, std::uint32_t format, PdhCounterValue* value) override;
    PdhStatus CloseQuery(PdhQueryObject* query) noexcept override;
};

}  // namespace orbis::platform
