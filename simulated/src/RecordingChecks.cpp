// Rules for a recording: it is a file from somebody else, and its numbers become sizes.
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <limits>
#include <set>

#include "Checker.h"
#include "RecordedTape.h"
#include "insight/Recording.h"

namespace orbis::simulated {
namespace {

using platform::VariantType;

// The unit of an answer's numbers: bytes, characters, or none.
struct Operation {
    std::string_view name;
    std::uint32_t unit = 1;  // bytes of one of `room` and `returned`
    std::uint32_t most = 0;  // that `returned` may be: callers make room for so much
};
constexpr std::uint32_t kAny = std::numeric_limits<std::uint32_t>::max();
constexpr std::uint32_t kMost = 1U << 24;
constexpr std::array<Operation, 23> kOperations{{{"DeviceIo::Open"},
                                                 {"DeviceIo::Control", 1, kAny},
                                                 {"DeviceIo::LogicalDriveStrings", 2, kMost},
                                                 {"Setup::ClassDevices"},
                                                 {"Setup::EnumDeviceInterfaces"},
                                                 {"Setup::EnumDeviceInfo"},
                                                 {"Setup::DeviceInterfaceDetail", 1, kMost},
                                                 {"Setup::DeviceProperty", 1, kMost},
                                                 {"Firmware::SystemFirmwareTable", 1, kMost},
                                                 {"Wmi::InitializeCom"},
                                                 {"Wmi::InitializeSecurity"},
                                                 {"Wmi::CreateLocator"},
                                                 {"Wmi::ConnectServer"},
                                                 {"Wmi::SetProxyBlanket"},
                                                 {"Pdh::OpenQuery"},
                                                 {"Pdh::EnumInstances", 2, kMost},
                                                 {"Pdh::AddEnglishCounter"},
                                                 {"Pdh::CounterInstances", 2, kMost},
                                                 {"Pdh::CollectQueryData"},
                                                 {"Pdh::FormattedValue"},
                                                 {"Time::UtcNow"},
                                                 {"Text::WideToUtf8", 1, kMost},
                                                 {"Text::DefaultToWide", 2, kMost}}};

constexpr const char* kRecordAgain = "record the machine again";

void CheckAnswer(const Place& place, const insight::RecordedCall& call, const Operation& operation, Findings& findings)
{
    const auto& answer = dynamic_cast<const insight::RecordedAnswer&>(place.message);
    const std::uint64_t roomBytes = std::uint64_t{call.room()} * operation.unit;
    if (answer.output().size() > roomBytes) {
        findings.Error(place, "output", fmt::format("{} bytes, of which only {} fit", answer.output().size(), roomBytes),
                       kRecordAgain);
    }
    if (answer.output().size() % operation.unit != 0) {
        findings.Error(place, "output", "is no UTF-16", kRecordAgain);
    }
    // A conversion's result is a length that its caller takes for granted.
    const bool isConversion = operation.name.starts_with("Text::");
    const std::uint64_t most = isConversion && call.room() != 0 ? answer.output().size() / operation.unit : operation.most;
    if (answer.returned() > most) {
        findings.Error(place, "returned", fmt::format("{} is more than {}", answer.returned(), most), kRecordAgain);
    }
}

void CheckCall(const Place& place, std::set<std::string>& seen, Findings& findings)
{
    const auto& call = dynamic_cast<const insight::RecordedCall&>(place.message);
    const auto operation = std::ranges::find(kOperations, call.operation(), &Operation::name);
    if (operation == kOperations.end()) {
        findings.Error(place, "operation", fmt::format("\"{}\" is no operation that is recorded", call.operation()), kRecordAgain);
        return;
    }
    if (call.room() > kMost) {
        findings.Error(place, "room", fmt::format("{} is more than {}", call.room(), kMost), kRecordAgain);
    }
    if (call.answer_size() == 0) {
        findings.Error(place, "answer", "there is none", "give the answer, or remove the call");
    }
    if (!seen.insert(KeyOf(call)).second) {
        findings.Error(place, "operation", "the same request was recorded already", "put all answers into one call");
    }
    for (const Place& answer : place.Each("answer")) {
        CheckAnswer(answer, call, *operation, findings);
    }
}

void CheckProperty(const Place& place, Findings& findings)
{
    const auto& property = dynamic_cast<const insight::RecordedProperty&>(place.message);
    const auto type = static_cast<VariantType>(property.type());
    if (property.type() > std::numeric_limits<std::uint16_t>::max()) {
        findings.Error(place, "type", fmt::format("{} is no VARTYPE", property.type()), kRecordAgain);
    }
    if (property.payload() != 0 && !insight::HasPlainPayload(type)) {
        findings.Error(place, "payload", fmt::format("type {} holds a pointer, which cannot be recorded", property.type()),
                       "remove the payload");
    }
    if (property.utf16().size() % 2 != 0) {
        findings.Error(place, "utf16", "is no UTF-16", kRecordAgain);
    }
    if (!property.has_array()) {
        return;
    }
    const insight::RecordedArray& array = property.array();
    if (type != VariantType::UInt8Array && type != VariantType::StringArray) {
        findings.Error(place, "array", fmt::format("type {} is no array of bytes or texts", property.type()), kRecordAgain);
    }
    if (std::ranges::any_of(array.element(), [](const std::string& text) { return text.size() % 2 != 0; })) {
        findings.Error(place, "array", "an element is no UTF-16", kRecordAgain);
    }
    // Callers read to the upper bound, which may be wrong but not endless.
    const std::int64_t count = std::int64_t{array.upper_bound()} - array.lower_bound();
    if (array.has_upper_bound() && (count < -1 || count > kMost)) {
        findings.Error(place, "array", fmt::format("the bounds are {} and {}", array.lower_bound(), array.upper_bound()),
                       kRecordAgain);
    }
}

}  // namespace

void CheckRecording(const Place& place, Findings& findings)
{
    const auto& recording = dynamic_cast<const insight::Recording&>(place.message);
    if (recording.format_version() != insight::kRecordingFormatVersion) {
        findings.Error(
            place, "format_version",
            fmt::format("{} is not {}, which this program reads", recording.format_version(), insight::kRecordingFormatVersion),
            "use the version of the program that made the recording");
        return;
    }
    std::set<std::string> seen;
    for (const Place& call : place.Each("call")) {
        CheckCall(call, seen, findings);
    }
    for (const Place& query : place.Each("query")) {
        const auto& asked = dynamic_cast<const insight::RecordedQuery&>(query.message);
        if (!seen.insert(asked.wmi_namespace() + '\n' + asked.text()).second) {
            findings.Error(query, "text", "the same query was recorded already", "put all executions into one query");
        }
        for (const Place& execution : query.Each("execution")) {
            for (const Place& row : execution.Each("row")) {
                for (const Place& property : row.Each("property")) {
                    CheckProperty(property, findings);
                }
            }
        }
    }
}

}  // namespace orbis::simulated
