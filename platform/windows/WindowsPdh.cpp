#include "WindowsPorts.h"

#include "WindowsHeaders.h"
// After windows.h, which they need.
#include <pdh.h>
#include <pdhmsg.h>

#include <algorithm>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "LocalCounterName.h"

namespace orbis::platform {
namespace {

// pdhmsg.h types its codes now as unsigned, now as signed.
constexpr PdhStatus Status(auto code) noexcept { return static_cast<PdhStatus>(code); }
static_assert(sizeof(PDH_HQUERY) == sizeof(PdhQueryObject*) && sizeof(PDH_HCOUNTER) == sizeof(PdhCounterObject*));

// Performance Data Helper, by English names.
class WindowsPdh final : public Pdh {
public:
    PdhStatus OpenQuery(const char16_t* dataSource, std::uintptr_t userData, PdhQueryObject** query) override
    {
        PDH_HQUERY opened{};
        const PDH_STATUS status = ::PdhOpenQueryW(AsWide(dataSource), userData, &opened);
        *query = reinterpret_cast<PdhQueryObject*>(opened);
        return Status(status);
    }

    PdhStatus EnumInstances(const char16_t* object, char16_t* buffer, std::uint32_t* characters) override
    {
        if (buffer == nullptr && *characters != 0) {
            return pdh::kInvalidArgument;
        }
        // PdhEnumObjectItemsW knows the object by its name in the system's language only, and fills the instances only when there
        // is room for the counters too.
        const std::wstring local = LocalCounterName(AsWide(object));
        const auto enumerate = [&](wchar_t* counters, DWORD* counterCharacters, wchar_t* instances, DWORD* instanceCharacters) {
            return ::PdhEnumObjectItemsW(nullptr, nullptr, local.c_str(), counters, counterCharacters, instances,
                                         instanceCharacters, PERF_DETAIL_WIZARD, 0);
        };
        DWORD counterCharacters = 0;
        DWORD instanceCharacters = 0;
        PDH_STATUS status = enumerate(nullptr, &counterCharacters, nullptr, &instanceCharacters);
        if (Status(status) == pdh::kMoreData && buffer == nullptr) {
            // PDH goes on listing the instances that it listed first until the objects are enumerated anew: without this, a disk
            // that was inserted since is never seen. The list of objects itself is of no interest.
            DWORD objectCharacters = 0;
            static_cast<void>(::PdhEnumObjectsW(nullptr, nullptr, nullptr, &objectCharacters, PERF_DETAIL_WIZARD, TRUE));
            counterCharacters = 0;
            instanceCharacters = 0;
            status = enumerate(nullptr, &counterCharacters, nullptr, &instanceCharacters);
        }
        if (Status(status) == pdh::kMoreData && buffer != nullptr) {
            std::vector<wchar_t> counters(counterCharacters);
            instanceCharacters = *characters;
            status = enumerate(counters.data(), &counterCharacters, AsWide(buffer), &instanceCharacters);
        }
        *characters = instanceCharacters;
        return Status(status);
    }

    PdhStatus AddEnglishCounter(PdhQueryObject* query, const char16_t* path, std::uintptr_t userData,
                                PdhCounterObject** counter) override
    {
        PDH_HCOUNTER added{};
        const PDH_STATUS status = ::PdhAddEnglishCounterW(reinterpret_cast<PDH_HQUERY>(query), AsWide(path), userData, &added);
        *counter = reinterpret_cast<PdhCounterObject*>(added);
        return Status(status);
    }

    PdhStatus CounterInstances(PdhCounterObject* counter, char16_t* buffer, std::uint32_t* characters) override
    {
        if (buffer == nullptr && *characters != 0) {
            return pdh::kInvalidArgument;
        }
        // PDH returns the size of the values with the names, so the values are fetched even when only the size of the names is
        // requested.
        auto* native = reinterpret_cast<PDH_HCOUNTER>(counter);
        DWORD bytes = 0;
        DWORD count = 0;
        PDH_STATUS status = ::PdhGetRawCounterArrayW(native, &bytes, &count, nullptr);
        std::vector<PDH_RAW_COUNTER_ITEM_W> items(bytes / sizeof(PDH_RAW_COUNTER_ITEM_W) + 1);
        if (Status(status) == pdh::kMoreData) {
            bytes = static_cast<DWORD>(items.size() * sizeof(PDH_RAW_COUNTER_ITEM_W));
            status = ::PdhGetRawCounterArrayW(native, &bytes, &count, items.data());
        }
        if (status != ERROR_SUCCESS) {
            return Status(status);
        }
        std::wstring names;
        for (const PDH_RAW_COUNTER_ITEM_W& item : std::span(items).first(std::min<std::size_t>(count, items.size()))) {
            names.append(item.szName).push_back(L'\0');
        }
        names.push_back(L'\0');
        const std::uint32_t room = std::exchange(*characters, static_cast<std::uint32_t>(names.size()));
        if (buffer == nullptr || room < names.size()) {
            return pdh::kMoreData;
        }
        names.copy(AsWide(buffer), names.size());
        return pdh::kOk;
    }

    PdhStatus CollectQueryData(PdhQueryObject* query) override
    {
        return Status(::PdhCollectQueryData(reinterpret_cast<PDH_HQUERY>(query)));
    }

    PdhStatus FormattedValue(PdhCounterObject* counter, std::uint32_t format, PdhCounterValue* value) override
    {
        PDH_FMT_COUNTERVALUE native{};
        const PDH_STATUS status = ::PdhGetFormattedCounterValue(reinterpret_cast<PDH_HCOUNTER>(counter), format, nullptr, &native);
        value->status = Status(native.CStatus);
        value->value = native.doubleValue;
        return Status(status);
    }

    PdhStatus CloseQuery(PdhQueryObject* query) noexcept override
    {
        return Status(::PdhCloseQuery(reinterpret_cast<PDH_HQUERY>(query)));
    }
};

}  // namespace

std::unique_ptr<Pdh> MakeWindowsPdh() { return std::make_unique<WindowsPdh>(); }

}  // namespace orbis::platform
