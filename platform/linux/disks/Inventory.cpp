#include "linux/disks/Inventory.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <utility>

#include "emulated/CaseFolding.h"
#include "emulated/DeviceIo.h"
#include "linux/disks/InstanceId.h"
#include "linux/kernel/Files.h"

namespace orbis::platform::linux_system {
namespace {

using NameOrder = std::vector<std::pair<std::size_t, std::string>>;

// Orders kernel names: by driver, the first two letters, then run by run. Numbers go by value; they have no leading zeros, so a
// longer one is greater. Letters go by length first, so that sdz precedes sdaa.
NameOrder OrderOf(const std::string& name)
{
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    NameOrder runs{{0, name.substr(0, 2)}};
    for (auto at = name.begin(); at != name.end();) {
        const auto end = std::find_if(at, name.end(), [&](char c) { return isDigit(c) != isDigit(*at); });
        runs.emplace_back(static_cast<std::size_t>(end - at), std::string(at, end));
        at = end;
    }
    return runs;
}

template <class Test>
std::optional<Disk> FirstWith(const std::vector<Disk>& disks, Test test)
{
    const auto found = std::ranges::find_if(disks, test);
    return found != disks.end() ? std::optional(*found) : std::nullopt;
}

}  // namespace

Inventory::Walk Inventory::Look()
{
    const Moment now = Moment::Now(m_Roots);  // before the walk: what changes while it is made must count as new
    {
        const std::scoped_lock lock(m_Lock);
        if (m_LastWalk != nullptr && now.Confirms(m_LastWalkMade)) {
            return m_LastWalk;
        }
    }
    std::map<NameOrder, std::string> names;
    for (const std::string& name : DirectoryNames(m_Roots.sys + "/block")) {
        names.emplace(OrderOf(name), name);
    }
    std::vector<Disk> disks;
    for (const auto& [order, name] : names) {
        if (std::optional<Disk> disk = ReadDisk(m_Roots, name)) {
            disks.push_back(std::move(*disk));
        }
    }
    const std::scoped_lock lock(m_Lock);
    m_LastWalk.reset();  // it holds the numbers of disks that are gone
    Number(disks);
    std::ranges::sort(disks, {}, &Disk::number);
    m_LastWalk = std::make_shared<const std::vector<Disk>>(std::move(disks));
    m_LastWalkMade = now;
    return m_LastWalk;
}

std::vector<Disk> Inventory::Disks()
{
    std::vector<Disk> disks;
    std::ranges::copy_if(*Look(), std::back_inserter(disks), &Disk::HasMedium);
    return disks;
}

std::optional<Disk> Inventory::Find(std::uint32_t number)
{
    return FirstWith(*Look(), [&](const Disk& disk) { return disk.number == number; });
}

std::optional<Disk> Inventory::FindByName(std::string_view name)
{
    return FirstWith(*Look(), [&](const Disk& disk) { return disk.name == name; });
}

std::optional<Disk> Inventory::FindByInterfacePath(std::string_view path)
{
    return FirstWith(
        *Look(), [&](const Disk& disk) { return emulated::EqualIgnoreCase(emulated::DiskInterfacePath(disk.instanceId), path); });
}

void Inventory::Number(std::vector<Disk>& disks)
{
    std::vector<bool> taken(m_Known.size(), false);
    std::vector<bool> numbered(disks.size(), false);
    std::vector<std::string> identities;
    std::ranges::transform(disks, std::back_inserter(identities), InstanceIdOf);
    const auto give = [&](std::size_t index, std::size_t number) {
        Disk& disk = disks[index];
        disk.number = static_cast<std::uint32_t>(number);
        disk.lease = m_Known[number].lease;
        disk.instanceId = m_Known[number].instanceId;
        m_Known[number].name = disk.name;
        taken[number] = true;
        numbered[index] = true;
    };
    // Disks that stayed where they were come first, so that a newcomer of the same identity cannot take their numbers; then those
    // that were plugged in again, under another kernel name.
    for (const bool sameName : {true, false}) {
        for (std::size_t i = 0; i < disks.size(); ++i) {
            for (std::size_t known = 0; known < m_Known.size() && !numbered[i]; ++known) {
                if (!taken[known] && m_Known[known].identity == identities[i] &&
                    (!sameName || m_Known[known].name == disks[i].name)) {
                    give(i, known);
                }
            }
        }
    }
    for (std::size_t i = 0; i < disks.size(); ++i) {
        if (!numbered[i]) {
            give(i, NewNumber(disks[i], identities[i], taken));
        }
    }
}

std::size_t Inventory::NewNumber(const Disk& disk, const std::string& identity, std::vector<bool>& taken)
{
    const bool isDouble = std::ranges::any_of(m_Known, [&](const Known& known) { return known.instanceId == identity; });
    std::size_t number = m_Known.size();
    // Callers keep a set of drives in 32 bits. Up to there a disk that is gone keeps its number, in case it comes back.
    if (constexpr std::size_t kNumbersInAMask = 32; number >= kNumbersInAMask) {
        for (std::size_t known = m_Known.size(); known-- > 0;) {
            number = !taken[known] && m_Known[known].lease.use_count() == 1 ? known : number;
        }
    }
    if (number == m_Known.size()) {
        m_Known.emplace_back();
        taken.push_back(false);
    }
    // Some makers give every unit the same serial number, and some disks have two paths.
    m_Known[number] = {disk.name, identity, isDouble ? identity + "&" + SlotDigits(disk) : identity, std::make_shared<int>()};
    return number;
}

}  // namespace orbis::platform::linux_system
