#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "linux/ports/Platform.h"

namespace orbis::tests {

// A tree in the form that tools/capture-sysfs.sh writes, unpacked into a folder that goes with this object: "PATH -> TARGET" makes
// a link, "PATH = CONTENT" a file, with \xNN for any byte. "FOLDER | NAME -> TARGET | NAME = CONTENT | <- PATH" says all of one
// folder in one line; "<-" makes a link at PATH to the folder. Every block device gets a node, an empty file unless a test writes
// it.
class CapturedTree {
public:
    // Of a file in trees/, a copy of which stands beside the program.
    static CapturedTree Named(const std::string& name);
    explicit CapturedTree(const std::string& text);
    CapturedTree(CapturedTree&& other) noexcept;
    CapturedTree(const CapturedTree&) = delete;
    ~CapturedTree();

    void Add(const std::string& text);
    void Remove(const std::string& path) { std::filesystem::remove_all(m_Folder / path); }
    void Write(const std::string& path, const std::string& content);
    // A line more at the end of a file.
    void Append(const std::string& path, const std::string& line);

    [[nodiscard]] platform::linux_system::Roots Roots() const;
    [[nodiscard]] std::filesystem::path Path(const std::string& path) const { return m_Folder / path; }

private:
    void AddOne(const std::string& line);
    void Link(const std::string& path, const std::filesystem::path& target);

    std::filesystem::path m_Folder;
};

// Lines for disks that no captured machine had.
[[nodiscard]] std::string ScsiDiskLines(const std::string& name, const std::string& position, const std::string& model,
                                        const std::string& serial, std::uint64_t bytes);

// Drives that a test simulates: rights, and answers to requests, by the name of the device's node.
struct PlayedDrives {
    std::function<int(const std::string& node, unsigned long request, void* argument)> ioctl;
    std::vector<std::string> denied;            // nodes that may not be opened
    std::chrono::nanoseconds now{1'000'000};    // of the monotonic clock
    int openFlags = 0;                          // of the last node that was opened
    std::optional<std::uint64_t> deviceNumber;  // of every node, which is then a block device

    [[nodiscard]] platform::linux_system::KernelCalls Calls();
};

}  // namespace orbis::tests
