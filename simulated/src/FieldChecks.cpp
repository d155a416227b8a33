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
using google::protobuf::Message;

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

    [[nodiscard]] const google::protobuf::Reflection& Reflection() const { return *place.message.GetReflection(); }
    [[nodiscard]] std::uint64_t Number() const;
    [[nodiscard]] std::string Text() const;
    [[nodiscard]] const Message& Inner() const;
};

std::uint64_t Subject::Number() const
{
    const Message& message = place.message;
    const bool repeated = field.is_repeated();
    if (field.cpp_type() == FieldDescriptor::CPPTYPE_UINT64) {
        return repeated ? Reflection().GetRepeatedUInt64(message, &field, index) : Reflection().GetUInt64(message, &field);
    }
    return repeated ? Reflection().GetRepeatedUInt32(message, &field, index) : Reflection().GetUInt32(message, &field);
}

std::string Subject::Text() const
{
    return field.is_repeated() ? Reflection().GetRepeatedString(place.message, &field, index)
                               : Reflection().GetString(place.message, &field);
}

const Message& Subject::Inner() const
{
    return field.is_repeated() ? Reflection().GetRepeatedMessage(place.message, &field, index)
                               : Reflection().GetMessage(place.message, &field);
}

using Verdict = std::string;  // empty: nothing wrong

template <typename... Arguments>
Verdict Unless(bool isRight, fmt::format_string<Arguments...> format, Arguments&&... arguments)
{
    return isRight ? Verdict{} : fmt::format(format, std::forward<Arguments>(arguments)...);
}

Verdict AtMost(const Subject& subject, std::uint64_t limit)
{
    return Unless(subject.Number() <= limit, "{:#x} does not fit: the largest value is {:#x}", subject.Number(), limit);
}
Verdict Length(const Subject& subject, std::uint64_t limit)
{
    const std::size_t length = subject.Text().size();
    return Unless(length <= limit, "{} bytes, of which only {} fit", length, limit);
}
Verdict Position(const Subject& subject, std::uint64_t limit)
{
    return Unless(static_cast<std::uint64_t>(subject.index) < limit, "only {} fit", limit);
}
Verdict InsidePage(const Subject& subject, std::uint64_t limit)
{
    const auto& patch = dynamic_cast<const description::Patch&>(subject.Inner());
    const std::size_t length = ParseHex(patch.hex()).value_or(ByteVector{}).size() + patch.raw().size();
    const std::size_t end = patch.offset() <= kLongestBytes ? patch.offset() + length : 0;
    return Unless(end <= limit, "reaches to byte {} of a page of {}", end, limit);
}
Verdict Size(const Subject& subject, std::uint64_t)
{
    return Unless(subject.Number() <= kLongestBytes, "{} bytes are more than {}", subject.Number(), kLongestBytes);
}
Verdict Filled(const Subject& subject, std::uint64_t) { return Unless(!subject.Text().empty(), "is empty"); }
Verdict Hex(const Subject& subject, std::uint64_t)
{
    return Unless(ParseHex(subject.Text()).has_value(), "not pairs of hexadecimal digits");
}
Verdict Utf16(const Subject& subject, std::uint64_t)
{
    return Unless(ParseUtf16Hex(subject.Text()).has_value(), "not groups of four hexadecimal digits");
}
Verdict IsGuid(const Subject& subject, std::uint64_t)
{
    return Unless(ParseGuid(subject.Text()).has_value(), "\"{}\" is no GUID", subject.Text());
}
Verdict Letter(const Subject& subject, std::uint64_t)
{
    const std::string text = ToUpper(subject.Text());
    return Unless(text.size() == 1 && text[0] >= 'A' && text[0] <= 'Z', "\"{}\" is no drive letter", subject.Text());
}
Verdict FailingHresult(const Subject& subject, std::uint64_t)
{
    return Unless((subject.Number() & kHresultFailure) != 0, "{:#x} is no failure", subject.Number());
}
Verdict CodePage(const Subject& subject, std::uint64_t)
{
    return Unless(IsKnownCodePage(static_cast<std::uint32_t>(subject.Number())), "unknown code page {}", subject.Number());
}
Verdict UtcTime(const Subject& subject, std::uint64_t)
{
    return Unless(ParseUtcTime(subject.Text()).has_value(), "not a UTC time");
}
Verdict TypeOfPartition(const Subject& subject, std::uint64_t)
{
    return Unless(PartitionType(subject.Text()).has_value(), "unknown partition type \"{}\"", subject.Text());
}
Verdict NameOfPartition(const Subject& subject, std::uint64_t)
{
    const std::size_t length = platform::Utf8ToUtf16(subject.Text()).size();
    return Unless(length <= kPartitionName, "{} UTF-16 units, of which only {} fit", length, kPartitionName);
}
Verdict SmbiosVersion(const Subject& subject, std::uint64_t)
{
    const std::string text = subject.Text();
    const std::size_t dot = text.find('.');
    const auto isNumber = [](std::string_view part) {
        return !part.empty() && part.size() <= 2 && part.find_first_not_of("0123456789") == std::string_view::npos;
    };
    const bool isVersion = dot != std::string::npos && isNumber(std::string_view(text).substr(0, dot)) &&
                           isNumber(std::string_view(text).substr(dot + 1));
    return Unless(isVersion, "\"{}\" is no version", text);
}
Verdict Signature(const Subject& subject, std::uint64_t)
{
    return Unless(subject.Text().size() == 4, "\"{}\" is no signature of four characters", subject.Text());
}
Verdict Delay(const Subject& subject, std::uint64_t)
{
    const double seconds = subject.Reflection().GetDouble(subject.place.message, &subject.field);
    return Unless(seconds >= 0 && seconds <= kLongestDelay, "{} is no delay in seconds", seconds);
}
// VT_BSTR, VT_DISPATCH, VT_UNKNOWN and everything by reference or in an array hold a pointer.
Verdict PointerlessType(const Subject& subject, std::uint64_t)
{
    const std::uint64_t type = subject.Number();
    const bool holdsPointer = type > 0x1FFF || type == 8 || type == 9 || type == 12 || type == 13 || type == 14;
    return Unless(!holdsPointer, "variant type {:#x} holds a pointer or does not exist", type);
}

constexpr auto kError = Finding::Severity::Error;
constexpr auto kWarning = Finding::Severity::Warning;

struct Rule {
    Finding::Severity severity;
    Verdict (*judge)(const Subject& subject, std::uint64_t limit);
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
