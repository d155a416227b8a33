#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "ChildProcess.h"
#include "insight/Waits.h"
#include "orbis/host/internal/supervision.pb.h"

namespace orbis::host {

// The collecting process's side of --deadline. It reports its waits to its supervisor, and writes nothing to any stream or file
// until the supervisor has chosen it, because another process may collect the same pass without a late disk.
class Supervised final : public insight::WaitListener {
public:
    // The instance of this process; null in a process without a supervisor.
    [[nodiscard]] static Supervised* Get() noexcept;
    // Makes this process a supervised one and reads its assignment; `pipe` is the argument of ChildPipe.
    static void Begin(const std::string& pipe);

    [[nodiscard]] const Assignment& Task() const noexcept { return m_Task; }
    [[nodiscard]] double SecondsSinceStart() const;
    // Seconds until the deadline of the current pass.
    [[nodiscard]] double SecondsLeft() const;

    // Waits until this process may write. False when the supervisor discards this pass.
    [[nodiscard]] bool MayWrite();
    // Text for standard error: written when this process may write.
    void Hold(std::string text);

    // A later pass of a watch begins; a pass ends, with the exit status as of now, and the answers to show while their disk is
    // late.
    void BeginPass();
    void EndPass(int status, const std::vector<LastAnswer>& answers);

    // Whether the supervisor has discarded this pass.
    [[nodiscard]] bool IsUnwanted() const noexcept { return m_IsUnwanted; }

    // Sets the function that adds the disk of a path to a wait, if the disk is known.
    void IdentifyWith(std::function<void(WaitedFor&)> identify) { m_Identify = std::move(identify); }

    // Waits as long as a simulated machine delays an answer.
    void Delay(std::chrono::nanoseconds time);

    void Began(const insight::Source& source, std::string_view what) noexcept override;
    void Ended() noexcept override;

private:
    using Clock = std::chrono::steady_clock;

    explicit Supervised(const std::string& pipe);
    void Send(const ChildReport& report);
    [[nodiscard]] char Receive();
    void WriteHeld();

    ChildPipe m_Pipe;
    Assignment m_Task;
    std::mutex m_Lock;
    const Clock::time_point m_Started = Clock::now();
    Clock::time_point m_Deadline;
    std::function<void(WaitedFor&)> m_Identify;
    std::string m_Held;
    bool m_MayWrite = false;
    bool m_IsUnwanted = false;  // this pass
};

// Waits until a supervised process may write, and writes the text that it still holds back; to be called before the process ends.
void EndSupervised();

}  // namespace orbis::host
