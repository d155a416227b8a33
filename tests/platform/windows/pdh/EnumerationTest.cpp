// Listing counter instances over a PDH that keeps its lists as Windows' does; Wine's lists nothing. The functions of the system's
// library that are defined here take its place in this program.
#include <windows.h>

#include <pdh.h>
#include <pdhmsg.h>

#include <algorithm>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include "HostSdk/Pdh.h"
#include "WindowsPorts.h"
#include "platform/Forwarding.h"

namespace orbis::platform {
namespace {

using namespace std::string_view_literals;

struct {
    std::wstring present;  // the instances that the machine has
    std::wstring listed;   // those that PDH knows of, until it is told to look again
    bool isListed = false;
    int refreshes = 0;                // of the list of all objects
    bool knowsEnglishNames = true;    // as Windows, not as Wine
    std::map<PDH_HQUERY, int> taken;  // samples, by query
    std::wstring sampled;             // the instances at the last sample; a counter of every instance has a value for each
} g_Pdh;

constexpr std::wstring_view kCounters = L"% Idle Time\0Disk Reads/sec\0\0"sv;

void Look()
{
    g_Pdh.listed = g_Pdh.present;
    g_Pdh.isListed = true;
}

// Size in, size out, as every list of PDH is asked for.
bool Fits(std::wstring_view list, const wchar_t* buffer, DWORD* characters)
{
    const DWORD room = std::exchange(*characters, static_cast<DWORD>(list.size()));
    return buffer != nullptr && room >= list.size();
}

}  // namespace
}  // namespace orbis::platform

extern "C" PDH_FUNCTION PdhEnumObjectItemsW(LPCWSTR /*source*/, LPCWSTR /*machine*/, LPCWSTR object, LPWSTR counters,
                                            LPDWORD counterCharacters, LPWSTR instances, LPDWORD instanceCharacters,
                                            DWORD /*detail*/, DWORD /*flags*/)
{
    using namespace orbis::platform;
    if (object != L"PhysicalDisk"sv) {
        return static_cast<PDH_STATUS>(PDH_CSTATUS_NO_OBJECT);
    }
    if (!g_Pdh.isListed) {
        Look();
    }
    // Neither list is filled where one has no room.
    const bool countersFit = Fits(kCounters, counters, counterCharacters);
    if (!Fits(g_Pdh.listed, instances, instanceCharacters) || !countersFit) {
        return static_cast<PDH_STATUS>(PDH_MORE_DATA);
    }
    kCounters.copy(counters, kCounters.size());
    g_Pdh.listed.copy(instances, g_Pdh.listed.size());
    return ERROR_SUCCESS;
}

extern "C" PDH_FUNCTION PdhEnumObjectsW(LPCWSTR /*source*/, LPCWSTR /*machine*/, LPWSTR /*objects*/, LPDWORD characters,
                                        DWORD /*detail*/, BOOL refresh)
{
    if (refresh != FALSE) {
        orbis::platform::Look();
        ++orbis::platform::g_Pdh.refreshes;
    }
    *characters = 100;
    return static_cast<PDH_STATUS>(PDH_MORE_DATA);
}

extern "C" PDH_FUNCTION PdhOpenQueryW(LPCWSTR /*source*/, DWORD_PTR /*user*/, PDH_HQUERY* query)
{
    static std::uintptr_t last = 0;
    *query = reinterpret_cast<PDH_HQUERY>(++last);
    orbis::platform::g_Pdh.taken[*query] = 0;
    return ERROR_SUCCESS;
}

extern "C" PDH_FUNCTION PdhAddEnglishCounterW(PDH_HQUERY query, LPCWSTR /*path*/, DWORD_PTR /*user*/, PDH_HCOUNTER* counter)
{
    *counter = query;  // one counter to a query
    return orbis::platform::g_Pdh.knowsEnglishNames ? ERROR_SUCCESS : static_cast<PDH_STATUS>(PDH_CSTATUS_NO_OBJECT);
}

extern "C" PDH_FUNCTION PdhCollectQueryData(PDH_HQUERY query)
{
    ++orbis::platform::g_Pdh.taken.at(query);
    orbis::platform::g_Pdh.sampled = orbis::platform::g_Pdh.present;
    return ERROR_SUCCESS;
}

extern "C" PDH_FUNCTION PdhGetRawCounterArrayW(PDH_HCOUNTER counter, LPDWORD bytes, LPDWORD count, PPDH_RAW_COUNTER_ITEM_W items)
{
    using namespace orbis::platform;
    if (g_Pdh.taken.at(counter) == 0) {
        return static_cast<PDH_STATUS>(PDH_CSTATUS_INVALID_DATA);
    }
    const std::wstring& names = g_Pdh.sampled;
    const auto instances = static_cast<DWORD>(std::count(names.begin(), names.end(), L'\0') - 1);
    const auto needed = static_cast<DWORD>(instances * sizeof(PDH_RAW_COUNTER_ITEM_W) + names.size() * sizeof(wchar_t));
    if (std::exchange(*bytes, needed) < needed) {
        return static_cast<PDH_STATUS>(PDH_MORE_DATA);
    }
    auto* texts = reinterpret_cast<wchar_t*>(items + instances);
    names.copy(texts, names.size());
    for (*count = 0; *count < instances; ++*count) {
        items[*count] = {texts, {}};
        texts += std::wstring_view(texts).size() + 1;
    }
    return ERROR_SUCCESS;
}

extern "C" PDH_FUNCTION PdhCloseQuery(PDH_HQUERY query)
{
    return orbis::platform::g_Pdh.taken.erase(query) != 0 ? ERROR_SUCCESS : static_cast<PDH_STATUS>(PDH_INVALID_HANDLE);
}

namespace orbis::platform {
namespace {

TEST(WindowsPdhInstances, AreListedAgainAfterADiskWasInserted)
{
    const auto owned = MakeWindowsPdh();
    Pdh& pdh = *owned;
    g_Pdh.present = L"0 C:\0_Total\0\0"sv;
    std::uint32_t characters = 0;
    ASSERT_EQ(pdh.EnumInstances(u"PhysicalDisk", nullptr, &characters), pdh::kMoreData);
    std::u16string names(characters, u'?');
    ASSERT_EQ(pdh.EnumInstances(u"PhysicalDisk", names.data(), &characters), pdh::kOk);
    EXPECT_EQ(names, u"0 C:\0_Total\0\0"sv);

    g_Pdh.present = L"0 C:\0001 D:\0_Total\0\0"sv;
    characters = 0;
    ASSERT_EQ(pdh.EnumInstances(u"PhysicalDisk", nullptr, &characters), pdh::kMoreData);
    names.assign(characters, u'?');
    std::uint32_t tooFew = characters - 1;
    EXPECT_EQ(pdh.EnumInstances(u"PhysicalDisk", names.data(), &tooFew), pdh::kMoreData);
    EXPECT_EQ(tooFew, characters);
    ASSERT_EQ(pdh.EnumInstances(u"PhysicalDisk", names.data(), &characters), pdh::kOk);
    EXPECT_EQ(names, u"0 C:\0001 D:\0_Total\0\0"sv);

    EXPECT_EQ(pdh.EnumInstances(u"PhysicalDisk", nullptr, &characters), pdh::kInvalidArgument);
    EXPECT_EQ(pdh.EnumInstances(u"No Such Object", nullptr, &(characters = 0)), pdh::kNoObject);
}

// The system's machine with the counters of this program.
class WithThesePdh final : public ForwardingPlatform {
public:
    WithThesePdh() : ForwardingPlatform(Platform::System()) {}
    Pdh& PdhPort() noexcept override { return *m_Pdh; }

private:
    const std::unique_ptr<Pdh> m_Pdh = MakeWindowsPdh();
};

TEST(WindowsPdhInstances, AreListedWithoutEnumeratingTheObjectsOfTheMachine)
{
    using ::testing::ElementsAre;
    using Veyra::Orbis::Common::Utilities::PdhQuery;
    WithThesePdh machine;
    Platform::Replace(&machine);
    g_Pdh.refreshes = 0;
    g_Pdh.present = L"0 C:\0_Total\0\0"sv;
    auto query = PdhQuery::OpenQuery(std::nullopt, 0);
    EXPECT_THAT(query->GetInstanceNames("PhysicalDisk"), ElementsAre("0 C:", "_Total"));
    g_Pdh.present = L"0 C:\0001 D:\0_Total\0\0"sv;
    EXPECT_THAT(query->GetInstanceNames("PhysicalDisk"), ElementsAre("0 C:", "1 D:", "_Total"));
    EXPECT_EQ(g_Pdh.refreshes, 0);
    ASSERT_EQ(g_Pdh.taken.size(), 2U);
    EXPECT_EQ(g_Pdh.taken.begin()->second, 0) << "listing samples no counter of the query itself";

    // Where PDH refuses the counter, the objects are enumerated after all.
    g_Pdh.knowsEnglishNames = false;
    query = PdhQuery::OpenQuery(std::nullopt, 0);
    EXPECT_THAT(query->GetInstanceNames("PhysicalDisk"), ElementsAre("0 C:", "1 D:", "_Total"));
    EXPECT_GT(g_Pdh.refreshes, 0);
    EXPECT_EQ(g_Pdh.taken.size(), 1U);
    query.reset();
    EXPECT_TRUE(g_Pdh.taken.empty());
    Platform::Replace(nullptr);
}

}  // namespace
}  // namespace orbis::platform
