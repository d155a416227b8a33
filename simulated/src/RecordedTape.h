#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "orbis/insight/recording.pb.h"

namespace orbis::simulated {

// The Win32 error of a request that a recording lacks (ERROR_FILE_OFFLINE): never one that a device gives, and never "not found".
inline constexpr std::uint32_t kNotRecorded = 4350;
inline constexpr std::uint32_t kNotRecordedHresult = 0x800710FE;  // the same of the Win32 facility

// A recording with its place in each list of answers. Safe to use from several threads; the order is that of one.
class Tape {
public:
    explicit Tape(const insight::Recording& recording);

    // The next answer to a request; the last one repeats. Null for a request that the recording lacks, which is noted.
    [[nodiscard]] const insight::RecordedAnswer* Play(const insight::RecordedCall& request);
    // The same for a request with a buffer of so many units, which the recorded bytes fill; `returned` may be null.
    template <class Unit>
    const insight::RecordedAnswer* PlayInto(insight::RecordedCall request, Unit* buffer, std::uint32_t room,
                                            std::uint32_t* returned = nullptr);
    // The same for a request that need not be there: nothing is noted.
    [[nodiscard]] const insight::RecordedAnswer* PlayIfThere(const insight::RecordedCall& request);
    [[nodiscard]] const insight::RecordedExecution* PlayQuery(const std::string& wmiNamespace, const std::string& text);

    // Whether any call of this operation was recorded.
    [[nodiscard]] bool Has(std::string_view operation) const { return m_Operations.contains(operation); }
    // Whether a property of this name was read of any row.
    [[nodiscard]] bool HasProperty(const std::string& name) const { return m_Properties.contains(name); }

    void NoteMissing(std::string what);
    // The requests that are not in the recording, each once, in alphabetical order.
    [[nodiscard]] std::vector<std::string> Missing() const;

private:
    struct Place {
        int index = 0;
        std::uint32_t played = 0;  // of the answer at `index`
    };
    template <class Answers>
    static const auto* Step(const Answers& answers, Place& place);

    mutable std::mutex m_Mutex;
    std::map<std::string, std::pair<const insight::RecordedCall*, Place>> m_Calls;  // by the request, serialised
    std::map<std::pair<std::string, std::string>, std::pair<const insight::RecordedQuery*, Place>> m_Queries;
    std::set<std::string, std::less<>> m_Operations;
    std::set<std::string> m_Properties;
    std::set<std::string> m_Missing;
};

// Everything that distinguishes a request from others.
[[nodiscard]] std::string KeyOf(const insight::RecordedCall& call);
// The request of an operation, as a recording keeps it.
[[nodiscard]] insight::RecordedCall Asked(const char* operation, std::string subject = {}, std::uint32_t access = 0,
                                          std::uint32_t code = 0, std::string request = {}, std::size_t room = 0);

[[nodiscard]] std::string Utf16Bytes(std::u16string_view text);
[[nodiscard]] std::u16string Utf16Text(std::string_view bytes);
// Recorded bytes into a buffer of this size, with zeros behind them.
void Fill(void* buffer, std::size_t size, std::string_view bytes);

template <class Unit>
const insight::RecordedAnswer* Tape::PlayInto(insight::RecordedCall request, Unit* buffer, std::uint32_t room,
                                              std::uint32_t* returned)
{
    request.set_room(buffer != nullptr ? room : 0);
    const insight::RecordedAnswer* answer = Play(request);
    if (answer != nullptr) {
        Fill(buffer, room * sizeof(Unit), answer->output());
        if (returned != nullptr) {
            *returned = answer->returned();
        }
    }
    return answer;
}

}  // namespace orbis::simulated
