#include "Attempt.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <set>
#include <utility>

#include "Framing.h"

namespace orbis::host {

std::string KeyOf(const WaitedFor& wait)
{
    return wait.has_number() ? fmt::format("{}", wait.number()) : fmt::format("{} {}", wait.kind(), wait.name());
}

std::string NameOf(const WaitedFor& wait)
{
    return wait.has_number() ? fmt::format("DISK{}", wait.number())
                             : insight::NameOf({static_cast<insight::Source::Kind>(wait.kind()), wait.name()});
}

bool LeaveOutTheSame(const std::vector<LateSource>& one, const std::vector<LateSource>& other)
{
    const auto keys = [](const std::vector<LateSource>& late) {
        std::set<std::string> texts;
        for (const LateSource& source : late) {
            texts.insert(KeyOf(source.source()));
        }
        return texts;
    };
    return keys(one) == keys(other);
}

namespace {

// The wake-up time of a process that is not delayed, or is delayed for ever.
constexpr auto kNever = Attempt::TimePoint::max();

}  // namespace

Attempt::Attempt(const std::vector<std::string>& arguments, const Assignment& task, TimePoint now)
    : m_Process(ChildProcess::OwnProgram(),
                [&] {
                    std::vector<std::string> all{"--supervised", "{pipe}"};
                    all.insert(all.end(), arguments.begin(), arguments.end());
                    return all;
                }()),
      m_Late(task.late().begin(), task.late().end()),
      m_Started(now),
      m_WaitingSince(now),
      m_DelayedUntil(kNever),
      m_Passes(task.passes())
{
    m_Process.Write(Frame(task));
}

void Attempt::Read(const SupervisionClock& clock, LastAnswers& last)
{
    std::array<char, 65536> buffer{};
    const std::size_t size = m_Process.Read(buffer);
    if (size == 0) {
        constexpr std::chrono::seconds kTimeout(2);
        m_End = m_Process.WaitForEnd(kTimeout);
        m_State = State::Ended;
        return;
    }
    m_Incoming.append(buffer.data(), size);
    std::size_t at = 0;
    while (m_Incoming.size() - at >= kFrameHead) {
        const std::size_t length = FrameSize(std::span<const char, kFrameHead>(m_Incoming.data() + at, kFrameHead));
        if (m_Incoming.size() - at - kFrameHead < length) {
            break;
        }
        ChildReport report;
        if (report.ParseFromArray(m_Incoming.data() + at + kFrameHead, static_cast<int>(length))) {
            Take(report, clock, last);
        }
        at += kFrameHead + length;
    }
    m_Incoming.erase(0, at);
}

void Attempt::Take(const ChildReport& report, const SupervisionClock& clock, LastAnswers& last)
{
    const TimePoint now = clock.Now();
    switch (report.report_case()) {
        case ChildReport::kBegan:
            EndWait(now);
            m_Waiting = report.began();
            m_WaitingSince = now;
            m_Spent[KeyOf(*m_Waiting)].last = *m_Waiting;
            break;
        case ChildReport::kEnded:
            EndWait(now);
            break;
        case ChildReport::kDelayed: {
            const std::chrono::duration<double> delay(report.delayed());
            m_DelayedUntil = report.delayed() < 0 ? kNever : now + std::chrono::duration_cast<TimePoint::duration>(delay);
            m_State = State::Delayed;
            break;
        }
        case ChildReport::kPassBegan:
            m_State = State::Collecting;
            m_Spent.clear();
            m_PassBegan = true;
            break;
        case ChildReport::kReady:
            m_State = State::Ready;
            break;
        case ChildReport::kPassEnded:
            m_State = State::Between;
            m_Status = static_cast<int>(report.pass_ended());
            ++m_Passes;
            break;
        case ChildReport::kAnswers:
            for (const LastAnswer& answer : report.answers().answer()) {
                last[{answer.item().datatype(), answer.item().item_id()}] = {answer, now};
            }
            break;
        case ChildReport::REPORT_NOT_SET:
            break;
    }
}

void Attempt::EndWait(TimePoint now)
{
    if (m_Waiting) {
        m_Spent[KeyOf(*m_Waiting)].time += now - m_WaitingSince;
        m_Waiting.reset();
    }
}

std::string Attempt::EndText() const
{
    constexpr int kLastSignal = 64;  // a Windows exception code is negative as an int
    const bool isSignal = m_End && m_End->status > 0 && m_End->status <= kLastSignal;
    return !m_End            ? "no reason given"
           : !m_End->crashed ? fmt::format("status {}", m_End->status)
           : isSignal        ? fmt::format("signal {}", m_End->status)
                             : fmt::format("exception {:#010x}", static_cast<unsigned>(m_End->status));
}

std::optional<WaitedFor> Attempt::LongestWait(TimePoint now) const
{
    auto spent = m_Spent;
    if (m_Waiting) {
        spent[KeyOf(*m_Waiting)].time += now - m_WaitingSince;
    }
    const auto longest = std::max_element(spent.begin(), spent.end(),
                                          [](const auto& one, const auto& other) { return one.second.time < other.second.time; });
    if (longest == spent.end() || longest->second.time == TimePoint::duration{}) {
        return std::nullopt;
    }
    return longest->second.last;
}

void Attempt::Go(std::uint32_t passes)
{
    m_State = State::Writing;
    isCommitted = true;
    Send(kGo, passes);
}

void Attempt::Discard(std::uint32_t passes)
{
    m_State = State::Collecting;
    Send(kDiscard, passes);
}

void Attempt::Send(char command, std::uint32_t passes)
{
    m_Passes = passes;
    std::string bytes(1 + sizeof passes, command);
    std::memcpy(bytes.data() + 1, &passes, sizeof passes);
    m_Process.Write(bytes);
}

void Attempt::Resume()
{
    m_State = State::Collecting;
    m_DelayedUntil = kNever;
    m_Process.Write({&kWake, 1});
}

}  // namespace orbis::host
