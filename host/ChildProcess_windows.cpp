#include "ChildProcess.h"

#include <windows.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <system_error>
#include <utility>

#include "platform/Text.h"

namespace orbis::host {
namespace {

[[noreturn]] void Throw(const char* what, DWORD error)
{
    throw ChildProcessError(std::string(what) + ": " + std::system_category().message(static_cast<int>(error)));
}

class Handle {
public:
    Handle() noexcept = default;
    explicit Handle(HANDLE value) noexcept : m_Value(value == INVALID_HANDLE_VALUE ? nullptr : value) {}
    Handle(Handle&& other) noexcept : m_Value(std::exchange(other.m_Value, nullptr)) {}
    Handle& operator=(Handle&& other) noexcept
    {
        std::swap(m_Value, other.m_Value);
        return *this;
    }
    ~Handle()
    {
        if (m_Value != nullptr) {
            ::CloseHandle(m_Value);
        }
    }
    [[nodiscard]] HANDLE Get() const noexcept { return m_Value; }

private:
    HANDLE m_Value = nullptr;
};

// An argument as CommandLineToArgvW splits it: backslashes count only in front of a quotation mark.
void AppendQuoted(std::wstring& line, const std::wstring& argument)
{
    line += L'"';
    std::size_t backslashes = 0;
    for (const wchar_t letter : argument) {
        if (letter == L'\\') {
            ++backslashes;
            continue;
        }
        line.append(letter == L'"' ? backslashes * 2 + 1 : backslashes, L'\\');
        backslashes = 0;
        line += letter;
    }
    line.append(backslashes * 2, L'\\');
    line += L'"';
}

std::wstring Wide(std::string_view utf8)
{
    const std::u16string text = platform::Utf8ToUtf16(utf8);
    return {text.begin(), text.end()};
}

// A copy of a standard handle that a child inherits.
Handle Inheritable(DWORD standard)
{
    HANDLE copy = nullptr;
    const HANDLE process = ::GetCurrentProcess();
    ::DuplicateHandle(process, ::GetStdHandle(standard), process, &copy, 0, TRUE, DUPLICATE_SAME_ACCESS);
    return Handle(copy);
}

// The console's Ctrl-C, as an event that a wait can end on.
HANDLE InterruptEvent()
{
    static const HANDLE event = [] {
        const HANDLE made = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
        return made;
    }();
    return event;
}
BOOL WINAPI OnConsoleEvent(DWORD)
{
    ::SetEvent(InterruptEvent());
    return FALSE;  // other handlers run too
}

}  // namespace

struct ChildProcess::System {
    Handle process;
    Handle job;     // ends the child with this process
    Handle output;  // overlapped
    Handle input;
    Handle readEvent;  // manual reset
    OVERLAPPED reading{};
    std::vector<char> pending = std::vector<char>(65536);
    bool isReading = false;
    std::optional<ChildEnd> end;

    ~System()
    {
        if (isReading) {
            DWORD ignored = 0;
            ::CancelIoEx(output.Get(), &reading);
            ::GetOverlappedResult(output.Get(), &reading, &ignored, TRUE);
        }
    }

    // Starts a read, unless one is pending. A closed pipe counts as readable.
    void Begin()
    {
        if (isReading) {
            return;
        }
        reading = {};
        reading.hEvent = readEvent.Get();
        isReading = true;
        if (::ReadFile(output.Get(), pending.data(), static_cast<DWORD>(pending.size()), nullptr, &reading) == 0 &&
            ::GetLastError() != ERROR_IO_PENDING) {
            isReading = false;
            ::SetEvent(readEvent.Get());
        }
    }
};

ChildProcess::ChildProcess(const std::filesystem::path& program, std::vector<std::string> arguments)
    : m_System(std::make_unique<System>())
{
    static const bool isWatched = ::SetConsoleCtrlHandler(OnConsoleEvent, TRUE) != 0;
    static_cast<void>(isWatched);
    // Overlapped reads need a named pipe. Its name has this process's id and a number, and it accepts one client.
    static std::atomic<unsigned> number{0};
    const std::wstring name =
        L"\\\\.\\pipe\\orbis-host-" + std::to_wstring(::GetCurrentProcessId()) + L"-" + std::to_wstring(number.fetch_add(1));
    m_System->output =
        Handle(::CreateNamedPipeW(name.c_str(), PIPE_ACCESS_INBOUND | FILE_FLAG_OVERLAPPED | FILE_FLAG_FIRST_PIPE_INSTANCE,
                                  PIPE_TYPE_BYTE | PIPE_REJECT_REMOTE_CLIENTS, 1, 65536, 65536, 0, nullptr));
    if (m_System->output.Get() == nullptr) {
        Throw("a pipe could not be created", ::GetLastError());
    }
    SECURITY_ATTRIBUTES inherited{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
    HANDLE inputRead = nullptr;
    HANDLE inputWrite = nullptr;
    if (::CreatePipe(&inputRead, &inputWrite, &inherited, 65536) == 0) {
        Throw("a pipe could not be created", ::GetLastError());
    }
    const Handle input(inputRead);
    m_System->input = Handle(inputWrite);
    ::SetHandleInformation(inputWrite, HANDLE_FLAG_INHERIT, 0);
    const Handle write(::CreateFileW(name.c_str(), GENERIC_WRITE, 0, &inherited, OPEN_EXISTING, 0, nullptr));
    m_System->readEvent = Handle(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
    if (write.Get() == nullptr || m_System->readEvent.Get() == nullptr) {
        Throw("a pipe could not be created", ::GetLastError());
    }

    std::wstring line;
    AppendQuoted(line, program.wstring());
    for (const std::string& argument : arguments) {
        line += L' ';
        AppendQuoted(line, argument == "{pipe}" ? std::to_wstring(reinterpret_cast<std::uintptr_t>(write.Get())) : Wide(argument));
    }
    const Handle output = Inheritable(STD_OUTPUT_HANDLE);
    const Handle error = Inheritable(STD_ERROR_HANDLE);
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = input.Get();
    startup.hStdOutput = output.Get();
    startup.hStdError = error.Get();
    PROCESS_INFORMATION started{};
    // In a process group of its own the child does not receive Ctrl-C; the parent does, and ends the child.
    if (::CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, TRUE, CREATE_NEW_PROCESS_GROUP, nullptr, nullptr, &startup,
                         &started) == 0) {
        Throw("the collecting process could not be started", ::GetLastError());
    }
    ::CloseHandle(started.hThread);
    m_System->process = Handle(started.hProcess);
    m_System->job = Handle(::CreateJobObjectW(nullptr, nullptr));
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
    ::SetInformationJobObject(m_System->job.Get(), JobObjectExtendedLimitInformation, &limits, sizeof limits);
    ::AssignProcessToJobObject(m_System->job.Get(), started.hProcess);
}

ChildProcess::~ChildProcess()
{
    if (!WaitForEnd(std::chrono::milliseconds(0))) {
        Kill();
    }
}

ChildProcess::Outcome ChildProcess::Wait(std::span<ChildProcess* const> children, std::optional<TimePoint> deadline)
{
    std::vector<HANDLE> events{InterruptEvent()};
    for (const ChildProcess* child : children) {
        child->m_System->Begin();
        events.push_back(child->m_System->readEvent.Get());
    }
    DWORD milliseconds = INFINITE;
    if (deadline) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(*deadline - std::chrono::steady_clock::now()).count();
        milliseconds = static_cast<DWORD>(std::clamp<std::int64_t>(left, 0, 1'000'000'000));
    }
    const DWORD result = ::WaitForMultipleObjects(static_cast<DWORD>(events.size()), events.data(), FALSE, milliseconds);
    if (result == WAIT_FAILED) {
        Throw("waiting for the collecting process failed", ::GetLastError());
    }
    return result == WAIT_TIMEOUT ? Outcome::TimedOut : result == WAIT_OBJECT_0 ? Outcome::Interrupted : Outcome::Readable;
}

bool ChildProcess::IsReadable()
{
    m_System->Begin();
    return ::WaitForSingleObject(m_System->readEvent.Get(), 0) == WAIT_OBJECT_0;
}

std::size_t ChildProcess::Read(std::span<char> buffer)
{
    System& system = *m_System;
    system.Begin();
    DWORD got = 0;
    if (!system.isReading) {
        return 0;
    }
    const BOOL isDone = ::GetOverlappedResult(system.output.Get(), &system.reading, &got, TRUE);
    system.isReading = false;
    if (isDone == 0) {
        const DWORD error = ::GetLastError();
        if (error == ERROR_BROKEN_PIPE) {
            return 0;
        }
        Throw("reading from the collecting process failed", error);
    }
    const std::size_t size = std::min<std::size_t>(got, buffer.size());
    std::copy_n(system.pending.begin(), size, buffer.begin());
    return size;
}

void ChildProcess::Write(std::string_view bytes) noexcept
{
    DWORD written = 0;
    while (!bytes.empty() &&
           ::WriteFile(m_System->input.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) != 0) {
        bytes.remove_prefix(written);
    }
}

void ChildProcess::Kill() noexcept { ::TerminateProcess(m_System->process.Get(), 1); }

std::optional<ChildEnd> ChildProcess::WaitForEnd(std::chrono::milliseconds timeout)
{
    if (!m_System->end && ::WaitForSingleObject(m_System->process.Get(), static_cast<DWORD>(timeout.count())) == WAIT_OBJECT_0) {
        DWORD status = 0;
        ::GetExitCodeProcess(m_System->process.Get(), &status);
        // An exception's code has both top bits set; abort() ends with 3, which is also an exit status of this program.
        m_System->end = ChildEnd{static_cast<int>(status), (status & 0xC0000000U) == 0xC0000000U};
    }
    return m_System->end;
}

std::filesystem::path ChildProcess::OwnProgram()
{
    std::wstring path(MAX_PATH, L'\0');
    for (;;) {
        const DWORD length = ::GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
        if (length < path.size()) {
            return path.substr(0, length);
        }
        path.resize(path.size() * 2);
    }
}

ChildPipe::ChildPipe(const std::string& pipe) : m_Pipe(static_cast<std::intptr_t>(std::strtoull(pipe.c_str(), nullptr, 10))) {}

void ChildPipe::Write(std::string_view bytes) noexcept
{
    while (!bytes.empty()) {
        DWORD written = 0;
        if (::WriteFile(reinterpret_cast<HANDLE>(m_Pipe), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) == 0) {
            ::ExitProcess(1);
        }
        bytes.remove_prefix(written);
    }
}

void ChildPipe::Read(std::span<char> buffer) noexcept
{
    const HANDLE input = ::GetStdHandle(STD_INPUT_HANDLE);
    while (!buffer.empty()) {
        DWORD got = 0;
        if (::ReadFile(input, buffer.data(), static_cast<DWORD>(buffer.size()), &got, nullptr) == 0 || got == 0) {
            ::ExitProcess(1);
        }
        buffer = buffer.subspan(got);
    }
}

}  // namespace orbis::host
