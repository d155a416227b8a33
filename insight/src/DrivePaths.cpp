#include "DrivePaths.h"

#include <cstring>

#include "platform/Requests.h"

namespace orbis::insight {

std::u16string LowerAscii(std::u16string_view text)
{
    std::u16string lower(text);
    for (char16_t& letter : lower) {
        letter = letter >= u'A' && letter <= u'Z' ? static_cast<char16_t>(letter - u'A' + u'a') : letter;
    }
    return lower;
}

std::u16string_view ClassOf(std::u16string_view query)
{
    constexpr std::u16string_view kFrom = u" FROM ";
    const std::size_t from = query.find(kFrom);
    return from == std::u16string_view::npos ? std::u16string_view() : query.substr(from + kFrom.size());
}

char DrivePaths::LetterOf(std::u16string_view path) noexcept
{
    if (path.size() != 6 || !path.starts_with(u"\\\\.\\") || path[5] != u':') {
        return 0;
    }
    const char16_t letter = path[4] >= u'a' && path[4] <= u'z' ? static_cast<char16_t>(path[4] - u'a' + u'A') : path[4];
    return letter >= u'A' && letter <= u'Z' ? static_cast<char>(letter) : '\0';
}

DrivePaths::DrivePaths(std::span<const Record> records)
{
    for (const Record& record : records) {
        const auto* control = record.As<call::Control>();
        if (control == nullptr || control->code != platform::kIoctlStorageGetDeviceNumber || !control->succeeded) {
            continue;
        }
        platform::StorageDeviceNumber answer;
        if (control->returned < sizeof answer || control->output.size() < sizeof answer) {
            continue;
        }
        std::memcpy(&answer, control->output.data(), sizeof answer);
        // An optical drive has a number of its own kind.
        if (answer.deviceType == platform::kFileDeviceDisk) {
            m_Numbers[LowerAscii(control->device->path)] = answer.deviceNumber;
        }
    }
}

std::optional<std::uint32_t> DrivePaths::NumberOf(std::u16string_view path) const
{
    constexpr std::u16string_view kDrive = u"\\\\.\\physicaldrive";
    constexpr std::size_t kMostDigits = 9;
    const std::u16string lower = LowerAscii(path);
    if (!lower.starts_with(kDrive) || lower.size() == kDrive.size() || lower.size() > kDrive.size() + kMostDigits) {
        const auto found = m_Numbers.find(lower);
        return found == m_Numbers.end() ? std::nullopt : std::optional(found->second);
    }
    std::uint32_t number = 0;
    for (const char16_t digit : std::u16string_view(lower).substr(kDrive.size())) {
        if (digit < u'0' || digit > u'9') {
            return std::nullopt;
        }
        number = number * 10 + static_cast<std::uint32_t>(digit - u'0');
    }
    return number;
}

}  // namespace orbis::insight
