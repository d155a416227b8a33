#include "ChildProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <system_error>
#include <thread>
#include <utility>

extern char** environ;

namespace orbis::host {
namespace {

// The descriptor of the pipe in the child.
constexpr int kPipe = 3;

[[noreturn]] void Throw(const char* what, int error)
{
    throw ChildProcessError(std::string(what) + ": " + std::generic_category().message(error));
}

int Milliseconds(std::optional<ChildProcess::TimePoint> deadline)
{
    if (!deadline) {
        return -1;
    }
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(*deadline - std::chrono::steady_clock::now()).count();
    return static_cast<int>(std::clamp<std::int64_t>(left, 0, 1'000'000'000));
}

ChildEnd EndOf(int status) { return WIFSIGNALED(status) ? ChildEnd{WTERMSIG(status), true} : ChildEnd{WEXITSTATUS(status), false}; }

// A pipe whose ends close when another program is executed.
struct Pipe {
    std::array<int, 2> ends{-1, -1};

    Pipe()
    {
        if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
            Throw("a pipe could not be created", errno);
        }
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;
    ~Pipe()
    {
        for (const int end : ends) {
            if (end >= 0) {
                ::close(end);
            }
        }
    }
    [[nodiscard]] int Take(std::size_t end) { return std::exchange(ends.at(end), -1); }
};

}  // namespace

struct ChildProcess::System {
    pid_t process = -1;
    int output = -1;
    int input = -1;
    std::optional<ChildEnd> end;
};

ChildProcess::ChildProcess(const std::filesystem::path& program, std::vector<std::string> arguments)
    : m_System(std::make_unique<System>())
{
    Pipe output;
    Pipe input;
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, input.ends[0], STDIN_FILENO);
    ::posix_spawn_file_actions_adddup2(&actions, output.ends[1], kPipe);

    std::string name = program.string();
    std::vector<char*> argv{name.data()};
    for (std::string& argument : arguments) {
        argument = argument == "{pipe}" ? std::to_string(kPipe) : argument;
        argv.push_back(argument.data());
    }
    argv.push_back(nullptr);
    const int error = ::posix_spawn(&m_System->process, name.c_str(), &actions, nullptr, argv.data(), environ);
    ::posix_spawn_file_actions_destroy(&actions);
    if (error != 0) {
        Throw("the collecting process could not be started", error);
    }
    m_System->output = output.Take(0);
    m_System->input = input.Take(1);
}

ChildProcess::~ChildProcess()
{
    if (!WaitForEnd(std::chrono::milliseconds(0))) {
        Kill();
        // A killed process ends soon, unless it is in an uninterruptible request; then init reaps it later.
        static_cast<void>(WaitForEnd(std::chrono::milliseconds(200)));
    }
    ::close(m_System->output);
    ::close(m_System->input);
}

ChildProcess::Outcome ChildProcess::Wait(std::span<ChildProcess* const> children, std::optional<TimePoint> deadline)
{
    std::vector<pollfd> entries;
    for (const ChildProcess* child : children) {
        entries.push_back({child->m_System->output, POLLIN, 0});
    }
    const int ready = ::poll(entries.data(), entries.size(), Milliseconds(deadline));
    if (ready < 0 && errno != EINTR) {
        Throw("waiting for the collecting process failed", errno);
    }
    return ready < 0 ? Outcome::Interrupted : ready == 0 ? Outcome::TimedOut : Outcome::Readable;
}

bool ChildProcess::IsReadable()
{
    pollfd entry{m_System->output, POLLIN, 0};
    return ::poll(&entry, 1, 0) > 0;
}

std::size_t ChildProcess::Read(std::span<char> buffer)
{
    ssize_t got = 0;
    do {
        got = ::read(m_System->output, buffer.data(), buffer.size());
    } while (got < 0 && errno == EINTR);
    if (got < 0) {
        Throw("reading from the collecting process failed", errno);
    }
    return static_cast<std::size_t>(got);
}

void ChildProcess::Write(std::string_view bytes) noexcept
{
    while (!bytes.empty()) {
        const ssize_t written = ::write(m_System->input, bytes.data(), bytes.size());
        if (written < 0 && errno != EINTR) {
            return;
        }
        bytes.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(written, 0)));
    }
}

void ChildProcess::Kill() noexcept
{
    if (!m_System->end) {
        ::kill(m_System->process, SIGKILL);
    }
}

std::optional<ChildEnd> ChildProcess::WaitForEnd(std::chrono::milliseconds timeout)
{
    const auto until = std::chrono::steady_clock::now() + timeout;
    while (!m_System->end) {
        int status = 0;
        const pid_t ended = ::waitpid(m_System->process, &status, WNOHANG);
        if (ended == m_System->process) {
            m_System->end = EndOf(status);
        } else if (ended < 0 && errno != EINTR) {
            m_System->end = ChildEnd{};  // already reaped elsewhere
        } else if (std::chrono::steady_clock::now() >= until) {
            break;
        } else {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }
    return m_System->end;
}

std::filesystem::path ChildProcess::OwnProgram()
{
    // The link itself, not its target: it refers to this program even after the file was replaced.
    return "/proc/self/exe";
}

ChildPipe::ChildPipe(const std::string& pipe) : m_Pipe(std::atoi(pipe.c_str()))
{
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    ::signal(SIGINT, SIG_IGN);
}

void ChildPipe::Write(std::string_view bytes) noexcept
{
    while (!bytes.empty()) {
        const ssize_t written = ::write(static_cast<int>(m_Pipe), bytes.data(), bytes.size());
        if (written < 0 && errno != EINTR) {
            ::_exit(1);
        }
        bytes.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(written, 0)));
    }
}

void ChildPipe::Read(std::span<char> buffer) noexcept
{
    while (!buffer.empty()) {
        const ssize_t got = ::read(STDIN_FILENO, buffer.data(), buffer.size());
        if (got == 0 || (got < 0 && errno != EINTR)) {
            ::_exit(1);
        }
        buffer = buffer.subspan(static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
    }
}

}  // namespace orbis::host
