#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "LinuxDisk.h"

namespace orbis::platform {

// The machine's physical disks in the one order that every port shares. A disk keeps its drive number for the life of this object,
// and no other disk ever gets it; a disk that comes later gets the next number. The disks of the first look are numbered by kernel
// name, numbers in names counted as such (nvme0n1, nvme10n1, sda, sdb, sdaa). Safe to use from several threads.
class LinuxInventory {
public:
    explicit LinuxInventory(Roots roots) : m_Roots(std::move(roots)) {}

    // All disks present now, by ascending number.
    [[nodiscard]] std::vector<LinuxDisk> Disks();
    // One disk, without a look at the others where possible: callers ask for every number there might be.
    [[nodiscard]] std::optional<LinuxDisk> Find(std::uint32_t number);
    [[nodiscard]] std::optional<LinuxDisk> FindByName(const std::string& name);
    // By device interface path, whatever the case of its letters.
    [[nodiscard]] std::optional<LinuxDisk> FindByInterfacePath(std::string_view path);

private:
    // A disk that was seen once; its index is its drive number.
    struct Known {
        std::string name;        // where it was last
        std::string identity;    // instance id that its own texts give
        std::string instanceId;  // the same, or with its slot when another disk had it first
    };

    // Which block devices there are, and in which slots.
    [[nodiscard]] std::vector<std::string> Listing() const;
    [[nodiscard]] bool HasNewDisks();
    [[nodiscard]] std::optional<LinuxDisk> Reread(std::uint32_t number, const Known& known) const;
    void Number(std::vector<LinuxDisk>& disks);
    [[nodiscard]] std::uint32_t NumberOf(const LinuxDisk& disk, const std::string& identity, std::vector<bool>& taken);

    const Roots m_Roots;
    std::mutex m_Lock;
    std::vector<Known> m_Known;
    std::vector<std::string> m_Listing;  // at the last walk
};

}  // namespace orbis::platform
