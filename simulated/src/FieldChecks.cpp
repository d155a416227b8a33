// Rules for single fields, as data.
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

constexpr std::uint64_t kByte = 0xFF;
constexpr std::uint64_t kWord = 0xFFFF;
constexpr std::uint64_t kLongestBytes = 16U << 20;
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

Verdict AtMost(const Subject& subject, std::uint64_t limit)
{
    return subject.Number() <= limit ? Verdict{}
                                     : fmt::format("{:#x} does not fit: the largest value is {:#x}", subject.Number(), limit);
}
Verdict AtMostBytes(const Subject& subject, std::uint64_t limit)
{
    return subject.Number() <= limit ? Verdict{} : fmt::format("{} bytes are more than {}", subject.Number(), limit);
}
Verdict Length(const Subject& subject, std::uint64_t limit)
{
    const std::size_t length = subject.Text().size();
    return length <= limit ? Verdict{} : fmt::format("{} bytes, of which only {} fit", length, limit);
}
Verdict Utf16Length(const Subject& subject, std::uint64_t limit)
{
    const std::size_t length = platform::Utf8ToUtf16(subject.Text()).size();
    return length <= limit ? Verdict{} : fmt::format("{} UTF-16 units, of which only {} fit", length, limit);
}
Verdict Position(const Subject& subject, std::uint64_t limit)
{
    return static_cast<std::uint64_t>(subject.index) < limit ? Verdict{} : fmt::format("only {} fit", limit);
}
Verdict InsidePage(const Subject& subject, std::uint64_t limit)
{
    ByteVector page;
    const auto& patch = dynamic_cast<const description::Patch&>(subject.Inner());
    if (patch.offset() <= kLongestBytes) {
        page.resize(patch.offset());
        page.resize(page.size() + ParseHex(patch.hex()).value_or(ByteVector{}).size() + patch.raw().size());
    }
    return page.size() <= limit ? Verdict{} : fmt::format("reaches to byte {} of a page of {}", page.size(), limit);
}
Verdict Filled(const Subject& subject, std::uint64_t) { return subject.Text().empty() ? "is empty" : Verdict{}; }
Verdict Hex(const Subject& subject, std::uint64_t)
{
    return ParseHex(subject.Text()) ? Verdict{} : "not pairs of hexadecimal digits";
}
Verdict Utf16(const Subject& subject, std::uint64_t)
{
    return ParseUtf16Hex(subject.Text()) ? Verdict{} : "not groups of four hexadecimal digits";
}
Verdict IsGuid(const Subject& subject, std::uint64_t)
{
    return ParseGuid(subject.Text()) ? Verdict{} : fmt::format("\"{}\" is no GUID", subject.Text());
}
Verdict Letter(const Subject& subject, std::uint64_t)
{
    const std::string text = ToUpper(subject.Text());
    return text.size() == 1 && text[0] >= 'A' && text[0] <= 'Z' ? Verdict{}
                                                                : fmt::format("\"{}\" is no drive letter", subject.Text());
}
Verdict FailingHresult(const Subject& subject, std::uint64_t)
{
    return (subject.Number() & kHresultFailure) != 0 ? Verdict{} : fmt::format("{:#x} is no failure", subject.Number());
}
Verdict CodePage(const Subject& subject, std::uint64_t)
{
    return IsKnownCodePage(static_cast<std::uint32_t>(subject.Number())) ? Verdict{}
                                                                         : fmt::format("unknown code page {}", subject.Number());
}
Verdict UtcTime(const Subject& subject, std::uint64_t) { return ParseUtcTime(subject.Text()) ? Verdict{} : "not a UTC time"; }
Verdict TypeOfPartition(const Subject& subject, std::uint64_t)
{
    return PartitionType(subject.Text()) ? Verdict{} : fmt::format("unknown partition type \"{}\"", subject.Text());
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
    return isVersion ? Verdict{} : fmt::format("\"{}\" is no version", text);
}
Verdict Signature(const Subject& subject, std::uint64_t)
{
    return subject.Text().size() == 4 ? Verdict{} : fmt::format("\"{}\" is no signature of four characters", subject.Text());
}
Verdict Seconds(const Subject& subject, std::uint64_t limit)
{
    const double seconds = subject.Reflection().GetDouble(subject.place.message, &subject.field);
    return seconds >= 0 && seconds <= static_cast<double>(limit) ? Verdict{} : fmt::format("{} is no delay in seconds", seconds);
}
// VT_BSTR, VT_DISPATCH, VT_UNKNOWN and everything by reference or in an array hold a pointer.
Verdict PointerlessType(const Subject& subject, std::uint64_t)
{
    const std::uint64_t type = subject.Number();
    const bool holdsPointer = type > 0x1FFF || type == 8 || type == 9 || type == 12 || type == 13 || type == 14;
    return holdsPointer ? fmt::format("variant type {:#x} holds a pointer or does not exist", type) : Verdict{};
}

constexpr auto kError = Finding::Severity::Error;
constexpr auto kWarning = Finding::Severity::Warning;

struct Rule {
    const char* message;
    const char* field;
    Finding::Severity severity;
    Verdict (*judge)(const Subject& subject, std::uint64_t limit);
    std::uint64_t limit;
    const char* hint;
};

constexpr const char* kFit = "write a value that fits the field of the device";
constexpr const char* kCut = "shorten it, or leave it so if it may be cut";
constexpr const char* kPage = "keep the patch inside the page, unless the answer is to be longer than the device's";
constexpr const char* kGuidForm = "write it as 12345678-1234-1234-1234-123456789abc";
constexpr std::uint64_t kLongestDelay = 86400;
constexpr const char* kDelay = "write the seconds that the answer takes, at most a day, or never: true";
constexpr const char* kHresultForm = "write a failing HRESULT such as 0x80041002";

const std::array kRules{
    Rule{"Machine", "code_page", kError, CodePage, 0, "use 65001, 1252, 437, 28591 or 20127"},
    Rule{"Machine", "start", kError, UtcTime, 0, "write it as 2024-05-17T08:30:00Z, in the years 1970 to 2199"},
    Rule{"Bytes", "hex", kError, Hex, 0, "write each byte as two digits, with blanks between bytes if you like"},
    Rule{"Bytes", "size", kError, AtMostBytes, kLongestBytes, "no request answers so much"},
    Rule{"Patch", "hex", kError, Hex, 0, "write each byte as two digits, with blanks between bytes if you like"},
    Rule{"Patch", "offset", kError, AtMostBytes, kLongestBytes, "no page is so long"},

    Rule{"Disk", "model", kWarning, Length, 40, kCut},
    Rule{"Disk", "serial", kWarning, Length, 20, kCut},
    Rule{"Disk", "firmware", kWarning, Length, 8, kCut},
    Rule{"Disk", "bus_type", kError, AtMost, kByte, kFit},
    Rule{"Disk", "media_type", kError, AtMost, kWord, kFit},
    Rule{"NvmeController", "vendor_id", kError, AtMost, kWord, kFit},
    Rule{"NvmeController", "subsystem_vendor_id", kError, AtMost, kWord, kFit},
    Rule{"NvmeController", "ieee_oui", kError, AtMost, 0xFFFFFF, kFit},
    Rule{"NvmeController", "controller_id", kError, AtMost, kWord, kFit},
    Rule{"NvmeController", "warning_temperature", kError, AtMost, kWord, kFit},
    Rule{"NvmeController", "critical_temperature", kError, AtMost, kWord, kFit},
    Rule{"NvmeController", "power_state", kWarning, Position, 32, "the page holds no more power states"},
    Rule{"NvmeController", "identify", kWarning, InsidePage, 4096, kPage},
    Rule{"NvmeController", "subsystem_nqn", kWarning, Length, 256, kCut},
    Rule{"NvmePowerState", "max_power", kError, AtMost, kWord, kFit},
    Rule{"NvmePowerState", "page", kWarning, InsidePage, 32, kPage},
    Rule{"NvmeHealth", "critical_warning", kError, AtMost, kByte, kFit},
    Rule{"NvmeHealth", "temperature", kError, AtMost, kWord, kFit},
    Rule{"NvmeHealth", "available_spare", kError, AtMost, kByte, kFit},
    Rule{"NvmeHealth", "available_spare_threshold", kError, AtMost, kByte, kFit},
    Rule{"NvmeHealth", "percentage_used", kError, AtMost, kByte, kFit},
    Rule{"NvmeHealth", "endurance_group_warning", kError, AtMost, kByte, kFit},
    Rule{"NvmeHealth", "temperature_sensor", kWarning, Position, 8, "the page holds no more sensors"},
    Rule{"NvmeHealth", "temperature_sensor", kError, AtMost, kWord, kFit},
    Rule{"NvmeHealth", "page", kWarning, InsidePage, 512, kPage},
    Rule{"MakerArea", "eppid", kWarning, Length, 32, kCut},
    Rule{"MakerArea", "component_id", kWarning, Length, 8, kCut},
    Rule{"MakerArea", "class_0", kError, AtMost, kWord, kFit},
    Rule{"MakerArea", "class_1", kError, AtMost, kWord, kFit},
    Rule{"MakerArea", "class_2", kError, AtMost, kWord, kFit},
    Rule{"MakerArea", "class_11", kError, AtMost, kWord, kFit},
    Rule{"MakerHealth", "wear_leveling_count", kError, AtMost, kByte, kFit},
    Rule{"MakerHealth", "used_reserved_blocks_worst", kError, AtMost, kByte, kFit},
    Rule{"MakerHealth", "used_reserved_blocks_total", kError, AtMost, kByte, kFit},
    Rule{"MakerHealth", "abnormal_voltage", kError, AtMost, kByte, kFit},
    Rule{"NvmeLogPage", "identifier", kError, AtMost, kByte, kFit},
    Rule{"NvmeLogPage", "device_status", kError, AtMost, 0x7FF, kFit},
    Rule{"AtaDevice", "rotation_rate", kError, AtMost, kWord, kFit},
    Rule{"AtaDevice", "identify", kWarning, InsidePage, 512, kPage},
    Rule{"AtaDevice", "attribute", kWarning, Position, 30, "the table holds no more attributes"},
    Rule{"AtaDevice", "smart_data", kWarning, InsidePage, 512, kPage},
    Rule{"AtaDevice", "smart_thresholds", kWarning, InsidePage, 512, kPage},
    Rule{"AtaDevice", "aborted_command", kError, AtMost, kByte, kFit},
    Rule{"AtaDevice", "wmi_smart_size", kError, AtMostBytes, kLongestBytes, "WMI gives 362 bytes, the device 512"},
    Rule{"SmartAttribute", "id", kError, AtMost, kByte, kFit},
    Rule{"SmartAttribute", "flags", kError, AtMost, kWord, kFit},
    Rule{"SmartAttribute", "value", kError, AtMost, kByte, kFit},
    Rule{"SmartAttribute", "worst", kError, AtMost, kByte, kFit},
    Rule{"SmartAttribute", "threshold", kError, AtMost, kByte, kFit},
    Rule{"SmartAttribute", "raw", kError, AtMost, 0xFFFFFFFFFFFF, kFit},
    Rule{"AtaLogPage", "address", kError, AtMost, kByte, kFit},
    Rule{"AtaLogPage", "text", kWarning, Length, 20, kCut},
    Rule{"AtaLogPage", "sector", kWarning, InsidePage, 512, kPage},
    Rule{"ScsiDevice", "inquiry", kWarning, InsidePage, 255, kPage},

    Rule{"GptTable", "disk_id", kError, IsGuid, 0, kGuidForm},
    Rule{"Partition", "id", kError, IsGuid, 0, kGuidForm},
    Rule{"Partition", "type", kError, TypeOfPartition, 0, "use efi, msr, basic, recovery, linux or a GUID"},
    Rule{"Partition", "name", kWarning, Utf16Length, 36, kCut},
    Rule{"Partition", "mbr_type", kError, AtMost, kByte, kFit},
    Rule{"Partition", "entry", kWarning, InsidePage, 144, kPage},
    Rule{"Volume", "letter", kError, Letter, 0, "write one letter from A to Z, without a colon"},
    Rule{"Volume", "guid", kError, IsGuid, 0, kGuidForm},
    Rule{"LooseVolume", "letter", kError, Letter, 0, "write one letter from A to Z, without a colon"},
    Rule{"Device", "path", kError, Filled, 0, R"(write the path as it is opened, such as \\\\.\\Scsi0:)"},

    Rule{"Exchange", "delay", kError, Seconds, kLongestDelay, kDelay},

    Rule{"Smbios", "version", kError, SmbiosVersion, 0, "write it as 3.4"},
    Rule{"OemStrings", "count", kError, AtMost, kByte, kFit},
    Rule{"SmbiosStructure", "type", kError, AtMost, kByte, kFit},
    Rule{"SmbiosStructure", "length", kError, AtMost, kByte, kFit},
    Rule{"FirmwareTable", "provider", kError, Signature, 0, "write RSMB, ACPI or FIRM"},

    Rule{"WmiClass", "name", kError, Filled, 0, "name the class, such as Win32_DiskDrive"},
    Rule{"WmiClass", "error", kError, FailingHresult, 0, kHresultForm},
    Rule{"WmiClass", "delay", kError, Seconds, kLongestDelay, kDelay},
    Rule{"WmiRow", "next_error", kError, FailingHresult, 0, kHresultForm},
    Rule{"WmiRowChange", "class_name", kError, Filled, 0, "name the class, such as Win32_DiskDrive"},
    Rule{"WmiRowChange", "next_error", kError, FailingHresult, 0, kHresultForm},
    Rule{"WmiProperty", "name", kError, Filled, 0, "name the property"},
    Rule{"WmiProperty", "utf16", kError, Utf16, 0, "write each unit as four digits, such as D800"},
    Rule{"WmiProperty", "get_error", kError, FailingHresult, 0, kHresultForm},
    Rule{"WmiByteArray", "bound_error", kError, FailingHresult, 0, kHresultForm},
    Rule{"WmiByteArray", "element_error", kError, FailingHresult, 0, kHresultForm},
    Rule{"WmiStringArray", "element_error", kError, FailingHresult, 0, kHresultForm},
    Rule{"WmiRawVariant", "type", kError, PointerlessType, 0, "use text, byte_array or string_array"},
    Rule{"Com", "locator_error", kError, FailingHresult, 0, kHresultForm},
    Rule{"CounterObject", "name", kError, Filled, 0, "name the object, such as PhysicalDisk"},
    Rule{"CounterObject", "delay", kError, Seconds, kLongestDelay, kDelay},
};

// Fields that must be there even when they are empty.
bool IsDemanded(const Rule& rule) { return rule.judge == Filled; }

}  // namespace

void CheckFields(const Place& place, Findings& findings)
{
    const auto& reflection = *place.message.GetReflection();
    for (const Rule& rule : kRules) {
        if (place.message.GetDescriptor()->name() != rule.message) {
            continue;
        }
        const FieldDescriptor& field = place.Field(rule.field);
        const bool isSet = !field.is_repeated() && reflection.HasField(place.message, &field);
        const int count = field.is_repeated() ? reflection.FieldSize(place.message, &field) : isSet || IsDemanded(rule) ? 1 : 0;
        for (int i = 0; i < count; ++i) {
            Verdict verdict = rule.judge({place, field, i}, rule.limit);
            if (verdict.empty()) {
                continue;
            }
            if (rule.severity == kError) {
                findings.Error(place, field, i, std::move(verdict), rule.hint);
            } else {
                findings.Warning(place, field, i, std::move(verdict), rule.hint);
            }
        }
    }
}

}  // namespace orbis::simulated
