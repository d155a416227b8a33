#include "Supervisor.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>
#include <optional>
#include <set>
#include <utility>

#include "Attempt.h"
#include "ExitStatus.h"
#include "MachineInForce.h"
#include "Progress.h"
#include "Say.h"
#include "Terminal.h"

namespace orbis::host {
namespace {

using Clock = std::chrono::steady_clock;
using TimePoint = Attempt::TimePoint;
using Duration = TimePoint::duration;
using State = Attempt::State;

// The last part of the deadline is kept for collecting without what is late, and a little more after it.
constexpr double kReserve = 5;
constexpr std::chrono::seconds kGrace(2);
constexpr std::chrono::milliseconds kShortestRound(500);
// Limit of consecutive crashes without a complete pass.
constexpr int kMostCrashes = 3;
// Limit of the processes of a watch that wait for what is late.
constexpr std::size_t kMostAttempts = 8;

Duration DurationOf(double seconds) { return std::chrono::duration_cast<Duration>(std::chrono::duration<double>(seconds)); }
double InSeconds(Duration time) { return std::chrono::duration<double>(time).count(); }

std::string NameOf(const WaitedFor& wait)
{
    return wait.has_number() ? fmt::format("DISK{}", wait.number())
                             : insight::NameOf({static_cast<insight::Source::Kind>(wait.kind()), wait.name()});
}

std::string EndText(const ChildEnd& end)
{
    constexpr int kLastSignal = 64;  // greater ones are exceptions of Windows
    const bool isSignal = end.status > 0 && end.status <= kLastSignal;
    return !end.crashed ? fmt::format("status {}", end.status)
           : isSignal   ? fmt::format("signal {}", end.status)
                        : fmt::format("exception {:#010x}", static_cast<unsigned>(end.status));
}

// The attempts of a pass: the first leaves out the least. One that is late goes on, in a watch for good, while others collect
// without what it waits for; the first that is ready counts, and at the deadline any.
class Supervisor {
public:
    explicit Supervisor(const Supervision& supervision) : m_Supervision(supervision)
    {
        BeginRound();
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
            const auto outcome = ChildProcess::Wait(processes, timer ? std::min(soon, m_Clock.Real(*timer)) : soon);
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
    void BeginRound()
    {
        m_RoundBegan = m_Clock.Now();
        m_Deadline = m_RoundBegan + DurationOf(m_Supervision.seconds);
        m_NextAttempt = m_Deadline - DurationOf(std::min(m_Supervision.seconds / 2, kReserve));
    }

    void Start(const std::vector<LateSource>& late) { m_Attempts.push_back(Make(late, m_Deadline - m_Clock.Now())); }

    [[nodiscard]] std::unique_ptr<Attempt> Make(const std::vector<LateSource>& late, Duration left) const
    {
        const TimePoint now = m_Clock.Now();
        Assignment task;
        task.set_seconds(m_Supervision.seconds);
        task.set_seconds_left(std::max(1.0, InSeconds(left)));
        task.mutable_late()->Add(late.begin(), late.end());
        task.set_passes(m_Passes);
        for (const auto& [key, answer] : m_Last) {
            LastAnswer& last = *task.add_last();
            last = answer.first;
            last.set_seconds_ago(InSeconds(now - answer.second));
        }
        return std::make_unique<Attempt>(m_Supervision.arguments, task, now);
    }

    // Starts an attempt that also leaves out the source that the newest one waits for.
    void StartWithout(const Attempt& attempt, const WaitedFor& culprit, const std::string& crash)
    {
        std::vector<LateSource> late = attempt.Late();
        LateSource& source = late.emplace_back();
        *source.mutable_source() = culprit;
        const double seconds = InSeconds(m_Deadline - std::max(attempt.Started(), m_RoundBegan));
        source.set_seconds(std::round(seconds * 10) / 10);
        source.set_crash(crash);
        Start(late);
    }

    [[nodiscard]] std::optional<TimePoint> NextTimer() const
    {
        std::optional<TimePoint> next;
        const auto consider = [&](TimePoint time) { next = next ? std::min(*next, time) : time; };
        for (const auto& attempt : m_Attempts) {
            if (attempt->WakesAt() != TimePoint::max()) {
                consider(attempt->WakesAt());
            }
        }
        if (const Attempt& newest = *m_Attempts.back();
            newest.GetState() == State::Collecting || newest.GetState() == State::Asleep || newest.GetState() == State::Ready) {
            const TimePoint now = m_Clock.Now();
            for (const TimePoint time : {m_NextAttempt, m_Deadline, m_Deadline + kGrace}) {
                if (time > now) {
                    consider(time);
                }
            }
        }
        return next;
    }

    void Decide()
    {
        HandleEnds();
        if (m_Status) {
            return;
        }
        m_Passes = std::max(m_Passes, m_Attempts.back()->Passes());
        if (m_Attempts.back()->TakePassBegan()) {
            BeginRound();
        }
        const TimePoint now = m_Clock.Now();
        for (const auto& attempt : m_Attempts) {
            if (attempt->GetState() == State::Asleep && attempt->WakesAt() <= now) {
                attempt->Wake();
            }
        }
        LookAfterShadows(now);
        if (Attempt* const ready = Ready()) {
            Choose(*ready);
        } else if (IsCollecting(*m_Attempts.back())) {
            LookAtTheTime(now);
        }
    }

    // When every process waits for a simulated machine, the clock jumps to the next event.
    bool PassSimulatedTime()
    {
        const auto is = [](const auto& attempt, State state) { return attempt->GetState() == state; };
        const auto timer = NextTimer();
        const bool isIdle = std::all_of(m_Attempts.begin(), m_Attempts.end(),
                                        [&](const auto& one) { return is(one, State::Asleep) || is(one, State::Ready); });
        if (!timer || !isIdle ||
            std::none_of(m_Attempts.begin(), m_Attempts.end(), [&](const auto& one) { return is(one, State::Asleep); })) {
            return false;
        }
        m_Clock.JumpTo(*timer);
        return true;
    }

    static bool IsCollecting(const Attempt& attempt)
    {
        return attempt.GetState() == State::Collecting || attempt.GetState() == State::Asleep;
    }

    // The attempt to be chosen now, if any.
    [[nodiscard]] Attempt* Ready()
    {
        const bool isOver = m_Clock.Now() >= m_Deadline;
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
        // Attempts that leave out more are not needed. In a watch those that wait continue, because their disks may answer later.
        std::vector<std::unique_ptr<Attempt>> kept;
        for (auto& attempt : m_Attempts) {
            const bool isChosen = attempt.get() == &chosen;
            if (isChosen || (m_Supervision.isWatch && IsCollecting(*attempt))) {
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

    // An attempt that went on for its late source may have got past it and wait for another one that is late. What answers again is
    // then collected without that one.
    void LookAfterShadows(TimePoint now)
    {
        for (std::size_t i = 0; i + 1 < m_Attempts.size() && m_Attempts.size() < kMostAttempts; ++i) {
            const Attempt& shadow = *m_Attempts[i];
            const auto& waiting = shadow.Waiting();
            if (!shadow.isShadow || !IsCollecting(shadow) || !waiting) {
                continue;
            }
            const auto& late = m_Attempts.back()->Late();
            const auto known = std::find_if(late.begin(), late.end(),
                                            [&](const LateSource& one) { return KeyOf(one.source()) == KeyOf(*waiting); });
            const Duration patience = known != late.end() ? Duration(kShortestRound) : DurationOf(m_Supervision.seconds);
            std::vector<LateSource> without = shadow.Late();
            LateSource& source = without.emplace_back();
            if (known != late.end()) {
                source = *known;
            } else {
                *source.mutable_source() = *waiting;
                source.set_seconds(m_Supervision.seconds);
            }
            const bool exists = std::any_of(m_Attempts.begin(), m_Attempts.end(),
                                            [&](const auto& one) { return KeysOf(one->Late()) == KeysOf(without); });
            if (now - shadow.WaitingSince() >= patience && !exists) {
                auto attempt = Make(without, DurationOf(m_Supervision.seconds));
                attempt->isShadow = true;
                m_Attempts.insert(m_Attempts.begin() + static_cast<std::ptrdiff_t>(i + 1), std::move(attempt));
            }
        }
    }

    static std::set<std::string> KeysOf(const std::vector<LateSource>& late)
    {
        std::set<std::string> keys;
        for (const LateSource& one : late) {
            keys.insert(KeyOf(one.source()));
        }
        return keys;
    }

    void LookAtTheTime(TimePoint now)
    {
        const Attempt& newest = *m_Attempts.back();
        const auto culprit = newest.Culprit(now);
        if (now >= m_NextAttempt && now < m_Deadline && culprit) {
            StartWithout(newest, *culprit, {});
            m_NextAttempt = now + std::max<Duration>((m_Deadline - now) / 2, kShortestRound);
        } else if (now >= m_Deadline + kGrace) {
            m_Progress.Clear();
            Say(fmt::format("nothing was collected within {:g} s{}", m_Supervision.seconds,
                            culprit ? fmt::format(": no answer from {} to {}", NameOf(*culprit), culprit->what()) : ""));
            GiveUp();
        }
    }

    // No attempt ended the pass. A watch goes on without all that was late.
    void GiveUp()
    {
        m_Failed = Graver(m_Failed, kExitCollectionFailed);
        if (!m_Supervision.isWatch) {
            End(m_Failed);
            return;
        }
        // Those that wait go on, because their disks may answer later.
        std::erase_if(m_Attempts, [](const auto& attempt) { return !IsCollecting(*attempt); });
        for (const auto& attempt : m_Attempts) {
            attempt->isStale = attempt->isStale || !attempt->isShadow;
            attempt->isShadow = true;
        }
        if (m_Attempts.empty() || m_Attempts.size() >= kMostAttempts) {
            m_Attempts.clear();
            Start({});
        } else if (const Attempt& newest = *m_Attempts.back(); const auto culprit = newest.Culprit(m_Clock.Now())) {
            m_Passes = std::max(m_Passes, newest.Passes());
            StartWithout(newest, *culprit, {});
        } else {
            Start(std::vector<LateSource>(newest.Late()));
        }
        BeginRound();
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
        const std::string how = ended.End() ? EndText(*ended.End()) : "no reason given";
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
        BeginRound();
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

    // Ctrl-C: what is being written may end; nothing is waited for.
    int Interrupt()
    {
        Attempt& newest = *m_Attempts.back();
        constexpr std::chrono::seconds kPatience(1);
        const auto until = Clock::now() + kPatience;
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
        if (!m_Supervision.isWatch && IsCollecting(first) && first.Waiting() && now - first.WaitingSince() >= kNoticeable) {
            m_Progress.Show(fmt::format("waiting for {}: {}, {:.0f} s", NameOf(*first.Waiting()), first.Waiting()->what(),
                                        InSeconds(now - first.WaitingSince())));
        }
    }

    const Supervision& m_Supervision;
    SupervisionClock m_Clock;
    std::vector<std::unique_ptr<Attempt>> m_Attempts;
    LastAnswers m_Last;
    TimePoint m_RoundBegan;
    TimePoint m_Deadline;
    TimePoint m_NextAttempt;
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
