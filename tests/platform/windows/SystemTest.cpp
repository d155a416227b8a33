// Firmware tables, text and time of this Windows.
#include <windows.h>

#include <chrono>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "platform/Firmware.h"
#include "platform/Text.h"
#include "platform/Time.h"

namespace orbis::platform {
namespace {

TEST(WindowsFirmware, GivesTheSmbiosTable)
{
    Firmware& firmware = Firmware::Current();
    const std::uint32_t needed = firmware.SystemFirmwareTable(kFirmwareProviderSmbios, 0, nullptr, 0);
    constexpr std::uint32_t kHeader = 8;
    ASSERT_GT(needed, kHeader) << "error " << firmware.LastError();

    std::vector<std::uint8_t> table(needed);
    ASSERT_EQ(firmware.SystemFirmwareTable(kFirmwareProviderSmbios, 0, table.data(), needed), needed);
    std::uint32_t length = 0;
    std::memcpy(&length, table.data() + 4, sizeof(length));
    EXPECT_EQ(length + kHeader, needed);
}

// 0x80 is the euro sign in Windows-1252, a lead byte or nothing elsewhere; the code page decides, never UTF-8 by itself.
TEST(WindowsText, ReadsTheActiveCodePage)
{
    EXPECT_EQ(DefaultToUtf8("plain"), "plain");
    EXPECT_EQ(DefaultToUtf8(std::string_view("a\0b", 3)), std::string("a\0b", 3));
    if (::GetACP() == 1252) {
        EXPECT_EQ(DefaultToUtf8("\x80\xE9"), "\xE2\x82\xAC\xC3\xA9");
    } else {
        EXPECT_EQ(ValidUtf8(DefaultToUtf8("\x80\xE9")), DefaultToUtf8("\x80\xE9"));
    }
}

TEST(WindowsTime, ReturnsUtcAndSleeps)
{
    using namespace std::chrono;
    const auto before = Time::Current().UtcNow();
    SYSTEMTIME now{};
    ::GetSystemTime(&now);
    const sys_days today = year{now.wYear} / month{now.wMonth} / day{now.wDay};
    const auto system = today + hours{now.wHour} + minutes{now.wMinute} + seconds{now.wSecond};
    EXPECT_LT(abs(before - system), 2s);

    Time::Current().Sleep(1);
    EXPECT_GT(Time::Current().UtcNow(), before);
}

}  // namespace
}  // namespace orbis::platform
