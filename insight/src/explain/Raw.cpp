#include "explain/Raw.h"

#include <fmt/format.h>
#include <algorithm>
#include <array>
#include <iterator>

#include "health/Unsigned128.h"
#include "insight/ErrorText.h"
#include "platform/Text.h"

namespace orbis::insight {
namespace {

using Observations = Explainer::Observations;
using platform::VariantType;

constexpr std::size_t kShownBytes = 16;

RawContent Missing(std::string reason) { return {false, {}, std::move(reason)}; }

// The number in the bytes; empty when they are not a number.
std::string NumberText(std::span<const std::uint8_t> bytes, const Place& place)
{
    // A number has 1, 2, 4, 6, 8 or 16 bytes; other lengths are texts or several numbers.
    constexpr std::array<std::size_t, 6> kNumbers{1, 2, 4, 6, 8, 16};
    if (std::find(kNumbers.begin(), kNumbers.end(), bytes.size()) == kNumbers.end()) {
        return {};
    }
    std::array<std::uint8_t, 16> wide{};
    std::copy(bytes.begin(), bytes.end(), wide.begin());
    if (!place.has_high()) {
        return " = " + Unsigned128::FromLittleEndian(wide).ToDecimal();
    }
    std::uint64_t value = 0;
    for (std::size_t at = 8; at-- > 0;) {
        value = value << 8U | wide[at];
    }
    const std::uint32_t width = place.high() - place.low() + 1;
    const std::uint64_t mask = width >= 64 ? ~std::uint64_t{0} : (std::uint64_t{1} << width) - 1;
    return fmt::format(", {} {}", place.high() == place.low() ? "the bit is" : "the bits are", (value >> place.low()) & mask);
}

RawContent FromPage(const Observations& observations, const Place& place, const Scope& scope)
{
    if (!scope.disk) {
        return Missing("the inventory has no record of this disk");
    }
    const bool isVolume = place.request() == DISK_PERFORMANCE || place.request() == PARTITION_INFO;
    const Observations::Page* page = nullptr;
    if (isVolume) {
        // The datatype has the values of the last volume on a disk.
        for (const char letter : observations.Letters(*scope.disk)) {
            if (const auto* one = observations.FindPage(*scope.disk, letter, place.request())) {
                page = one;
            }
        }
    } else {
        page = observations.FindPage(*scope.disk, 0, place.request());
    }
    const std::string name = PageName(place.request());
    if (page == nullptr) {
        if (place.request() == MAKER_HEALTH_LOG && observations.FindPage(*scope.disk, 0, NVME_IDENTIFY) != nullptr) {
            return Missing("Identify bytes 3072-4095 are not in the maker's layout: the log is not asked for");
        }
        return Missing(isVolume ? "the disk has no drive letter to ask by" : fmt::format("{} was not asked for", name));
    }
    switch (page->answer.state) {
        case PageAnswer::State::Refused:
            return Missing(fmt::format("{} was refused: {}", name, ErrorText(page->answer.error)));
        case PageAnswer::State::Unsupported:
            return Missing(fmt::format("the disk has no {}", name));
        case PageAnswer::State::NotAsked:
            return Missing(fmt::format("{} was not asked for", name));
        case PageAnswer::State::Answered:
            break;
    }
    const auto bytes = page->answer.Bytes();
    std::uint32_t base = scope.base;
    const auto attribute = place.has_attribute() ? std::optional(place.attribute()) : scope.attribute;
    if (attribute && (place.request() == SMART_DATA || place.request() == SMART_THRESHOLDS)) {
        const auto entry = SmartEntry(bytes, *attribute);
        if (!entry) {
            return Missing(fmt::format("the disk's {} has no attribute {}", name, *attribute));
        }
        base = *entry;
    }
    std::uint64_t first = base;
    std::uint64_t last = attribute && !place.has_first() ? base + 11 : bytes.size() - 1;
    if (place.has_first()) {
        first = std::uint64_t{base} + place.first();
        last = std::uint64_t{base} + place.last();
    }
    if (last >= bytes.size()) {
        return Missing(fmt::format("{} ends at byte {}", name, bytes.size()));
    }
    const auto slice = bytes.subspan(static_cast<std::size_t>(first), static_cast<std::size_t>(last - first + 1));
    return {true, HexText(slice), {}, NumberText(slice, place), {slice.begin(), slice.end()}};
}

std::string ValueText(const Value& value)
{
    switch (value.type) {
        case VariantType::String:
            return value.isNullPointer ? "null text" : fmt::format("\"{}\"", platform::Utf16ToUtf8(value.text));
        case VariantType::Bool:
            return (value.payload & 0xFFFFU) != 0 ? "true" : "false";
        case VariantType::Int32:
            return std::to_string(static_cast<std::int32_t>(value.payload));
        case VariantType::Null:
            return "null";
        case VariantType::Empty:
            return "empty";
        default:
            return std::to_string(value.payload);
    }
}

RawContent FromWmi(const Observations& observations, const Place& place, const Scope& scope)
{
    const std::string& kind = place.wmi_class();
    const auto number = [](const Observations::Row& row, const char* property) -> std::string {
        const auto found = row.values.find(property);
        if (found == row.values.end()) {
            return {};
        }
        return found->second.type == VariantType::String ? platform::Utf16ToUtf8(found->second.text)
                                                         : std::to_string(static_cast<std::uint32_t>(found->second.payload));
    };
    const Observations::Row* row = observations.FindRow(kind, [&](const Observations::Row& one) {
        if (kind == "Win32_DiskDrive") {
            return scope.disk && number(one, "Index") == std::to_string(*scope.disk);
        }
        if (kind == "MSFT_PhysicalDisk") {
            return scope.disk && number(one, "DeviceId") == std::to_string(*scope.disk);
        }
        if (kind == "Win32_LogicalDisk" || kind == "Win32_Volume") {
            const std::string letter = number(one, kind == "Win32_Volume" ? "DriveLetter" : "Caption");
            return scope.letter != 0 && letter.size() >= 2 && letter[0] == scope.letter && letter[1] == ':';
        }
        return true;
    });
    if (row == nullptr) {
        if (const auto failure = observations.QueryFailure(kind)) {
            return Missing(fmt::format("the query of {} failed (0x{:08X})", kind, static_cast<std::uint32_t>(*failure)));
        }
        if (!observations.WasQueried(kind)) {
            return Missing(fmt::format("{} was not asked for", kind));
        }
        return Missing(scope.letter == 0 && (kind == "Win32_LogicalDisk" || kind == "Win32_Volume")
                           ? "the partition has no drive letter"
                           : fmt::format("{} has no row for this disk", kind));
    }
    const auto value = row->values.find(place.property());
    if (value != row->values.end()) {
        return {true, ValueText(value->second), {}};
    }
    const auto failure = row->failures.find(place.property());
    return Missing(failure == row->failures.end() ? fmt::format("{} was not read", place.property())
                                                  : fmt::format("the row has no {} (0x{:08X})", place.property(),
                                                                static_cast<std::uint32_t>(failure->second)));
}

RawContent FromCounter(const Observations& observations, const Place& place, const Scope& scope)
{
    const Observations::Sample* sample = scope.disk ? observations.FindSample(*scope.disk, place.counter()) : nullptr;
    if (sample == nullptr) {
        return Missing("the disk has no such counter");
    }
    const bool isValid = sample->status == platform::pdh::kOk &&
                         (sample->value.status == platform::pdh::kValidData || sample->value.status == platform::pdh::kNewData);
    return isValid ? RawContent{true, fmt::format("{}", sample->value.value), {}, {}, {}, sample->value.value}
                   : Missing(fmt::format("the counter has no value (0x{:08X})",
                                         sample->status != platform::pdh::kOk ? sample->status : sample->value.status));
}

// A string of the first structure of a type in the answer of GetSystemFirmwareTable: a header of 8 bytes, then the structures, each
// with its length in byte 1 and followed by its strings.
std::optional<std::string> FirmwareString(std::span<const std::uint8_t> table, std::uint32_t type, std::uint32_t number)
{
    for (std::size_t at = 8; at + 4 <= table.size();) {
        const bool isType = table[at] == type;
        at += table[at + 1];
        std::uint32_t count = 0;
        while (at < table.size() && table[at] != 0) {
            const auto first = table.begin() + static_cast<std::ptrdiff_t>(at);
            const auto end = std::find(first, table.end(), std::uint8_t{0});
            if (++count == number && isType) {
                return std::string(first, end);
            }
            at = static_cast<std::size_t>(end - table.begin()) + 1;
        }
        if (isType) {
            return std::nullopt;
        }
        at += count == 0 ? 2 : 1;
    }
    return std::nullopt;
}

RawContent FromFirmware(const Observations& observations, const Place& place)
{
    if (observations.FirmwareTable().empty()) {
        return Missing(observations.FirmwareError() == 0
                           ? "the firmware's table was not asked for"
                           : "the firmware's table was refused: " + ErrorText(observations.FirmwareError()));
    }
    const auto text = FirmwareString(observations.FirmwareTable(), place.structure(), place.string());
    return text ? RawContent{true, fmt::format("\"{}\"", *text), {}} : Missing("the firmware's table has no such string");
}

}  // namespace

std::string HexText(std::span<const std::uint8_t> bytes)
{
    std::string text;
    const bool isLong = bytes.size() > kShownBytes;
    const std::size_t head = isLong ? kShownBytes / 2 : bytes.size();
    for (std::size_t at = 0; at < head; ++at) {
        fmt::format_to(std::back_inserter(text), "{}{:02X}", at == 0 ? "" : " ", bytes[at]);
    }
    if (isLong) {
        text += fmt::format(" \u2026 ({} bytes)", bytes.size());
    }
    return text;
}

std::optional<std::uint32_t> SmartEntry(std::span<const std::uint8_t> page, std::uint32_t attribute)
{
    constexpr std::uint32_t kFirst = 2;
    constexpr std::uint32_t kSize = 12;
    for (std::uint32_t at = kFirst; at + kSize <= std::min<std::size_t>(page.size(), kFirst + 30 * kSize); at += kSize) {
        if (page[at] == attribute) {
            return at;
        }
    }
    return std::nullopt;
}

RawContent RawOf(const Observations& observations, const Place& place, const Scope& scope)
{
    switch (place.request()) {
        case WMI:
            return FromWmi(observations, place, scope);
        case COUNTER:
            return FromCounter(observations, place, scope);
        case SMBIOS:
            return FromFirmware(observations, place);
        case CONSTANT:
        case OTHER_FIELD:
            return {true, {}, {}};
        default:
            return FromPage(observations, place, scope);
    }
}

}  // namespace orbis::insight
