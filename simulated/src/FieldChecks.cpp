// Rules for single fields, which the schema gives as options of each field.
#include <fmt/format.h>

#include <array>
#include <string_view>

#include "Bytes.h"
#include "Checker.h"
#include "DiskModel.h"
#include "MachineState.h"
#include "platform/Text.h"

namespace orbis::simulated {
namespace {

using google::protobuf::FieldDescriptor;
using google::protobuf::Reflection;

constexpr std::uint64_t kLongestBytes = 16U << 20;
constexpr std::size_t kPartitionName = 36;
constexpr double kLongestDelay = 86400;
constexpr std::uint32_t kHresultFailure = 0x80000000;

// What is said about one field. The rule judges one value of it (`index` of a repeated field) and returns what is wrong, or
// nothing.
struct Subject {
    const Place& place;
    const FieldDescriptor& field;
    int index;

    // The value, by the one or the other getter of a message's reflection.
    template <auto Single, auto Repeated>
    [[nodiscard]] decltype(auto) Value() const
    {
        const auto& reflection = *place.message.GetReflection();
        return field.is_repeated() ? (reflection.*Repeated)(place.message, &field, index)
                                   : (reflection.*Single)(place.message, &field);
    }
    [[nodiscard]] std::string Text() const { return Value<&Reflection::GetString, &Reflection::GetRepeatedString>(); }
    [[nodiscard]] std::uint64_t Number() const
    {
        return field.cpp_type() == FieldDescriptor::CPPTYPE_UINT64
                   ? Value<&Reflection::GetUInt64, &Reflection::GetRepeatedUInt64>()
                   : Value<&Reflection::GetUInt32, &Reflection::GetRepeatedUInt32>();
    }
};

using Verdict = std::string;  // empty: nothing wrong
using Limit = std::uint64_t;

template <typename... Arguments>
Verdict Unless(bool isRight, fmt::format_string<Arguments...> format, Arguments&&... arguments)
{
    return isRight ? Verdict{} : fmt::format(format, std::forward<Arguments>(arguments)...);
}

Verdict AtMost(const Subject& value, Limit limit)
{
    return Unless(value.Number() <= limit, "{:#x} does not fit: the largest value is {:#x}", value.Number(), limit);
}
Verdict Length(const Subject& value, Limit limit)
{
    const std::size_t length = value.Text().size();
    return Unless(length <= limit, "{} bytes, of which only {} fit", length, limit);
}
Verdict Position(const Subject& value, Limit limit)
{
    return Unless(static_cast<Limit>(value.index) < limit, "only {} fit", limit);
}
Verdict InsidePage(const Subject& value, Limit limit)
{
    const Place inner = value.place.Inner(value.field, value.index);
    const auto& patch = dynamic_cast<const description::Patch&>(inner.message);
    const std::size_t length = ParseHex(patch.hex()).value_or(ByteVector{}).size() + patch.raw().size();
    const std::size_t end = patch.offset() <= kLongestBytes ? patch.offset() + length : 0;
    return Unless(end <= limit, "reaches to byte {} of a page of {}", end, limit);
}
Verdict Size(const Subject& value, Limit)
{
    return Unless(value.Number() <= kLongestBytes, "{} bytes are more than {}", value.Number(), kLongestBytes);
}
Verdict Filled(const Subject& value, Limit) { return Unless(!value.Text().empty(), "is empty"); }
Verdict Hex(const Subject& value, Limit) { return Unless(ParseHex(value.Text()).has_value(), "not pairs of hexadecimal digits"); }
Verdict Utf16(const Subject& value, Limit)
{
    return Unless(ParseUtf16Hex(value.Text()).has_value(), "not groups of four hexadecimal digits");
}
Verdict IsGuid(const Subject& value, Limit)
{
    return Unless(ParseGuid(value.Text()).has_value(), "\"{}\" is no GUID", value.Text());
}
Verdict Letter(const Subject& value, Limit)
{
    const std::string text = ToUpper(value.Text());
    return Unless(text.size() == 1 && text[0] >= 'A' && text[0] <= 'Z', "\"{}\" is no drive letter", value.Text());
}
Verdict FailingHresult(const Subject& value, Limit)
{
    return Unless((value.Number() & kHresultFailure) != 0, "{:#x} is no failure", value.Number());
}
Verdict CodePage(const Subject& value, Limit)
{
    return Unless(IsKnownCodePage(static_cast<std::uint32_t>(value.Number())), "unknown code page {}", value.Number());
}
Verdict UtcTime(const Subject& value, Limit) { return Unless(ParseUtcTime(value.Text()).has_value(), "not a UTC time"); }
Verdict TypeOfPartition(const Subject& value, Limit)
{
    return Unless(PartitionType(value.Text()).has_value(), "unknown partition type \"{}\"", value.Text());
}
Verdict NameOfPartition(const Subject& value, Limit)
{
    const std::size_t length = platform::Utf8ToUtf16(value.Text()).size();
    return Unless(length <= kPartitionName, "{} UTF-16 units, of which only {} fit", length, kPartitionName);
}
Verdict SmbiosVersion(const Subject& value, Limit)
{
    const std::string text = value.Text();
    const std::size_t dot = text.find('.');
    const auto isNumber = [](std::string_view part) {
        return !part.empty() && part.size() <= 2 && part.find_first_not_of("0123456789") == std::string_view::npos;
    };
    const bool isVersion = dot != std::string::npos && isNumber(std::string_view(text).substr(0, dot)) &&
                           isNumber(std::string_view(text).substr(dot + 1));
    return Unless(isVersion, "\"{}\" is no version", text);
}
Verdict Signature(const Subject& value, Limit)
{
    return Unless(value.Text().size() == 4, "\"{}\" is no signature of four characters", value.Text());
}
Verdict Delay(const Subject& value, Limit)
{
    const double seconds = value.Value<&Reflection::GetDouble, &Reflection::GetRepeatedDouble>();
    return Unless(seconds >= 0 && seconds <= kLongestDelay, "{} is no delay in seconds", seconds);
}
// VT_BSTR, VT_DISPATCH, VT_UNKNOWN and everything by reference or in an array hold a pointer.
Verdict PointerlessType(const Subject& value, Limit)
{
    const std::uint64_t type = value.Number();
    const bool holdsPointer = type > 0x1FFF || type == 8 || type == 9 || type == 12 || type == 13 || type == 14;
    return Unless(!holdsPointer, "variant type {:#x} holds a pointer or does not exist", type);
}

constexpr auto kError = Finding::Severity::Error;
constexpr auto kWarning = Finding::Severity::Warning;

struct Rule {
    Finding::Severity severity;
    Verdict (*judge)(const Subject& value, Limit limit);
    const char* hint;  // null: the field has its own
};

constexpr const char* kCut = "shorten it, or leave it so if it may be cut";
constexpr Rule kAtMost{kError, AtMost, "write a value that fits the field of the device"};
constexpr Rule kLength{kWarning, Length, kCut};
constexpr Rule kPage{kWarning, InsidePage, "keep the patch inside the page, unless the answer is to be longer than the device's"};
constexpr Rule kEntries{kWarning, Position, nullptr};

// By description::Form.
constexpr std::array<Rule, description::Form_ARRAYSIZE> kForms{{
    {},
    {kError, Filled, nullptr},
    {kError, Hex, "write each byte as two digits, with blanks between bytes if you like"},
    {kError, Utf16, "write each unit as four digits, such as D800"},
    {kError, Size, nullptr},
    {kError, CodePage, "use 65001, 1252, 437, 28591 or 20127"},
    {kError, UtcTime, "write it as 2024-05-17T08:30:00Z, in the years 1970 to 2199"},
    {kError, Delay, "write the seconds that the answer takes, at most a day, or never: true"},
    {kError, IsGuid, "write it as 12345678-1234-1234-1234-123456789abc"},
    {kError, Letter, "write one letter from A to Z, without a colon"},
    {kError, TypeOfPartition, "use efi, msr, basic, recovery, linux or a GUID"},
    {kWarning, NameOfPartition, kCut},
    {kError, SmbiosVersion, "write it as 3.4"},
    {kError, Signature, "write RSMB, ACPI or FIRM"},
    {kError, FailingHresult, "write a failing HRESULT such as 0x80041002"},
    {kError, PointerlessType, "use text, byte_array or string_array"},
}};

// A limit of 0 is none.
void CheckField(const Place& place, const FieldDescriptor& field, const Rule& rule, std::uint64_t limit, Findings& findings)
{
    const auto& reflection = *place.message.GetReflection();
    // A field that must be filled is judged even when it is not there.
    const bool isJudged = rule.judge == Filled || (!field.is_repeated() && reflection.HasField(place.message, &field));
    const int count = field.is_repeated() ? reflection.FieldSize(place.message, &field) : isJudged ? 1 : 0;
    for (int i = 0; limit != 0 && i < count; ++i) {
        if (Verdict verdict = rule.judge({place, field, i}, limit); !verdict.empty()) {
            findings.Add(rule.severity, place, field, i, std::move(verdict),
                         rule.hint != nullptr ? rule.hint : field.options().GetExtension(description::advice));
        }
    }
}

}  // namespace

void CheckFields(const Place& place, Findings& findings)
{
    const google::protobuf::Descriptor& message = *place.message.GetDescriptor();
    for (int i = 0; i < message.field_count(); ++i) {
        const FieldDescriptor& field = *message.field(i);
        const google::protobuf::FieldOptions& options = field.options();
        const description::Form form = options.GetExtension(description::form);
        CheckField(place, field, kForms[static_cast<std::size_t>(form)], static_cast<std::uint64_t>(form), findings);
        CheckField(place, field, kLength, options.GetExtension(description::most_bytes), findings);
        CheckField(place, field, kPage, options.GetExtension(description::page_bytes), findings);
        CheckField(place, field, kEntries, options.GetExtension(description::most_entries), findings);
        CheckField(place, field, kAtMost, options.GetExtension(description::at_most), findings);
    }
}

}  // namespace orbis::simulated
