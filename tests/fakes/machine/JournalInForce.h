#pragma once

#include <vector>

#include "insight/Journal.h"

namespace orbis::fakes {

// Keeps every call to the machine in force. In force itself while it lives; the machine outlives it.
class JournalInForce {
public:
    JournalInForce() { platform::Platform::Replace(&m_Journal); }
    JournalInForce(const JournalInForce&) = delete;
    JournalInForce& operator=(const JournalInForce&) = delete;
    ~JournalInForce() { platform::Platform::Replace(&m_Machine); }

    // The calls since they were last taken, all of them or those of one kind.
    [[nodiscard]] std::vector<insight::Record> Take() { return m_Journal.Take().records; }
    template <class Call>
    [[nodiscard]] std::vector<Call> Take()
    {
        std::vector<Call> calls;
        for (const insight::Record& record : Take()) {
            if (const auto* call = record.As<Call>()) {
                calls.push_back(*call);
            }
        }
        return calls;
    }

private:
    platform::Platform& m_Machine = platform::Platform::Current();
    insight::Journal m_Journal{m_Machine};
};

}  // namespace orbis::fakes
