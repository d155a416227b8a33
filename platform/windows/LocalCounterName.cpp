#include "LocalCounterName.h"

#include "WindowsHeaders.h"
// After windows.h, which it needs.
#include <pdh.h>

#include <algorithm>
#include <array>
#include <limits>

namespace orbis::platform {
namespace {

constexpr const wchar_t* kEnglishNames = L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\Perflib\\009";

// The first text of `list`, which is cut off `list` with its terminator.
std::wstring_view TakeText(std::wstring_view& list)
{
    const std::size_t end = std::min(list.find(L'\0'), list.size());
    const std::wstring_view text = list.substr(0, end);
    list.remove_prefix(std::min(end + 1, list.size()));
    return text;
}

std::optional<std::uint32_t> ParseIndex(std::wstring_view text)
{
    std::uint64_t value = 0;
    for (const wchar_t digit : text) {
        if (digit < L'0' || digit > L'9') {
            return std::nullopt;
        }
        value = value * 10 + static_cast<std::uint64_t>(digit - L'0');
        if (value > std::numeric_limits<std::uint32_t>::max()) {
            return std::nullopt;
        }
    }
    return text.empty() ? std::nullopt : std::optional(static_cast<std::uint32_t>(value));
}

std::wstring EnglishList()
{
    // The list can grow between the two calls; a list that did is asked for again.
    std::wstring list;
    for (DWORD bytes = 0;;) {
        const LSTATUS status = ::RegGetValueW(HKEY_LOCAL_MACHINE, kEnglishNames, L"Counter", RRF_RT_REG_MULTI_SZ, nullptr,
                                              list.empty() ? nullptr : list.data(), &bytes);
        if (status == ERROR_SUCCESS && !list.empty()) {
            list.resize(bytes / sizeof(wchar_t));
            return list;
        }
        if ((status != ERROR_SUCCESS && status != ERROR_MORE_DATA) || bytes < sizeof(wchar_t)) {
            return {};
        }
        list.resize(bytes / sizeof(wchar_t));
    }
}

}  // namespace

std::optional<std::uint32_t> FindCounterIndex(std::wstring_view list, std::wstring_view english)
{
    while (!list.empty()) {
        const std::wstring_view index = TakeText(list);
        if (TakeText(list) == english) {
            return ParseIndex(index);
        }
    }
    return std::nullopt;
}

std::wstring LocalCounterName(std::wstring_view english)
{
    if (const auto index = FindCounterIndex(EnglishList(), english)) {
        std::array<wchar_t, PDH_MAX_COUNTER_NAME> name{};
        DWORD characters = PDH_MAX_COUNTER_NAME;
        if (::PdhLookupPerfNameByIndexW(nullptr, *index, name.data(), &characters) == ERROR_SUCCESS && name[0] != L'\0') {
            return name.data();
        }
    }
    return std::wstring(english);
}

}  // namespace orbis::platform
