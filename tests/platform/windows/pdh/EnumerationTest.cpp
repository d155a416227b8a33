// The enumeration of counter instances over a PDH that keeps its lists as Windows' does; Wine's enumerates nothing. The functions
// of the system's library that are defined here take its place in this program.
#include <windows.h>

#include <pdh.h>
#include <pdhmsg.h>

#include <string>
#include <string_view>
#include <utility>

#include <gmock/gmock.h>

#include "WindowsPdh.h"

namespace orbis::platform {
namespace {

using namespace std::string_view_literals;

struct {
    std::wstring present;  // the instances that the machine has
    std::wstring listed;   // those that PDH knows of, until it is told to look again
    bool isListed = false;
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
    }
    *characters = 100;
    return static_cast<PDH_STATUS>(PDH_MORE_DATA);
}

namespace orbis::platform {
namespace {

TEST(WindowsPdhInstances, AreAskedForTwiceAndSeeADiskThatWasInsertedSince)
{
    WindowsPdh pdh;
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

    EXPECT_EQ(pdh.EnumInstances(u"No Such Object", nullptr, &characters), pdh::kNoObject);
}

}  // namespace
}  // namespace orbis::platform
