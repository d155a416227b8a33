// Counters and text conversions of a recording.
#include <algorithm>
#include <map>
#include <mutex>

#include "MachineState.h"
#include "emulated/Handles.h"
#include "emulated/Text.h"
#include "platform/Text.h"

namespace orbis::simulated {
namespace {

using insight::RecordedAnswer;
using platform::PdhCounterObject;
using platform::PdhQueryObject;
using platform::PdhStatus;
using platform::emulated::HandleTable;

constexpr PdhStatus kPdhNotRecorded = 0xC0000000U | kNotRecorded;  // no status of PDH

PdhStatus StatusOf(const RecordedAnswer* answer) { return answer != nullptr ? answer->error() : kPdhNotRecorded; }

class RecordedPdh final : public platform::Pdh {
public:
    explicit RecordedPdh(Tape& tape) : m_Tape(tape) {}

    PdhStatus OpenQuery(const char16_t*, std::uintptr_t, PdhQueryObject** query) override
    {
        const PdhStatus status = StatusOf(m_Tape.Play(Asked("Pdh::OpenQuery")));
        if (status == platform::pdh::kOk) {
            *query = reinterpret_cast<PdhQueryObject*>(m_Queries.Add(std::make_shared<int>()));
        }
        return status;
    }
    PdhStatus EnumInstances(const char16_t* object, char16_t* buffer, std::uint32_t* characters) override
    {
        return StatusOf(
            m_Tape.PlayInto(Asked("Pdh::EnumInstances", platform::Utf16ToUtf8(object)), buffer, *characters, characters));
    }
    PdhStatus AddEnglishCounter(PdhQueryObject* query, const char16_t* path, std::uintptr_t, PdhCounterObject** counter) override
    {
        const std::string name = platform::Utf16ToUtf8(path);
        const PdhStatus status = StatusOf(m_Tape.Play(Asked("Pdh::AddEnglishCounter", name)));
        if (status == platform::pdh::kOk) {
            const std::lock_guard lock(m_Mutex);
            *counter = reinterpret_cast<PdhCounterObject*>(
                m_Counters.Add(std::make_shared<Counter>(Counter{query, name, m_Created[name]++})));
        }
        return status;
    }
    PdhStatus CounterInstances(PdhCounterObject* counter, char16_t* buffer, std::uint32_t* characters) override
    {
        const auto known = m_Counters.Find(reinterpret_cast<std::intptr_t>(counter));
        if (known == nullptr) {
            return platform::pdh::kInvalidHandle;
        }
        return StatusOf(
            m_Tape.PlayInto(Asked("Pdh::CounterInstances", known->path, 0, known->number), buffer, *characters, characters));
    }
    PdhStatus CollectQueryData(PdhQueryObject*) override { return StatusOf(m_Tape.Play(Asked("Pdh::CollectQueryData"))); }
    PdhStatus FormattedValue(PdhCounterObject* counter, std::uint32_t format, platform::PdhCounterValue* value) override
    {
        const auto known = m_Counters.Find(reinterpret_cast<std::intptr_t>(counter));
        if (known == nullptr) {
            return platform::pdh::kInvalidHandle;
        }
        const RecordedAnswer* answer = m_Tape.Play(Asked("Pdh::FormattedValue", known->path, format, known->number));
        if (answer != nullptr) {
            value->status = answer->status();
            value->value = answer->value();
        }
        return StatusOf(answer);
    }
    PdhStatus CloseQuery(PdhQueryObject* query) noexcept override
    {
        if (m_Queries.Remove(reinterpret_cast<std::intptr_t>(query)) == nullptr) {
            return platform::pdh::kInvalidHandle;
        }
        m_Counters.RemoveIf([query](const Counter& counter) { return counter.query == query; });
        return platform::pdh::kOk;
    }

private:
    struct Counter {
        PdhQueryObject* query;
        std::string path;
        std::uint32_t number;  // of those with this path
    };

    Tape& m_Tape;
    HandleTable<int> m_Queries;
    HandleTable<Counter> m_Counters;
    std::mutex m_Mutex;
    std::map<std::string, std::uint32_t> m_Created;
};

// A recorded conversion in place of the portable one, where they differ.
class RecordedText final : public platform::Text {
public:
    explicit RecordedText(Tape& tape) : m_Tape(tape) {}

    std::int32_t WideToUtf8(const char16_t* text, std::int32_t characters, char* out, std::int32_t outBytes) override
    {
        const RecordedAnswer* answer = Find(
            "Text::WideToUtf8", [&] { return Utf16Bytes(Counted(text, characters)); }, outBytes);
        return answer != nullptr ? Give(*answer, std::string_view(answer->output()), out, outBytes)
                                 : m_Portable.WideToUtf8(text, characters, out, outBytes);
    }
    std::int32_t DefaultToWide(const char* text, std::int32_t bytes, char16_t* out, std::int32_t outCharacters) override
    {
        const RecordedAnswer* answer = Find(
            "Text::DefaultToWide", [&] { return std::string(Counted(text, bytes)); }, outCharacters);
        return answer != nullptr ? Give(*answer, std::u16string_view(Utf16Text(answer->output())), out, outCharacters)
                                 : m_Portable.DefaultToWide(text, bytes, out, outCharacters);
    }

private:
    // As the journal keeps it: a zero-terminated text without its end.
    template <class Unit>
    static std::basic_string_view<Unit> Counted(const Unit* text, std::int32_t length)
    {
        if (text == nullptr || length < -1) {
            return {};
        }
        return length == -1 ? std::basic_string_view<Unit>(text)
                            : std::basic_string_view<Unit>(text, static_cast<std::size_t>(length));
    }
    template <class Request>
    const RecordedAnswer* Find(const char* operation, const Request& request, std::int32_t room)
    {
        return m_Tape.Has(operation) ? m_Tape.PlayIfThere(Asked(operation, {}, 0, 0, request(), static_cast<std::size_t>(room)))
                                     : nullptr;
    }
    template <class Unit>
    static std::int32_t Give(const RecordedAnswer& answer, std::basic_string_view<Unit> text, Unit* out, std::int32_t room)
    {
        if (out != nullptr && room > 0) {
            std::copy_n(text.begin(), std::min(text.size(), static_cast<std::size_t>(room)), out);
        }
        return static_cast<std::int32_t>(answer.returned());
    }

    Tape& m_Tape;
    platform::emulated::Text m_Portable{platform::Utf8ToUtf16};
};

}  // namespace

std::unique_ptr<platform::Pdh> MakeRecordedPdh(Tape& tape) { return std::make_unique<RecordedPdh>(tape); }
std::unique_ptr<platform::Text> MakeRecordedText(Tape& tape) { return std::make_unique<RecordedText>(tape); }

}  // namespace orbis::simulated
