#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>

namespace orbis::host {

// Exit statuses of every command. When several apply, the first of kExitStatuses counts.
inline constexpr int kExitOk = 0;
inline constexpr int kExitCollectionFailed = 1;
inline constexpr int kExitUsage = 2;
inline constexpr int kExitNoPlugin = 3;
inline constexpr int kExitIncomplete = 4;
inline constexpr int kExitOutputLost = 5;
inline constexpr int kExitDiskWarns = 6;
inline constexpr int kExitDiskFails = 7;

struct ExitStatusText {
    int status;
    const char* text;
};
inline constexpr std::array<ExitStatusText, 8> kExitStatuses{{
    {kExitUsage, "wrong usage, an unknown disk, or a wrong machine file"},
    {kExitNoPlugin, "the plug-in could not be loaded"},
    {kExitOutputLost, "output could not be written"},
    {kExitCollectionFailed, "a collection failed; the others are still printed"},
    {kExitDiskFails, "health: a disk fails"},
    {kExitDiskWarns, "health: a disk warns"},
    {kExitIncomplete, "something was left out, or the health of a disk is unknown; the output says what"},
    {kExitOk, "all collected"},
}};

// Returns the status of the two that the program ends with.
[[nodiscard]] constexpr int Graver(int one, int other) noexcept
{
    const auto place = [](int status) {
        return std::find_if(kExitStatuses.begin(), kExitStatuses.end(), [&](const auto& entry) { return entry.status == status; });
    };
    return place(other) < place(one) ? other : one;
}

}  // namespace orbis::host
