#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "linux/kernel/Kernel.h"

namespace orbis::platform::linux_system {

// Owns one file descriptor.
class UniqueFd {
public:
    UniqueFd() noexcept = default;
    explicit UniqueFd(int value) noexcept : m_Value(value) {}
    UniqueFd(UniqueFd&& other) noexcept : m_Value(std::exchange(other.m_Value, -1)) {}
    UniqueFd& operator=(UniqueFd&& other) noexcept
    {
        std::swap(m_Value, other.m_Value);
        return *this;
    }
    ~UniqueFd();

    [[nodiscard]] bool IsValid() const noexcept { return m_Value >= 0; }
    [[nodiscard]] int Get() const noexcept { return m_Value; }

private:
    int m_Value = -1;
};

// Opens for reading without waiting for a medium, closed on exec. Invalid with errno set on failure.
[[nodiscard]] UniqueFd OpenForReading(const std::string& path) noexcept;
[[nodiscard]] UniqueFd OpenDevice(const KernelCalls& calls, const std::string& path);

// The first `limit` bytes of a file; nothing, with errno set, when it cannot be read.
[[nodiscard]] std::optional<std::string> ReadBytes(const std::string& path, std::size_t limit = 65536);
// A sysfs attribute without the white space around it; empty when it cannot be read.
[[nodiscard]] std::string ReadText(const std::string& path);
// A decimal attribute.
[[nodiscard]] std::optional<std::uint64_t> ReadNumber(const std::string& path);

// Names in a directory, sorted, without "." and ".."; empty when it cannot be read.
[[nodiscard]] std::vector<std::string> DirectoryNames(const std::string& path);
[[nodiscard]] bool Exists(const std::string& path) noexcept;
// The path with every link followed; empty when there is no such file.
[[nodiscard]] std::string RealPath(const std::string& path);
// The target of a link, unresolved; empty when it is not a link.
[[nodiscard]] std::string LinkTarget(const std::string& path);
// A name in a directory.
[[nodiscard]] std::string PathIn(std::string_view directory, std::string_view name);
// The part after the last slash.
[[nodiscard]] std::string BaseName(const std::string& path);

// A whole text as a decimal number.
[[nodiscard]] std::optional<std::uint64_t> ParseNumber(std::string_view text) noexcept;
[[nodiscard]] std::string_view TrimSpace(std::string_view text) noexcept;
// Words between blanks and tabs.
[[nodiscard]] std::vector<std::string_view> SplitWords(std::string_view text);
[[nodiscard]] std::vector<std::string_view> SplitLines(std::string_view text);

}  // namespace orbis::platform::linux_system
