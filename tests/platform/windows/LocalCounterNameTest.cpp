// The way from an English counter name to the system's own.
#include <string>

#include <gmock/gmock.h>

#include "LocalCounterName.h"

namespace orbis::platform {
namespace {

using namespace std::string_view_literals;

TEST(WindowsCounterNames, AreFoundByTheirEnglishName)
{
    constexpr auto kList = L"1\0001847\0002\0System\000234\0PhysicalDisk\0004294967295\0Last\0\0"sv;
    EXPECT_EQ(FindCounterIndex(kList, L"System"), 2U);
    EXPECT_EQ(FindCounterIndex(kList, L"PhysicalDisk"), 234U);
    EXPECT_EQ(FindCounterIndex(kList, L"Last"), 4294967295U);
    EXPECT_EQ(FindCounterIndex(kList, L"Absent"), std::nullopt);
    EXPECT_EQ(FindCounterIndex(kList, L"234"), std::nullopt) << "an index is no name";
}

// The list comes from the registry, where anything may stand.
TEST(WindowsCounterNames, AListThatIsCutOrWrongNamesNothing)
{
    EXPECT_EQ(FindCounterIndex(L""sv, L"System"), std::nullopt);
    EXPECT_EQ(FindCounterIndex(L"2"sv, L"System"), std::nullopt);
    EXPECT_EQ(FindCounterIndex(L"2\0Syst"sv, L"System"), std::nullopt);
    EXPECT_EQ(FindCounterIndex(L"2\0System"sv, L"System"), 2U) << "the last terminator may be missing";
    EXPECT_EQ(FindCounterIndex(L"x\0System\0"sv, L"System"), std::nullopt);
    EXPECT_EQ(FindCounterIndex(L"\0System\0"sv, L"System"), std::nullopt);
    EXPECT_EQ(FindCounterIndex(L"4294967296\0System\0"sv, L"System"), std::nullopt);
}

TEST(WindowsCounterNames, UnknownNameIsUnchanged) { EXPECT_EQ(LocalCounterName(L"No Such Object"), L"No Such Object"); }

}  // namespace
}  // namespace orbis::platform
