#include "insight/Recording.h"

#include <google/protobuf/util/message_differencer.h>

#include <algorithm>
#include <map>
#include <stdexcept>
#include <utility>

#include "platform/Text.h"
#include "record/Utf16.h"

namespace orbis::insight {
namespace {

std::string ToString(const Bytes& bytes) { return {bytes.begin(), bytes.end()}; }

// Without trailing zeros; replay fills the buffer with them.
std::string Trimmed(std::string bytes)
{
    bytes.resize(bytes.find_last_not_of('\0') + 1);
    return bytes;
}

std::string TrimmedText(std::u16string_view text) { return Utf16Bytes(text.substr(0, text.find_last_not_of(u'\0') + 1)); }

std::uint32_t Bits(platform::Hresult result) { return static_cast<std::uint32_t>(result); }

// Adds to a list of answers; a repeated answer is counted.
template <class Answers, class Answer>
void Append(Answers& answers, Answer answer)
{
    if (!answers.empty()) {
        auto& last = *answers.rbegin();
        const std::uint32_t times = std::max(last.times(), 1U);
        answer.set_times(last.times());
        if (google::protobuf::util::MessageDifferencer::Equals(last, answer)) {
            last.set_times(times + 1);
            return;
        }
        answer.set_times(0);
    }
    *answers.Add() = std::move(answer);
}

class Recorder {
public:
    explicit Recorder(Recording& recording) : m_Recording(recording) {}

    void Read(const Record& record)
    {
        std::visit([this](const auto& call) { On(call); }, record.call);
    }

    // Executions are complete only when everything was read.
    void Finish()
    {
        for (Execution& execution : m_Executions) {
            RecordedQuery*& query = m_Queries[execution.query];
            if (query == nullptr) {
                query = m_Recording.add_query();
                query->set_wmi_namespace(execution.query.first);
                query->set_text(execution.query.second);
            }
            Append(*query->mutable_execution(), std::move(execution.content));
        }
        auto& calls = *m_Recording.mutable_call();
        calls.erase(std::remove_if(calls.begin(), calls.end(), IsPortable), calls.end());
    }

private:
    // ---- calls ----
    struct Key {
        const char* operation;
        std::string subject{};
        std::uint32_t access = 0;
        std::uint32_t code = 0;
        std::string request{};
        std::size_t room = 0;
    };
    void Keep(const Key& key, RecordedAnswer answer)
    {
        RecordedCall call;
        call.set_operation(key.operation);
        call.set_subject(key.subject);
        call.set_access(key.access);
        call.set_code(key.code);
        call.set_request(key.request);
        call.set_room(static_cast<std::uint32_t>(key.room));
        RecordedCall*& kept = m_Calls[call.SerializeAsString()];
        if (kept == nullptr) {
            kept = m_Recording.add_call();
            *kept = std::move(call);
        }
        Append(*kept->mutable_answer(), std::move(answer));
    }
    static RecordedAnswer Outcome(bool succeeded, std::uint32_t error)
    {
        RecordedAnswer answer;
        answer.set_failed(!succeeded);
        answer.set_error(error);
        return answer;
    }
    static RecordedAnswer Result(std::uint32_t error, bool isNull = false)
    {
        RecordedAnswer answer;
        answer.set_error(error);
        answer.set_is_null(isNull);
        return answer;
    }

    // ---- DeviceIo, Setup, Firmware ----
    void On(const call::Open& open)
    {
        RecordedAnswer answer = Outcome(open.handle != 0, open.error);
        answer.set_is_null(open.handle == 0 && open.result == 0);
        Keep({"DeviceIo::Open", platform::Utf16ToUtf8(open.device->path), open.device->access}, std::move(answer));
    }
    void On(const call::Control& control)
    {
        RecordedAnswer answer = Outcome(control.succeeded, control.error);
        answer.set_output(Trimmed(ToString(control.output)));
        answer.set_data(Trimmed(ToString(control.dataAfter)));
        answer.set_returned(control.returned);
        Keep({"DeviceIo::Control", platform::Utf16ToUtf8(control.device->path), control.device->access, control.code,
              Trimmed(ToString(control.request)), control.output.size()},
             std::move(answer));
    }
    void On(const call::LogicalDriveStrings& drives)
    {
        RecordedAnswer answer = Outcome(drives.result != 0, drives.error);
        answer.set_output(TrimmedText(drives.text));
        answer.set_returned(drives.result);
        Keep({"DeviceIo::LogicalDriveStrings", {}, 0, 0, {}, drives.text.size()}, std::move(answer));
    }
    void On(const call::ClassDevices& set)
    {
        RecordedAnswer answer = Outcome(set.set != 0, set.error);
        answer.set_is_null(set.set == 0 && set.result == 0);
        Keep({"Setup::ClassDevices", {}, set.flags}, std::move(answer));
    }
    void On(const call::EnumDeviceInterfaces& entry)
    {
        Keep({"Setup::EnumDeviceInterfaces", {}, 0, entry.index}, Outcome(entry.succeeded, entry.error));
    }
    void On(const call::EnumDeviceInfo& entry)
    {
        Keep({"Setup::EnumDeviceInfo", {}, 0, entry.index}, Outcome(entry.succeeded, entry.error));
    }
    void On(const call::DeviceInterfaceDetail& detail)
    {
        RecordedAnswer answer = Outcome(detail.succeeded, detail.error);
        answer.set_output(Trimmed(ToString(detail.detail)));
        answer.set_returned(detail.required);
        Keep({"Setup::DeviceInterfaceDetail", {}, 0, detail.index, {}, detail.detail.size()}, std::move(answer));
    }
    void On(const call::DeviceProperty& property)
    {
        RecordedAnswer answer = Outcome(property.succeeded, property.error);
        answer.set_output(Trimmed(ToString(property.value)));
        answer.set_returned(property.required);
        answer.set_type(property.type);
        Keep({"Setup::DeviceProperty", {}, property.key.id, property.index, {}, property.value.size()}, std::move(answer));
    }
    void On(const call::SystemFirmwareTable& table)
    {
        RecordedAnswer answer = Outcome(table.result != 0, table.error);
        answer.set_output(Trimmed(ToString(table.content)));
        answer.set_returned(table.result);
        Keep({"Firmware::SystemFirmwareTable", {}, table.table, table.provider, {}, table.content.size()}, std::move(answer));
    }

    // ---- Wmi ----
    struct Execution {
        std::pair<std::string, std::string> query;  // namespace and text
        RecordedExecution content;
    };
    struct RowPlace {
        std::size_t execution;
        int row;
    };
    struct ArrayPlace {
        RowPlace row;
        int property;
    };

    void On(const call::InitializeCom& com) { Keep({"Wmi::InitializeCom", {}, com.flags}, Result(Bits(com.result))); }
    void On(const call::InitializeSecurity& com) { Keep({"Wmi::InitializeSecurity"}, Result(Bits(com.result))); }
    void On(const call::CreateLocator& com)
    {
        Keep({"Wmi::CreateLocator"}, Result(Bits(com.result), !platform::Failed(com.result) && com.locator == 0));
    }
    void On(const call::ConnectServer& connect)
    {
        Keep({"Wmi::ConnectServer", platform::Utf16ToUtf8(connect.path)},
             Result(Bits(connect.result), !platform::Failed(connect.result) && connect.services == 0));
    }
    void On(const call::SetProxyBlanket& blanket) { Keep({"Wmi::SetProxyBlanket"}, Result(Bits(blanket.result))); }
    void On(const call::ExecQuery& query)
    {
        Execution execution{{platform::Utf16ToUtf8(query.query->space), platform::Utf16ToUtf8(query.query->text)}, {}};
        execution.content.set_result(Bits(query.result));
        execution.content.set_is_null(!platform::Failed(query.result) && query.enumerator == 0);
        execution.content.set_end(Bits(platform::hresult::kWbemSFalse));
        if (query.enumerator != 0) {
            m_Enumerators[query.enumerator] = m_Executions.size();
        }
        m_Executions.push_back(std::move(execution));
    }
    void On(const call::Next& next)
    {
        const auto found = m_Enumerators.find(next.enumerator);
        if (found == m_Enumerators.end()) {
            return;
        }
        RecordedExecution& execution = m_Executions[found->second].content;
        if (next.row != 0) {
            m_Rows[next.row] = {found->second, execution.row_size()};
            execution.add_row();
        } else {
            execution.set_end(Bits(next.result));
        }
    }
    void On(const call::Get& get)
    {
        const auto found = m_Rows.find(get.row);
        if (found == m_Rows.end()) {
            return;
        }
        RecordedRow& row = RowAt(found->second);
        RecordedProperty& property = *row.add_property();
        property.set_name(platform::Utf16ToUtf8(get.name));
        if (platform::Failed(get.result)) {
            property.set_error(Bits(get.result));
            return;
        }
        property.set_type(static_cast<std::uint32_t>(get.value.type));
        property.set_payload(HasPlainPayload(get.value.type) ? get.value.payload : 0);
        property.set_is_null_pointer(get.value.isNullPointer);
        property.set_utf16(Utf16Bytes(get.value.text));
        if (get.value.array != 0) {
            property.mutable_array();
            m_Arrays[get.value.array] = {found->second, row.property_size() - 1};
        }
    }
    void On(const call::ArrayUpperBound& bound)
    {
        if (RecordedArray* array = ArrayOf(bound.array)) {
            if (platform::Failed(bound.result)) {
                array->set_bound_error(Bits(bound.result));
            } else {
                array->set_upper_bound(bound.bound);
            }
        }
    }
    void On(const call::ArrayBounds& bounds)
    {
        if (RecordedArray* array = ArrayOf(bounds.array)) {
            array->set_lower_bound(bounds.result.lower);
            array->set_upper_bound(static_cast<std::int32_t>(std::int64_t{bounds.result.lower} + bounds.result.count - 1));
        }
    }
    void On(const call::ArrayElements& elements)
    {
        if (RecordedArray* array = ArrayOf(elements.array)) {
            array->mutable_content()->append(elements.bytes.begin(), elements.bytes.end());
            for (const std::u16string& text : elements.texts) {
                array->add_element(Utf16Bytes(text));
            }
            if (platform::Failed(elements.result)) {
                array->set_element_error(Bits(elements.result));
                array->set_failing_index(elements.first + static_cast<std::int32_t>(elements.count) - 1);
            }
        }
    }
    RecordedRow& RowAt(const RowPlace& place) { return *m_Executions[place.execution].content.mutable_row(place.row); }
    RecordedArray* ArrayOf(Serial array)
    {
        const auto found = m_Arrays.find(array);
        return found == m_Arrays.end() ? nullptr
                                       : RowAt(found->second.row).mutable_property(found->second.property)->mutable_array();
    }

    // ---- Pdh ----
    void On(const call::OpenQuery& query) { Keep({"Pdh::OpenQuery"}, Result(query.status)); }
    void On(const call::EnumInstances& instances)
    {
        RecordedAnswer answer = Result(instances.status);
        answer.set_output(TrimmedText(instances.names));
        answer.set_returned(instances.charactersAfter);
        Keep({"Pdh::EnumInstances", platform::Utf16ToUtf8(instances.object), 0, 0, {}, instances.names.size()}, std::move(answer));
    }
    void On(const call::AddEnglishCounter& counter)
    {
        const std::string path = platform::Utf16ToUtf8(*counter.path);
        Keep({"Pdh::AddEnglishCounter", path}, Result(counter.status));
        if (counter.counter != 0) {
            // Counters with the same path have separate values, because a refresh creates new ones.
            m_Counters[counter.counter] = m_Created[path]++;
        }
    }
    void On(const call::CounterInstances& instances)
    {
        if (instances.path != nullptr) {
            RecordedAnswer answer = Result(instances.status);
            answer.set_output(TrimmedText(instances.names));
            answer.set_returned(instances.charactersAfter);
            Keep({"Pdh::CounterInstances",
                  platform::Utf16ToUtf8(*instances.path),
                  0,
                  m_Counters[instances.counter],
                  {},
                  instances.names.size()},
                 std::move(answer));
        }
    }
    void On(const call::CollectQueryData& collect) { Keep({"Pdh::CollectQueryData"}, Result(collect.status)); }
    void On(const call::FormattedValue& value)
    {
        RecordedAnswer answer = Result(value.status);
        answer.set_value(value.value.value);
        answer.set_status(value.value.status);
        if (value.path != nullptr) {
            Keep({"Pdh::FormattedValue", platform::Utf16ToUtf8(*value.path), value.format, m_Counters[value.counter]},
                 std::move(answer));
        }
    }

    // ---- Time, Text ----
    void On(const call::UtcNow& now)
    {
        RecordedAnswer answer;
        answer.set_time(std::chrono::duration_cast<std::chrono::nanoseconds>(now.result.time_since_epoch()).count());
        Keep({"Time::UtcNow"}, std::move(answer));
    }
    void On(const call::WideToUtf8& text)
    {
        KeepText("Text::WideToUtf8", Utf16Bytes(text.text), text.outBytes, text.out, text.result);
    }
    void On(const call::DefaultToWide& text)
    {
        KeepText("Text::DefaultToWide", text.text, text.outCharacters, Utf16Bytes(text.out), text.result);
    }
    void KeepText(const char* operation, std::string text, std::int32_t room, std::string out, std::int32_t result)
    {
        RecordedAnswer answer;
        answer.set_output(std::move(out));
        answer.set_returned(static_cast<std::uint32_t>(result));
        Keep({operation, {}, 0, 0, std::move(text), static_cast<std::size_t>(room)}, std::move(answer));
    }

    // Whether a text conversion always gave the result of the portable one; such a conversion need not be in the file.
    static bool IsPortable(const RecordedCall& call)
    {
        const bool isNarrow = call.operation() == "Text::WideToUtf8";
        if ((!isNarrow && call.operation() != "Text::DefaultToWide") || call.answer_size() != 1) {
            return false;
        }
        const std::string expected =
            isNarrow ? platform::Utf16ToUtf8(Utf16Text(call.request())) : Utf16Bytes(platform::Utf8ToUtf16(call.request()));
        return call.answer(0).returned() == expected.size() / (isNarrow ? 1 : 2) &&
               (call.room() == 0 || call.answer(0).output() == expected);
    }

    // Not recorded, because the replay answers them itself: closing, releasing, strings, sleep, power states.
    template <class Other>
    void On(const Other& /*call*/)
    {}

    Recording& m_Recording;
    std::map<std::string, RecordedCall*> m_Calls;  // by the call without its answers
    std::map<std::pair<std::string, std::string>, RecordedQuery*> m_Queries;
    std::vector<Execution> m_Executions;
    std::map<Serial, std::size_t> m_Enumerators;
    std::map<Serial, RowPlace> m_Rows;
    std::map<Serial, ArrayPlace> m_Arrays;
    std::map<Serial, std::uint32_t> m_Counters;      // index of a counter among those with its path
    std::map<std::string, std::uint32_t> m_Created;  // counters of a path
};

}  // namespace

Recording MakeRecording(const Extract& extract)
{
    if (extract.lost > 0) {
        throw std::runtime_error("the journal was full: " + std::to_string(extract.lost) + " calls are missing from the recording");
    }
    Recording recording;
    recording.set_format_version(kRecordingFormatVersion);
    Recorder recorder(recording);
    for (const Record& record : extract.records) {
        recorder.Read(record);
    }
    recorder.Finish();
    return recording;
}

}  // namespace orbis::insight
