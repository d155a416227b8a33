#pragma once

#include <algorithm>
#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "ChildProcess.h"
#include "insight/Waits.h"
#include "orbis/host/internal/supervision.pb.h"

namespace orbis::host {

// The supervisor's clock. It jumps over the delays of a simulated machine, so that no process sleeps for them.
class SupervisionClock {
public:
    using TimePoint = std::chrono::steady_clock::time_point;

    [[nodiscard]] TimePoint Now() const { return std::chrono::steady_clock::now() + m_Ahead; }
    // Converts a time of this clock to one of the steady clock.
    [[nodiscard]] TimePoint Real(TimePoint time) const { return time - m_Ahead; }
    void JumpTo(TimePoint time) { m_Ahead += std::max(TimePoint::duration{}, time - Now()); }

private:
    TimePoint::duration m_Ahead{};
};

// The last answer of each datatype and item id, and when it came.
using LastAnswers = std::map<std::pair<std::string, std::string>, std::pair<LastAnswer, SupervisionClock::TimePoint>>;

// The same key for all paths of a disk.
[[nodiscard]] std::string KeyOf(const WaitedFor& wait);
// The name of a disk or source in messages.
[[nodiscard]] std::string NameOf(const WaitedFor& wait);
// Whether two attempts leave out the same sources, in any order.
[[nodiscard]] bool LeaveOutTheSame(const std::vector<LateSource>& one, const std::vector<LateSource>& other);

// The supervisor's side of one collecting process.
class Attempt {
public:
    using TimePoint = SupervisionClock::TimePoint;
    enum class State {
        Collecting,
        Delayed,  // a simulated machine's answer is delayed
        Ready,    // waits until it may write
        Writing,  // may write
        Between,  // two passes of a watch
        Ended,
    };

    // Starts a process that leaves out the sources of `task`.
    Attempt(const std::vector<std::string>& arguments, const Assignment& task, TimePoint now);

    // Reads the messages of the process; the answers of its disks are stored in `last`.
    void Read(const SupervisionClock& clock, LastAnswers& last);

    [[nodiscard]] State GetState() const noexcept { return m_State; }
    // The process is still collecting.
    [[nodiscard]] bool IsCollecting() const noexcept { return m_State == State::Collecting || m_State == State::Delayed; }
    [[nodiscard]] bool IsLive() const noexcept { return m_State != State::Ended; }
    // Whether a new pass began since the last call.
    [[nodiscard]] bool TakePassBegan() { return std::exchange(m_PassBegan, false); }
    [[nodiscard]] const std::vector<LateSource>& Late() const noexcept { return m_Late; }
    [[nodiscard]] TimePoint Started() const noexcept { return m_Started; }
    [[nodiscard]] TimePoint DelayedUntil() const noexcept { return m_DelayedUntil; }
    [[nodiscard]] std::uint32_t Passes() const noexcept { return m_Passes; }
    [[nodiscard]] int Status() const noexcept { return m_Status; }
    // How the process ended; empty while it runs or its end is not known.
    [[nodiscard]] const std::optional<ChildEnd>& End() const noexcept { return m_End; }
    [[nodiscard]] std::string EndText() const;
    // The source that this pass has waited for longest.
    [[nodiscard]] std::optional<WaitedFor> LongestWait(TimePoint now) const;
    // The source that the process is waiting for now.
    [[nodiscard]] const std::optional<WaitedFor>& Waiting() const noexcept { return m_Waiting; }
    [[nodiscard]] TimePoint WaitingSince() const noexcept { return m_WaitingSince; }

    // Let the process write its output, or make it repeat the pass; `passes` were shown before.
    void Go(std::uint32_t passes);
    void Discard(std::uint32_t passes);
    void Resume();
    [[nodiscard]] ChildProcess& Process() noexcept { return m_Process; }

    bool isCommitted = false;  // it has been allowed to write
    bool isShadow = false;     // its pass was given up; it continues beside the others until its source answers
    bool isStale = false;      // its next output belongs to the pass that was given up

private:
    void Take(const ChildReport& report, const SupervisionClock& clock, LastAnswers& last);
    void EndWait(TimePoint now);
    void Send(char command, std::uint32_t passes);

    ChildProcess m_Process;
    std::vector<LateSource> m_Late;
    TimePoint m_Started;
    State m_State = State::Collecting;
    std::string m_Incoming;
    std::optional<WaitedFor> m_Waiting;
    TimePoint m_WaitingSince;
    TimePoint m_DelayedUntil;
    struct Spent {
        TimePoint::duration time{};
        WaitedFor last;
    };
    std::map<std::string, Spent> m_Spent;  // by disk or source
    bool m_PassBegan = false;
    std::uint32_t m_Passes = 0;
    int m_Status = 0;
    std::optional<ChildEnd> m_End;
};

}  // namespace orbis::host
