#include "RecordedTape.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <utility>

#include <fmt/format.h>

#include "emulated/Wql.h"
#include "insight/Waits.h"
#include "platform/Requests.h"

namespace orbis::simulated {

using insight::RecordedAnswer;
using insight::RecordedCall;
using insight::RecordedExecution;

Tape::Tape(const insight::Recording& recording)
{
    for (const RecordedCall& call : recording.call()) {
        m_Calls.try_emplace(KeyOf(call), &call, Place{});
        m_Operations.insert(call.operation());
    }
    for (const insight::RecordedQuery& query : recording.query()) {
        std::string wmiNamespace = query.wmi_namespace();
        static_cast<void>(platform::emulated::ParseNamespacePath(query.wmi_namespace(), wmiNamespace));
        m_Queries.try_emplace({wmiNamespace, query.text()}, &query, Place{});
        for (const insight::RecordedExecution& execution : query.execution()) {
            for (const insight::RecordedRow& row : execution.row()) {
                for (const insight::RecordedProperty& property : row.property()) {
                    m_Properties.insert(property.name());
                }
            }
        }
    }
}

template <class Answers>
const auto* Tape::Step(const Answers& answers, Place& place)
{
    const auto& answer = answers.Get(place.index);
    if (++place.played >= std::max(answer.times(), 1U) && place.index + 1 < answers.size()) {
        place = {place.index + 1, 0};
    }
    return &answer;
}

const RecordedAnswer* Tape::PlayIfThere(const RecordedCall& request)
{
    const std::lock_guard lock(m_Mutex);
    const auto found = m_Calls.find(KeyOf(request));
    return found != m_Calls.end() && found->second.first->answer_size() > 0
               ? Step(found->second.first->answer(), found->second.second)
               : nullptr;
}

const RecordedAnswer* Tape::Play(const RecordedCall& request)
{
    const RecordedAnswer* answer = PlayIfThere(request);
    if (answer == nullptr) {
        const std::string& bytes = request.request();
        NoteMissing(fmt::format(
            "{} {}{}", request.operation(), request.subject(),
            request.code() != 0 ? ": " + insight::NameOfRequest(request.code(), bytes.data(), bytes.size()) : std::string()));
    }
    return answer;
}

const RecordedExecution* Tape::PlayQuery(const std::string& wmiNamespace, const std::string& text)
{
    {
        const std::lock_guard lock(m_Mutex);
        const auto found = m_Queries.find({wmiNamespace, text});
        if (found != m_Queries.end() && found->second.first->execution_size() > 0) {
            return Step(found->second.first->execution(), found->second.second);
        }
    }
    NoteMissing(fmt::format("Wmi::ExecQuery {}: {}", wmiNamespace, text));
    return nullptr;
}

void Tape::NoteMissing(std::string what)
{
    const std::lock_guard lock(m_Mutex);
    m_Missing.insert(std::move(what));
}

std::vector<std::string> Tape::Missing() const
{
    const std::lock_guard lock(m_Mutex);
    return {m_Missing.begin(), m_Missing.end()};
}

std::string KeyOf(const RecordedCall& call)
{
    // A request is the same with another time-out, which a host with a deadline shortens, and without the zeros at its end.
    constexpr std::array<std::pair<std::uint32_t, std::size_t>, 3> kTimeOuts{
        {{platform::kIoctlAtaPassThroughDirect, offsetof(platform::AtaPassThroughDirect, timeOutValue)},
         {platform::kIoctlScsiPassThroughDirect, offsetof(platform::ScsiPassThroughDirect, timeOutValue)},
         {platform::kIoctlStorageProtocolCommand, offsetof(platform::StorageProtocolCommandHead, timeOutValue)}}};
    std::string request = call.request();
    for (const auto& [code, at] : kTimeOuts) {
        if (call.code() == code && request.size() >= at + sizeof(std::uint32_t)) {
            request.replace(at, sizeof(std::uint32_t), sizeof(std::uint32_t), '\0');
        }
    }
    if (call.operation() == "DeviceIo::Control") {
        request.resize(request.find_last_not_of('\0') + 1);
    }
    return fmt::format("{}\n{:x} {:x} {:x} {}\n{}{}", call.operation(), call.access(), call.code(), call.room(),
                       call.subject().size(), call.subject(), request);
}

RecordedCall Asked(const char* operation, std::string subject, std::uint32_t access, std::uint32_t code, std::string request,
                   std::size_t room)
{
    RecordedCall call;
    call.set_operation(operation);
    call.set_subject(std::move(subject));
    call.set_access(access);
    call.set_code(code);
    call.set_request(std::move(request));
    call.set_room(static_cast<std::uint32_t>(room));
    return call;
}

std::string Utf16Bytes(std::u16string_view text)
{
    std::string bytes;
    for (const char16_t unit : text) {
        bytes += static_cast<char>(unit & 0xFFU);
        bytes += static_cast<char>(unit >> 8U);
    }
    return bytes;
}

std::u16string Utf16Text(std::string_view bytes)
{
    std::u16string text;
    for (std::size_t at = 0; at + 1 < bytes.size(); at += 2) {
        text += static_cast<char16_t>(static_cast<unsigned char>(bytes[at]) | static_cast<unsigned char>(bytes[at + 1]) << 8U);
    }
    return text;
}

void Fill(void* buffer, std::size_t size, std::string_view bytes)
{
    if (buffer != nullptr && size > 0) {
        const std::size_t count = std::min(size, bytes.size());
        std::memset(buffer, 0, size);
        std::memcpy(buffer, bytes.data(), count);
    }
}

}  // namespace orbis::simulated
