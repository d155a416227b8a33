#pragma once

#include <algorithm>
#include <chrono>

#include "Attempt.h"

namespace orbis::host {

// The times of one pass under a deadline. In its last seconds attempts that leave out late sources start at ever shorter intervals.
class Round {
public:
    using TimePoint = Attempt::TimePoint;
    using Duration = TimePoint::duration;

    // The shortest time between two attempts.
    static constexpr std::chrono::milliseconds kShortest{500};

    explicit Round(double seconds) : m_Length(DurationOf(seconds)), m_Reserve(DurationOf(std::min(seconds / 2, kReserve))) {}

    [[nodiscard]] static double InSeconds(Duration time) { return std::chrono::duration<double>(time).count(); }

    void Begin(TimePoint now)
    {
        m_Began = now;
        m_Deadline = now + m_Length;
        m_NextAttempt = m_Deadline - m_Reserve;
    }

    [[nodiscard]] Duration Length() const noexcept { return m_Length; }
    [[nodiscard]] Duration Left(TimePoint now) const { return m_Deadline - now; }
    // The part of the pass that an attempt has which started at this time.
    [[nodiscard]] Duration Granted(TimePoint started) const { return m_Deadline - std::max(started, m_Began); }

    [[nodiscard]] bool IsAttemptDue(TimePoint now) const { return now >= m_NextAttempt && now < m_Deadline; }
    void AttemptStarted(TimePoint now) { m_NextAttempt = now + std::max<Duration>(Left(now) / 2, kShortest); }
    [[nodiscard]] bool IsOver(TimePoint now) const { return now >= m_Deadline; }
    // The last attempt gets a little more than the deadline.
    [[nodiscard]] bool IsGraceOver(TimePoint now) const { return now >= m_Deadline + kGrace; }

    // The next of these times; TimePoint::max() after the last.
    [[nodiscard]] TimePoint NextEvent(TimePoint now) const
    {
        TimePoint next = TimePoint::max();
        for (const TimePoint time : {m_NextAttempt, m_Deadline, m_Deadline + kGrace}) {
            next = time > now ? std::min(next, time) : next;
        }
        return next;
    }

private:
    static constexpr double kReserve = 5;
    static constexpr std::chrono::seconds kGrace{2};

    static Duration DurationOf(double seconds)
    {
        return std::chrono::duration_cast<Duration>(std::chrono::duration<double>(seconds));
    }

    Duration m_Length;
    Duration m_Reserve;
    TimePoint m_Began;
    TimePoint m_Deadline;
    TimePoint m_NextAttempt;
};

}  // namespace orbis::host
