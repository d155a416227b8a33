#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/OwnedPorts.h"
#include "simulated/Export.h"

namespace orbis::simulated {

namespace description {
class Machine;  // orbis/simulated/machine.pb.h
}
class MachineState;
class Machine;
// See MachineFile.h.
[[nodiscard]] ORBIS_SIMULATED_EXPORT std::unique_ptr<Machine> ParseMachine(std::string_view text, const std::string& name);

// What the users of a machine hold at a moment. All of it is zero on a fresh machine and after every balanced use.
template <class Number>
struct OpenCountsOf {
    Number deviceHandles{0};
    Number deviceSets{0};
    Number comInitialisations{0};  // negative after more CoUninitialize than successful CoInitializeEx
    Number interfaces{0};          // locators, services, enumerators, rows
    Number strings{0};             // BSTRs, those inside variants included
    Number variants{0};            // variants filled by Get and not cleared
    Number arrays{0};              // safe arrays
    Number counterQueries{0};      // PDH queries
    Number counters{0};            // PDH counters

    friend bool operator==(const OpenCountsOf&, const OpenCountsOf&) = default;
};
using OpenCounts = OpenCountsOf<std::int64_t>;
// Prints what is not zero, for test failures.
ORBIS_SIMULATED_EXPORT std::ostream& operator<<(std::ostream& out, const OpenCounts& open);

// A whole simulated machine: every port, answered from one description. Safe to use from several threads at once.
class ORBIS_SIMULATED_EXPORT Machine final : public platform::OwnedPorts {
public:
    // Throws MachineFileError (see MachineFile.h) for a description of which no machine can be made.
    explicit Machine(const description::Machine& description);
    ~Machine() override;
    Machine(const Machine&) = delete;
    Machine& operator=(const Machine&) = delete;

    // A new machine of the same description, in its initial state. The description is not checked again.
    [[nodiscard]] std::unique_ptr<Machine> Anew() const;

    // What is open now, over all threads.
    [[nodiscard]] OpenCounts OpenObjects() const;
    // What was done that no correct user does: a handle closed twice, an interface used after its release or on a foreign thread, a
    // string freed that never was. One line each; empty after every correct use.
    [[nodiscard]] std::vector<std::string> Misuses() const;

    // What it was made of.
    [[nodiscard]] const description::Machine& Description() const noexcept;
    // Of a machine that is a recording: requests that it lacks, which therefore failed. Each once, for people.
    [[nodiscard]] std::vector<std::string> NotRecorded() const;

    // Moves the machine's clock, as Sleep does.
    void AdvanceClock(std::chrono::nanoseconds interval);

    // The time that an answer which never comes takes.
    static constexpr std::chrono::nanoseconds kNever = std::chrono::nanoseconds::max();
    // Called, on the thread that asks, before an answer that the description delays, instead of what happens otherwise: the
    // machine's clock moves at once, and for an answer that never comes the thread waits forever. What it throws leaves the
    // platform call.
    void OnDelay(std::function<void(std::chrono::nanoseconds)> wait);

private:
    friend std::unique_ptr<Machine> ParseMachine(std::string_view text, const std::string& name);
    struct Checked {};  // the description was found to be without error
    Machine(Checked checked, const description::Machine& description);

    std::unique_ptr<MachineState> m_State;
};

}  // namespace orbis::simulated
