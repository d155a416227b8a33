#include "Supervisor.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "Attempt.h"
#include "ExitStatus.h"
#include "MachineInForce.h"
#include "Progress.h"
#include "Round.h"
#include "Say.h"
#include "Terminal.h"

namespace orbis::host {
namespace {

using Clock = std::chrono::steady_clock;
using TimePoint = Attempt::TimePoint;
using Duration = Round::Duration;
using State = Attempt::State;

// Limit of consecutive crashes without a complete pass.
constexpr int kMostCrashes = 3;
// Limit of the processes of a watch that wait for what is late.
constexpr std::size_t kMostAttempts = 8;

// Runs the attempts of a pass. The first one leaves out least. A late attempt continues, while others collect without its late
// source; in a watch it continues after the pass too. An attempt that is ready is chosen when no earlier one can still answer, or
// at the deadline.
class Supervisor {
public:
    explicit Supervisor(const Supervision& supervision) : m_Supervision(supervision), m_Round(supervision.seconds)
    {
        m_Round.Begin(m_Clock.Now());
        Start({});
    }

    int Run()
    {
        while (!m_Status) {
            Decide();
            if (m_Status) {
                break;
            }
            if (PassSimulatedTime()) {
                continue;
            }
            ShowProgress();
            std::vector<ChildProcess*> processes;
            for (const auto& attempt : m_Attempts) {
                processes.push_back(&attempt->Process());
            }
            const auto timer = NextTimer();
            // Wakes every second for the progress line, and for a Ctrl-C that came just before the wait.
            const TimePoint soon = Clock::now() + std::chrono::seconds(1);
            const auto outcome =
                ChildProcess::Wait(processes, timer != TimePoint::max() ? std::min(soon, m_Clock.Real(timer)) : soon);
            if (IsInterrupted() && outcome != ChildProcess::Outcome::Readable) {
                return Interrupt();
            }
            for (const auto& attempt : m_Attempts) {
                if (attempt->IsLive() && attempt->Process().IsReadable()) {
                    attempt->Read(m_Clock, m_Last);
                }
            }
        }
        m_Progress.Clear();
        return *m_Status;
    }

private:
    void Start(const std::vector<LateSource>& late) { m_Attempts.push_back(Make(late, m_Round.Left(m_Clock.Now()))); }

    [[nodiscard]] std::unique_ptr<Attempt> Make(const std::vector<LateSource>& late, Duration left) const
    {
        const TimePoint now = m_Clock.Now();
        Assignment task;
        task.set_seconds(m_Supervision.seconds);
        task.set_seconds_left(std::max(1.0, Round::InSeconds(left)));
        task.mutable_late()->Add(late.begin(), late.end());
        task.set_passes(m_Passes);
        for (const auto& [key, answer] : m_Last) {
            LastAnswer& last = *task.add_last();
            last = answer.first;
            last.set_seconds_ago(Round::InSeconds(now - answer.second));
        }
        return std::make_unique<Attempt>(m_Supervision.arguments, task, now);
    }

    // Starts an attempt that also leaves out the source that the newest one waits for.
    void StartWithout(const Attempt& attempt, const WaitedFor& longest, const std::string& crash)
    {
        std::vector<LateSource> late = attempt.Late();
        LateSource& source = late.emplace_back();
        *source.mutable_source() = longest;
        const double seconds = Round::InSeconds(m_Round.Granted(attempt.Started()));
        source.set_seconds(std::round(seconds * 10) / 10);
        source.set_crash(crash);
        Start(late);
    }

    // The next time at which something is to be decided; TimePoint::max() when only a process can change anything.
    [[nodiscard]] TimePoint NextTimer() const
    {
        TimePoint next = TimePoint::max();
        for (const auto& attempt : m_Attempts) {
            next = std::min(next, attempt->DelayedUntil());
        }
        const Attempt& newest = *m_Attempts.back();
        return newest.IsCollecting() || newest.GetState() == State::Ready ? std::min(next, m_Round.NextEvent(m_Clock.Now())) : next;
    }

    void Decide()
    {
        HandleEnds();
        if (m_Status) {
            return;
        }
        m_Passes = std::max(m_Passes, m_Attempts.back()->Passes());
        if (m_Attempts.back()->TakePassBegan()) {
            m_Round.Begin(m_Clock.Now());
        }
        const TimePoint now = m_Clock.Now();
        for (const auto& attempt : m_Attempts) {
            if (attempt->GetState() == State::Delayed && attempt->DelayedUntil() <= now) {
                attempt->Resume();
            }
        }
        LookAfterShadows(now);
        if (Attempt* const ready = Ready()) {
            Choose(*ready);
        } else if (m_Attempts.back()->IsCollecting()) {
            LookAtTheTime(now);
        }
    }

    // When every process waits for a simulated machine, the clock jumps to the next event.
    bool PassSimulatedTime()
    {
        const auto is = [](const auto& attempt, State state) { return attempt->GetState() == state; };
        const auto timer = NextTimer();
        const bool isIdle = std::all_of(m_Attempts.begin(), m_Attempts.end(),
                                        [&](const auto& one) { return is(one, State::Delayed) || is(one, State::Ready); });
        if (timer == TimePoint::max() || !isIdle ||
            std::none_of(m_Attempts.begin(), m_Attempts.end(), [&](const auto& one) { return is(one, State::Delayed); })) {
            return false;
        }
        m_Clock.JumpTo(timer);
        return true;
    }

    // The attempt to be chosen now, if any.
    [[nodiscard]] Attempt* Ready()
    {
        const bool isOver = m_Round.IsOver(m_Clock.Now());
        for (const auto& attempt : m_Attempts) {
            if (attempt->GetState() == State::Ready) {
                return m_Attempts.back()->GetState() == State::Writing ? nullptr : attempt.get();
            }
            if (!attempt->isShadow && !isOver) {
                return nullptr;  // it may still answer
            }
        }
        return nullptr;
    }

    void Choose(Attempt& chosen)
    {
        if (std::exchange(chosen.isStale, false)) {
            chosen.Discard(m_Passes);
            return;
        }
        m_Progress.Clear();
        // Attempts that leave out more are not needed. In a watch, waiting attempts continue, because their disks may answer later.
        std::vector<std::unique_ptr<Attempt>> kept;
        for (auto& attempt : m_Attempts) {
            const bool isChosen = attempt.get() == &chosen;
            if (isChosen || (m_Supervision.isWatch && attempt->IsCollecting())) {
                attempt->isStale = !isChosen && (attempt->isStale || !attempt->isShadow);
                attempt->isShadow = !isChosen;
                kept.push_back(std::move(attempt));
            }
            if (isChosen) {
                break;
            }
        }
        for (const auto& attempt : m_Attempts) {
            m_Failed = attempt != nullptr ? Graver(m_Failed, attempt->Status()) : m_Failed;
        }
        m_Attempts = std::move(kept);
        m_Crashes = 0;
        chosen.Go(m_Passes);
    }

    // A shadow attempt may have got an answer from its late source and now wait for another late one. A further attempt then
    // collects the source that answers again, without the other one.
    void LookAfterShadows(TimePoint now)
    {
        for (std::size_t i = 0; i + 1 < m_Attempts.size() && m_Attempts.size() < kMostAttempts; ++i) {
            const Attempt& shadow = *m_Attempts[i];
            const auto& waiting = shadow.Waiting();
            if (!shadow.isShadow || !shadow.IsCollecting() || !waiting) {
                continue;
            }
            const auto& late = m_Attempts.back()->Late();
            const auto known = std::find_if(late.begin(), late.end(),
                                            [&](const LateSource& one) { return KeyOf(one.source()) == KeyOf(*waiting); });
            const Duration timeout = known != late.end() ? Duration(Round::kShortest) : m_Round.Length();
            std::vector<LateSource> without = shadow.Late();
            LateSource& source = without.emplace_back();
            if (known != late.end()) {
                source = *known;
            } else {
                *source.mutable_source() = *waiting;
                source.set_seconds(m_Supervision.seconds);
            }
            const bool exists = std::any_of(m_Attempts.begin(), m_Attempts.end(),
                                            [&](const auto& one) { return LeaveOutTheSame(one->Late(), without); });
            if (now - shadow.WaitingSince() >= timeout && !exists) {
                auto attempt = Make(without, m_Round.Length());
                attempt->isShadow = true;
                m_Attempts.insert(m_Attempts.begin() + static_cast<std::ptrdiff_t>(i + 1), std::move(attempt));
            }
        }
    }

    void LookAtTheTime(TimePoint now)
    {
        const Attempt& newest = *m_Attempts.back();
        const auto longest = newest.LongestWait(now);
        if (m_Round.IsAttemptDue(now) && longest) {
            StartWithout(newest, *longest, {});
            m_Round.AttemptStarted(now);
        } else if (m_Round.IsGraceOver(now)) {
            m_Progress.Clear();
            Say(fmt::format("nothing was collected within {:g} s{}", m_Supervision.seconds,
                            longest ? fmt::format(": no answer from {} to {}", NameOf(*longest), longest->what()) : ""));
            GiveUp();
        }
    }

    // No attempt completed the pass. A watch continues without the late sources.
    void GiveUp()
    {
        m_Failed = Graver(m_Failed, kExitCollectionFailed);
        if (!m_Supervision.isWatch) {
            End(m_Failed);
            return;
        }
        // Waiting attempts continue, because their disks may answer later.
        std::erase_if(m_Attempts, [](const auto& attempt) { return !attempt->IsCollecting(); });
        for (const auto& attempt : m_Attempts) {
            attempt->isStale = attempt->isStale || !attempt->isShadow;
            attempt->isShadow = true;
        }
        if (m_Attempts.empty() || m_Attempts.size() >= kMostAttempts) {
            m_Attempts.clear();
            Start({});
        } else if (const Attempt& newest = *m_Attempts.back(); const auto longest = newest.LongestWait(m_Clock.Now())) {
            m_Passes = std::max(m_Passes, newest.Passes());
            StartWithout(newest, *longest, {});
        } else {
            Start(std::vector<LateSource>(newest.Late()));
        }
        m_Round.Begin(m_Clock.Now());
    }

    void HandleEnds()
    {
        for (std::size_t i = 0; i < m_Attempts.size(); ++i) {
            if (m_Attempts[i]->IsLive()) {
                continue;
            }
            const auto ended = std::move(m_Attempts[i]);
            m_Attempts.erase(m_Attempts.begin() + static_cast<std::ptrdiff_t>(i--));
            m_Passes = std::max(m_Passes, ended->Passes());
            if (ended->End() && !ended->End()->crashed && ended->isCommitted && !ended->isShadow) {
                End(Graver(ended->End()->status, m_Failed));
                return;
            }
            Crashed(*ended);
            if (m_Status) {
                return;
            }
        }
    }

    void Crashed(const Attempt& ended)
    {
        const std::string how = ended.EndText();
        const auto& waiting = ended.Waiting();
        m_Progress.Clear();
        if (++m_Crashes >= kMostCrashes || (ended.isCommitted && !m_Supervision.isWatch)) {
            Say(fmt::format("the collecting process ended unexpectedly ({}){}; nothing more is collected", how,
                            waiting ? fmt::format(" while {} was asked for {}", NameOf(*waiting), waiting->what()) : ""));
            End(kExitCollectionFailed);
            return;
        }
        if (std::any_of(m_Attempts.begin(), m_Attempts.end(), [](const auto& one) { return !one->isShadow; })) {
            return;  // another one collects already
        }
        m_Round.Begin(m_Clock.Now());
        if (waiting) {
            StartWithout(ended, *waiting, how);
        } else {
            Say(fmt::format("the collecting process ended unexpectedly ({}); once more", how));
            Start(ended.Late());
        }
    }

    void End(int status)
    {
        m_Attempts.clear();
        m_Status = status;
    }

    // Ctrl-C: an attempt that is writing may finish; nothing else is waited for.
    int Interrupt()
    {
        Attempt& newest = *m_Attempts.back();
        constexpr std::chrono::seconds kTimeout(1);
        const auto until = Clock::now() + kTimeout;
        std::vector<ChildProcess*> process{&newest.Process()};
        while (newest.GetState() == State::Writing && Clock::now() < until) {
            if (ChildProcess::Wait(process, until) == ChildProcess::Outcome::Readable) {
                newest.Read(m_Clock, m_Last);
            }
        }
        if (OutputIsTerminal()) {
            std::fputs("\x1B[?25h", stdout);  // a live table hides the cursor
        }
        return Graver(newest.Status(), m_Failed);
    }

    void ShowProgress()
    {
        constexpr std::chrono::seconds kNoticeable(2);
        const Attempt& first = *m_Attempts.front();
        const TimePoint now = m_Clock.Now();
        if (!m_Supervision.isWatch && first.IsCollecting() && first.Waiting() && now - first.WaitingSince() >= kNoticeable) {
            m_Progress.Show(fmt::format("waiting for {}: {}, {:.0f} s", NameOf(*first.Waiting()), first.Waiting()->what(),
                                        Round::InSeconds(now - first.WaitingSince())));
        }
    }

    const Supervision& m_Supervision;
    SupervisionClock m_Clock;
    std::vector<std::unique_ptr<Attempt>> m_Attempts;
    LastAnswers m_Last;
    Round m_Round;
    std::uint32_t m_Passes = 0;
    int m_Crashes = 0;
    int m_Failed = kExitOk;
    std::optional<int> m_Status;
    Progress m_Progress;
};

}  // namespace

int Supervise(const Supervision& supervision)
{
    if (supervision.isWatch) {
        InterruptWaits();
    }
    return Supervisor(supervision).Run();
}

}  // namespace orbis::host
