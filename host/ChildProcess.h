#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

// A child process that shares this one's standard output and standard error, takes messages on its standard input and sends
// messages through a pipe of its own. One implementation each in ChildProcess_posix.cpp and ChildProcess_windows.cpp.
namespace orbis::host {

class ChildProcessError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// How a child ended.
struct ChildEnd {
    int status = 0;        // exit status, or the signal that ended it (POSIX), or the exception code (Windows)
    bool crashed = false;  // ended by a signal or an exception
};

class ChildProcess {
public:
    using TimePoint = std::chrono::steady_clock::time_point;
    enum class Outcome { Readable, TimedOut, Interrupted };

    // Starts `program` with UTF-8 arguments; one that is "{pipe}" becomes the text that ChildPipe takes. It ends when this process
    // ends. Throws ChildProcessError with the system's text.
    ChildProcess(const std::filesystem::path& program, std::vector<std::string> arguments);
    // Ends a child that still runs. Waits at most 200 ms for it to end.
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    // Waits until one of the children has sent something or closed its pipe, at most until `deadline` (absent: for ever).
    // Interrupted: a signal handler ran, or the console's Ctrl-C event came.
    [[nodiscard]] static Outcome Wait(std::span<ChildProcess* const> children, std::optional<TimePoint> deadline);
    // Whether Read would return at once.
    [[nodiscard]] bool IsReadable();
    // Reads bytes from the child and waits for them if necessary; returns 0 when the child has closed its pipe, for instance by
    // ending.
    [[nodiscard]] std::size_t Read(std::span<char> buffer);
    // Sends bytes to the child's standard input; those for a child that has ended are lost.
    void Write(std::string_view bytes) noexcept;

    // Ends the child at once, without waiting. A child inside a request that the kernel cannot cancel lives until the request ends.
    void Kill() noexcept;

    // How the child ended; waits up to `timeout`. Empty when it is still running.
    [[nodiscard]] std::optional<ChildEnd> WaitForEnd(std::chrono::milliseconds timeout);

    // This program's own file.
    [[nodiscard]] static std::filesystem::path OwnProgram();

private:
    struct System;
    std::unique_ptr<System> m_System;
};

// The child's side of the two pipes.
class ChildPipe {
public:
    // `pipe` is the argument that replaced "{pipe}". From now on the process ignores Ctrl-C and leaves it to its parent.
    explicit ChildPipe(const std::string& pipe);

    // Both end the process when the parent no longer exists.
    void Write(std::string_view bytes) noexcept;
    void Read(std::span<char> buffer) noexcept;  // the whole buffer

private:
    std::intptr_t m_Pipe = -1;
};

}  // namespace orbis::host
