#include "CapturedMachine.h"

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <utility>

#include <fcntl.h>
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

namespace orbis::tests {
namespace {

std::string Unescaped(const std::string& text)
{
    std::string out;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (text[at] == '\\' && at + 3 < text.size() && text[at + 1] == 'x') {
            out += static_cast<char>(std::stoi(text.substr(at + 2, 2), nullptr, 16));
            at += 3;
        } else {
            out += text[at];
        }
    }
    return out;
}

}  // namespace

CapturedTree CapturedTree::Named(const std::string& name)
{
    std::ifstream file("testdata/" + name);
    if (!file) {
        throw std::runtime_error("no tree " + name);
    }
    std::ostringstream text;
    text << file.rdbuf();
    return CapturedTree(text.str());
}

CapturedTree::CapturedTree(const std::string& text)
{
    // Hundreds of small files: in memory where there is room for them.
    const std::filesystem::path memory = "/dev/shm";
    const bool isWritable = ::access(memory.c_str(), W_OK) == 0;
    std::string name = ((isWritable ? memory : std::filesystem::temp_directory_path()) / "orbis-tree-XXXXXX").string();
    if (::mkdtemp(name.data()) == nullptr) {
        throw std::runtime_error("no folder for a tree");
    }
    m_Folder = name;
    Add(text);
}

CapturedTree::CapturedTree(CapturedTree&& other) noexcept : m_Folder(std::exchange(other.m_Folder, {})) {}

CapturedTree::~CapturedTree()
{
    std::error_code ignored;
    if (!m_Folder.empty()) {
        for (const auto& file : std::filesystem::directory_iterator("/proc/self/fd")) {
            const std::filesystem::path target = std::filesystem::read_symlink(file, ignored);
            EXPECT_FALSE(target.native().starts_with(m_Folder.native())) << target << " is still open";
        }
        std::filesystem::remove_all(m_Folder, ignored);
    }
}

void CapturedTree::Add(const std::string& text)
{
    constexpr std::string_view kBar = " | ";
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        const std::size_t bar = line.find(kBar);
        if (bar == std::string::npos && !line.empty()) {
            AddOne(line);
        }
        for (std::size_t at = bar; at != std::string::npos;) {
            const std::size_t start = at + kBar.size();
            at = line.find(kBar, start);
            const std::string one = line.substr(start, at == std::string::npos ? at : at - start);
            if (one.starts_with("<- ")) {
                Link(one.substr(3), m_Folder / line.substr(0, bar));
            } else {
                AddOne(line.substr(0, bar) + "/" + one);
            }
        }
    }
}

void CapturedTree::AddOne(const std::string& line)
{
    const std::size_t link = line.find(" -> ");
    const std::size_t file = line.find(" = ");
    if (file < link) {
        Write(line.substr(0, file), Unescaped(line.substr(file + 3)));
    } else if (link != std::string::npos) {
        Link(line.substr(0, link), line.substr(link + 4));
    } else {
        throw std::runtime_error("no line of a tree: " + line);
    }
}

void CapturedTree::Link(const std::string& path, const std::filesystem::path& target)
{
    const std::filesystem::path full = m_Folder / path;
    std::filesystem::create_directories(full.parent_path());
    std::filesystem::remove(full);
    std::filesystem::create_symlink(target.is_absolute() ? target.lexically_relative(full.parent_path()) : target, full);
    if (path.starts_with("sys/class/block/")) {
        Write("dev/" + full.filename().string(), {});
    }
}

void CapturedTree::Write(const std::string& path, const std::string& content)
{
    const std::filesystem::path full = m_Folder / path;
    std::filesystem::create_directories(full.parent_path());
    std::ofstream(full, std::ios::binary) << content;
}

void CapturedTree::Append(const std::string& path, const std::string& line)
{
    std::filesystem::create_directories((m_Folder / path).parent_path());
    std::ofstream(m_Folder / path, std::ios::app) << line << '\n';
}

platform::linux_system::Roots CapturedTree::Roots() const
{
    return {(m_Folder / "sys").string(), (m_Folder / "proc").string(), (m_Folder / "dev").string()};
}

std::string ScsiDiskLines(const std::string& name, const std::string& position, const std::string& model, const std::string& serial,
                          std::uint64_t bytes)
{
    const std::string page = serial.empty() ? "" : fmt::format(" | vpd_pg80 = \\x00\\x80\\x00\\x{:02x}{}", serial.size(), serial);
    return fmt::format(
        "sys/devices/{1} | subsystem -> ../../bus/scsi | type = 0 | vendor = ACME | model = {3}{4}\n"
        "sys/devices/{1}/block/{0} | <- sys/block/{0} | <- sys/class/block/{0} | device -> ../.. | size = {2}\n",
        name, position, bytes / 512, model, page);
}

platform::linux_system::KernelCalls PlayedDrives::Calls()
{
    platform::linux_system::KernelCalls calls;
    calls.open = [this](const char* path, int flags) {
        openFlags = flags;
        if (std::ranges::find(denied, std::filesystem::path(path).filename().string()) != denied.end()) {
            errno = EACCES;
            return -1;
        }
        return ::open(path, flags);
    };
    calls.ioctl = [this](int descriptor, unsigned long request, void* argument) {
        const std::string node = std::filesystem::read_symlink(fmt::format("/proc/self/fd/{}", descriptor)).filename().string();
        if (ioctl) {
            return ioctl(node, request, argument);
        }
        errno = ENOTTY;
        return -1;
    };
    calls.fstat = [this](int descriptor, struct stat* status) {
        const int result = ::fstat(descriptor, status);
        if (deviceNumber) {
            status->st_mode = S_IFBLK;
            status->st_rdev = *deviceNumber;
        }
        return result;
    };
    calls.monotonicClock = [this] { return now; };
    return calls;
}

}  // namespace orbis::tests
