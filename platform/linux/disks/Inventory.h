#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "linux/disks/Disk.h"
#include "linux/kernel/Changes.h"

namespace orbis::platform::linux_system {

// The machine's physical disks in the one order that every port shares. The disks of the first look are numbered by kernel name,
// numbers in names counted as such (nvme0n1, nvme10n1, sda, sdb, sdaa); a disk that comes later gets the next number. A disk keeps
// its number while it is there and gets it back when it returns. From the 33rd on, a newcomer gets the first number of a disk that
// is gone and to which nothing refers. Safe to use from several threads.
class Inventory {
public:
    explicit Inventory(Roots roots) : m_Roots(std::move(roots)) {}

    // All disks present now, by ascending number. A drive without a medium (an empty card reader) has a number and can be found,
    // but is no disk to list.
    [[nodiscard]] std::vector<Disk> Disks();
    [[nodiscard]] std::optional<Disk> Find(std::uint32_t number);
    [[nodiscard]] std::optional<Disk> FindByName(std::string_view name);
    // By device interface path, ignoring case.
    [[nodiscard]] std::optional<Disk> FindByInterfacePath(std::string_view path);

private:
    // A disk that was seen once; its index is its drive number.
    struct Known {
        std::string name;        // where it was last
        std::string identity;    // instance id that its own texts give
        std::string instanceId;  // the same, or with its slot when another disk had it first
        std::shared_ptr<const void> lease;
    };

    // A walk through sysfs takes hundreds of system calls, and a collection asks for disks dozens of times: what one walk found
    // serves until something changed.
    using Walk = std::shared_ptr<const std::vector<Disk>>;
    [[nodiscard]] Walk Look();
    void Number(std::vector<Disk>& disks);  // under the lock
    [[nodiscard]] std::size_t NewNumber(const Disk& disk, const std::string& identity, std::vector<bool>& taken);

    const Roots m_Roots;
    std::mutex m_Lock;
    std::vector<Known> m_Known;
    Walk m_LastWalk;
    Moment m_LastWalkMade;
};

}  // namespace orbis::platform::linux_system
