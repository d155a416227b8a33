#include "linux/kernel/Files.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <climits>
#include <cstdlib>
#include <memory>
#include <string_view>
#include <system_error>

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

namespace orbis::platform::linux_system {
namespace {

constexpr int kReading = O_RDONLY | O_NONBLOCK | O_CLOEXEC;

struct CloseDirectory {
    void operator()(DIR* directory) const noexcept { ::closedir(directory); }
};
struct FreeText {
    void operator()(char* text) const noexcept { std::free(text); }
};

std::vector<std::string_view> Split(std::string_view text, std::string_view separators)
{
    std::vector<std::string_view> parts;
    for (std::size_t at = 0; (at = text.find_first_not_of(separators, at)) != std::string_view::npos;) {
        const std::size_t end = std::min(text.find_first_of(separators, at), text.size());
        parts.push_back(text.substr(at, end - at));
        at = end;
    }
    return parts;
}

}  // namespace

UniqueFd::~UniqueFd()
{
    if (IsValid()) {
        ::close(m_Value);
    }
}

UniqueFd OpenForReading(const std::string& path) noexcept
{
    int descriptor = -1;
    do {
        descriptor = ::open(path.c_str(), kReading);
    } while (descriptor < 0 && errno == EINTR);
    return UniqueFd(descriptor);
}

UniqueFd OpenDevice(const KernelCalls& calls, const std::string& path)
{
    return calls.open ? UniqueFd(calls.open(path.c_str(), kReading)) : OpenForReading(path);
}

std::optional<std::string> ReadBytes(const std::string& path, std::size_t limit)
{
    const UniqueFd file = OpenForReading(path);
    if (!file.IsValid()) {
        return std::nullopt;
    }
    // Attributes of sysfs and proc do not report their size.
    std::string content;
    std::array<char, 4096> piece;  // NOLINT(cppcoreguidelines-pro-type-member-init): read(2) fills it
    while (content.size() < limit) {
        const ssize_t got = ::read(file.Get(), piece.data(), std::min(piece.size(), limit - content.size()));
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got < 0) {
            return std::nullopt;
        }
        if (got == 0) {
            break;
        }
        content.append(piece.data(), static_cast<std::size_t>(got));
    }
    return content;
}

std::string ReadText(const std::string& path)
{
    const std::optional<std::string> content = ReadBytes(path);
    return content ? std::string(TrimSpace(*content)) : std::string();
}

std::optional<std::uint64_t> ReadNumber(const std::string& path) { return ParseNumber(ReadText(path)); }

std::vector<std::string> DirectoryNames(const std::string& path)
{
    std::vector<std::string> names;
    const std::unique_ptr<DIR, CloseDirectory> directory(::opendir(path.c_str()));
    // NOLINTNEXTLINE(concurrency-mt-unsafe): glibc's is safe, since each thread has its own stream
    while (const dirent* const entry = directory != nullptr ? ::readdir(directory.get()) : nullptr) {
        if (const std::string_view name = entry->d_name; name != "." && name != "..") {
            names.emplace_back(name);
        }
    }
    std::ranges::sort(names);
    return names;
}

bool Exists(const std::string& path) noexcept { return ::access(path.c_str(), F_OK) == 0; }

std::string RealPath(const std::string& path)
{
    const std::unique_ptr<char, FreeText> real(::realpath(path.c_str(), nullptr));
    return real != nullptr ? real.get() : std::string();
}

std::string LinkTarget(const std::string& path)
{
    std::array<char, PATH_MAX> target;  // NOLINT(cppcoreguidelines-pro-type-member-init): readlink(2) fills it
    const ssize_t length = ::readlink(path.c_str(), target.data(), target.size());
    return length > 0 ? std::string(target.data(), static_cast<std::size_t>(length)) : std::string();
}

std::string PathIn(std::string_view directory, std::string_view name)
{
    std::string path;
    path.reserve(directory.size() + 1 + name.size());
    return path.append(directory).append(1, '/').append(name);
}

std::string BaseName(const std::string& path)
{
    const std::size_t slash = path.find_last_of('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

std::optional<std::uint64_t> ParseNumber(std::string_view text) noexcept
{
    std::uint64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc() && end == text.data() + text.size() ? std::optional(value) : std::nullopt;
}

std::string_view TrimSpace(std::string_view text) noexcept
{
    constexpr std::string_view kSpace(" \t\r\n\0", 5);
    const std::size_t first = text.find_first_not_of(kSpace);
    return first == std::string_view::npos ? std::string_view() : text.substr(first, text.find_last_not_of(kSpace) - first + 1);
}

std::vector<std::string_view> SplitWords(std::string_view text) { return Split(text, " \t"); }
std::vector<std::string_view> SplitLines(std::string_view text) { return Split(text, "\n"); }

}  // namespace orbis::platform::linux_system
