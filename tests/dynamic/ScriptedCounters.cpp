#include "ScriptedCounters.h"

#include <algorithm>

namespace orbis::tests {

using namespace platform;

PdhStatus ScriptedCounters::OpenQuery(const char16_t* dataSource, std::uintptr_t userData, PdhQueryObject** query)
{
    if (openStatus != 0 || dataSource != nullptr || userData != 0) {
        return openStatus != 0 ? openStatus : pdh::kInvalidArgument;
    }
    ++openQueries;
    ++opened;
    *query = reinterpret_cast<PdhQueryObject*>(this);
    return pdh::kOk;
}

PdhStatus ScriptedCounters::EnumInstances(const char16_t* object, char16_t* buffer, std::uint32_t* characters)
{
    if (enumStatus != 0 || std::u16string_view(object) != u"PhysicalDisk") {
        return enumStatus != 0 ? enumStatus : pdh::kNoObject;
    }
    std::u16string list;
    // The last one always comes between the question for the size and the one for the names.
    for (auto instance = instances.begin(); instance != instances.end() - (buffer == nullptr ? 1 : 0); ++instance) {
        list += *instance + u'\0';
    }
    list += u'\0';
    const auto needed = static_cast<std::uint32_t>(list.size());
    const bool fits = buffer != nullptr && *characters >= needed;
    *characters = needed;
    if (!fits) {
        return pdh::kMoreData;
    }
    std::copy(list.begin(), list.end(), buffer);
    return pdh::kOk;
}

PdhStatus ScriptedCounters::AddEnglishCounter(PdhQueryObject*, const char16_t* path, std::uintptr_t, PdhCounterObject** counter)
{
    if (refused.contains(path)) {
        return pdh::kNoCounter;
    }
    m_Counters.push_back(std::make_unique<std::u16string>(path));
    *counter = reinterpret_cast<PdhCounterObject*>(m_Counters.back().get());
    return pdh::kOk;
}

PdhStatus ScriptedCounters::CollectQueryData(PdhQueryObject*)
{
    ++samples;
    return sampleStatus;
}

PdhStatus ScriptedCounters::FormattedValue(PdhCounterObject* counter, std::uint32_t format, PdhCounterValue* value)
{
    const auto& path = *reinterpret_cast<const std::u16string*>(counter);
    if (format != (pdh::kFormatDouble | pdh::kFormatNoCap100)) {
        return pdh::kInvalidArgument;
    }
    // As PDH does for an instance that is gone: the call says that there is no data, the counter's own status why.
    const bool isGone = unreadable.contains(path);
    *value = {isGone ? pdh::kNoInstance : pdh::kValidData, values.contains(path) ? values.at(path) : 0};
    return isGone ? pdh::kNotValidYet : pdh::kOk;
}

PdhStatus ScriptedCounters::CloseQuery(PdhQueryObject*) noexcept
{
    --openQueries;
    return pdh::kOk;
}

}  // namespace orbis::tests
