#include "Supervised.h"

#include <array>
#include <cstdio>
#include <cstring>
#include <sstream>
#include <utility>

#include "Framing.h"

namespace orbis::host {
namespace {

std::unique_ptr<Supervised> g_Supervised;  // set once, before any thread

std::chrono::steady_clock::duration Seconds(double seconds)
{
    return std::chrono::duration_cast<std::chrono::steady_clock::duration>(std::chrono::duration<double>(seconds));
}

// The lines that are not log lines (Say).
std::string Findings(const std::string& held)
{
    std::string findings;
    std::istringstream lines(held);
    for (std::string line; std::getline(lines, line);) {
        findings += line.starts_with("orbis-host: ") ? line + "\n" : "";
    }
    return findings;
}

}  // namespace

Supervised* Supervised::Get() noexcept { return g_Supervised.get(); }

void Supervised::Begin(const std::string& pipe) { g_Supervised.reset(new Supervised(pipe)); }

Supervised::Supervised(const std::string& pipe) : m_Pipe(pipe)
{
    std::array<char, kFrameHead> head{};
    m_Pipe.Read(head);
    std::string bytes(FrameSize(head), '\0');
    m_Pipe.Read(bytes);
    m_Task.ParseFromString(bytes);
    m_Deadline = Clock::now() + Seconds(m_Task.seconds_left());
}

double Supervised::SecondsLeft() const { return std::chrono::duration<double>(m_Deadline - Clock::now()).count(); }

double Supervised::SecondsSinceStart() const { return std::chrono::duration<double>(Clock::now() - m_Started).count(); }

void Supervised::Send(const ChildReport& report)
{
    const std::lock_guard lock(m_Lock);
    m_Pipe.Write(Frame(report));
}

char Supervised::Receive()
{
    std::array<char, 1> command{};
    m_Pipe.Read(command);
    return command.front();
}

bool Supervised::MayWrite()
{
    if (!m_MayWrite && !m_IsUnwanted) {
        ChildReport report;
        report.set_ready(true);
        Send(report);
        m_MayWrite = Receive() == kGo;
        m_IsUnwanted = !m_MayWrite;
        std::array<char, sizeof(std::uint32_t)> count{};
        m_Pipe.Read(count);
        std::uint32_t passes = 0;
        std::memcpy(&passes, count.data(), count.size());
        m_Task.set_passes(passes);
    }
    if (m_IsUnwanted) {
        // A finding is reported only once, so it is kept for the next pass; log lines are discarded.
        m_Held = Findings(m_Held);
        return false;
    }
    WriteHeld();
    return true;
}

void Supervised::Hold(std::string text)
{
    m_Held += text;
    if (m_MayWrite) {
        WriteHeld();
    }
}

void Supervised::WriteHeld()
{
    const std::string text = std::exchange(m_Held, {});
    std::fwrite(text.data(), 1, text.size(), stderr);
    std::fflush(stderr);  // the supervisor may end this process at any time
}

void Supervised::BeginPass()
{
    ChildReport report;
    report.set_pass_began(true);
    Send(report);
    m_Deadline = Clock::now() + Seconds(m_Task.seconds());
    m_MayWrite = false;
    m_IsUnwanted = false;
}

void Supervised::EndPass(int status, const std::vector<LastAnswer>& answers)
{
    if (!MayWrite()) {
        return;  // the supervisor already has an answer to this pass
    }
    ChildReport all;
    all.mutable_answers()->mutable_answer()->Add(answers.begin(), answers.end());
    Send(all);
    ChildReport report;
    report.set_pass_ended(static_cast<std::uint32_t>(status));
    Send(report);
}

void Supervised::Delay(std::chrono::nanoseconds time)
{
    ChildReport report;
    report.set_delayed(time == std::chrono::nanoseconds::max() ? -1 : std::chrono::duration<double>(time).count());
    Send(report);
    static_cast<void>(Receive());
}

void Supervised::Began(const insight::Source& source, std::string_view what) noexcept
{
    try {
        ChildReport report;
        WaitedFor& wait = *report.mutable_began();
        wait.set_kind(static_cast<std::uint32_t>(source.kind));
        wait.set_name(source.name);
        wait.set_what(std::string(what));
        if (m_Identify && source.kind == insight::Source::Kind::Device) {
            m_Identify(wait);
        }
        Send(report);
    } catch (...) {  // out of memory: this wait is not reported to the supervisor
    }
}

void Supervised::Ended() noexcept
{
    try {
        ChildReport report;
        report.set_ended(true);
        Send(report);
    } catch (...) {
    }
}

void EndSupervised()
{
    if (Supervised* const supervised = Supervised::Get()) {
        static_cast<void>(supervised->MayWrite());
    }
}

}  // namespace orbis::host
