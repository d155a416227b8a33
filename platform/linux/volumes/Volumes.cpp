#include "linux/volumes/Volumes.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>
#include <tuple>

#include "linux/kernel/Files.h"

namespace orbis::platform::linux_system {
namespace {

constexpr std::size_t kMountInfoLimit = std::size_t{16} << 20;

struct DiskPartition {
    Disk disk;
    std::uint32_t partition = 0;
};

// File systems with several devices or subvolumes have their own device number; only the path names their device.
std::string BlockName(const Roots& roots, const std::string& deviceNumber, const std::string& source)
{
    if (!deviceNumber.starts_with("0:")) {
        return BaseName(LinkTarget(roots.sys + "/dev/block/" + deviceNumber));
    }
    constexpr std::string_view kDev = "/dev/";
    return source.starts_with(kDev) ? BaseName(RealPath(roots.dev + "/" + source.substr(kDev.size()))) : std::string();
}

// proc(5): id, parent, major:minor, root, mount point, options, optional fields, "-", type, source, options.
std::vector<Mount> ParseMounts(const Roots& roots, std::string_view mountInfo)
{
    std::vector<Mount> mounts;
    for (const std::string_view line : SplitLines(mountInfo)) {
        const std::vector<std::string_view> fields = SplitWords(line);
        const auto separator = std::ranges::find(fields, "-");
        if (fields.size() < 6 || fields.end() - separator < 3) {
            continue;
        }
        mounts.push_back({BlockName(roots, std::string(fields[2]), UnescapeProcName(separator[2])), UnescapeProcName(fields[3]),
                          UnescapeProcName(fields[4])});
    }
    return mounts;
}

// The disk, or the one partition, that everything below a block device comes down to. A partition's folder, to which its name in
// the class is a link, stands in its disk's.
std::optional<DiskPartition> PartitionOf(const Roots& roots, Inventory& inventory, const std::string& blockName, int depth = 0)
{
    constexpr int kDeepestStack = 8;
    const std::string folder = roots.sys + "/class/block/" + blockName;
    const std::string target = blockName.empty() ? std::string() : LinkTarget(folder);
    if (target.empty() || depth > kDeepestStack) {
        return std::nullopt;
    }
    if (const std::optional<std::uint64_t> partition = ReadNumber(folder + "/partition")) {
        std::optional<Disk> disk = inventory.FindByName(BaseName(target.substr(0, target.find_last_of('/'))));
        return disk ? std::optional(DiskPartition{std::move(*disk), static_cast<std::uint32_t>(*partition)}) : std::nullopt;
    }
    const std::vector<std::string> below = DirectoryNames(folder + "/slaves");
    if (below.size() == 1) {
        return PartitionOf(roots, inventory, below.front(), depth + 1);
    }
    std::optional<Disk> disk = below.empty() && Exists(folder + "/device") ? inventory.FindByName(blockName) : std::nullopt;
    return disk ? std::optional(DiskPartition{std::move(*disk), 0}) : std::nullopt;
}

bool IsBelow(std::string_view path, std::string_view directory)
{
    if (directory == "/") {
        return path.starts_with('/');
    }
    return path.starts_with(directory) && (path.size() == directory.size() || path[directory.size()] == '/');
}

// `path` seen from `directory`, which it is below: "" or "/rest".
std::string_view Beneath(std::string_view path, std::string_view directory)
{
    return directory == "/" ? (path == "/" ? std::string_view() : path) : path.substr(directory.size());
}

// Of several mounts of one file system, the one that shows most of it is chosen: "/" first, then the file system's own root,
// then the shortest and first name.
bool IsBetter(const Mount& left, const Mount& right)
{
    const auto rank = [](const Mount& mount) {
        return std::tuple<bool, bool, std::size_t, const std::string&>(mount.mountPoint != "/", mount.root != "/",
                                                                       mount.mountPoint.size(), mount.mountPoint);
    };
    return rank(left) < rank(right);
}

std::string LetterKey(const Volume& volume)
{
    return volume.diskInstanceId + '/' + std::to_string(volume.partitionNumber) + '/' + volume.blockName;
}

}  // namespace

std::string UnescapeProcName(std::string_view text)
{
    std::string out;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const auto isOctal = [&](std::size_t digit) {
            return at + digit < text.size() && text[at + digit] >= '0' && text[at + digit] <= '7';
        };
        if (text[at] == '\\' && isOctal(1) && isOctal(2) && isOctal(3)) {
            out += static_cast<char>((text[at + 1] - '0') * 64 + (text[at + 2] - '0') * 8 + (text[at + 3] - '0'));
            at += 3;
        } else {
            out += text[at];
        }
    }
    return out;
}

const Volume* VolumeSet::Find(char letter) const noexcept
{
    const auto volume = std::ranges::find(volumes, letter, &Volume::letter);
    return volume != volumes.end() ? &*volume : nullptr;
}

const Mount* VolumeSet::MountOf(const std::string& file) const
{
    const Mount* best = nullptr;
    for (const Mount& mount : mounts) {
        // A later mount of the same place hides the earlier one.
        if (IsBelow(file, mount.mountPoint) && (best == nullptr || mount.mountPoint.size() >= best->mountPoint.size())) {
            best = &mount;
        }
    }
    return best;
}

const Volume* VolumeSet::VolumeOn(const Mount* mount) const noexcept
{
    if (mount == nullptr || mount->blockName.empty()) {
        return nullptr;
    }
    const auto volume = std::ranges::find(volumes, mount->blockName, &Volume::blockName);
    return volume != volumes.end() ? &*volume : nullptr;
}

const Volume* VolumeSet::VolumeOf(const std::string& file) const { return VolumeOn(MountOf(file)); }

std::string VolumeSet::WindowsPath(const std::string& file) const
{
    const Mount* mount = MountOf(file);
    const Volume* volume = VolumeOn(mount);
    if (volume == nullptr) {
        return {};
    }
    std::string path = mount->root == "/" ? std::string() : mount->root;
    path += Beneath(file, mount->mountPoint);
    if (IsBelow(path, volume->root)) {
        path = Beneath(path, volume->root);
    }
    std::ranges::replace(path, '/', '\\');
    return std::string(1, volume->letter) + ':' + (path.empty() ? "\\" : path);
}

std::string VolumeSet::LettersOf(std::uint32_t diskNumber) const
{
    std::string letters;
    for (const Volume& volume : volumes) {
        if (volume.diskNumber == diskNumber) {
            letters += volume.letter;
        }
    }
    return letters;
}

VolumeSet Volumes::Current()
{
    const Moment now = Moment::Now(m_Roots);
    std::string mountInfo = ReadBytes(m_Roots.proc + "/self/mountinfo", kMountInfoLimit).value_or(std::string());
    {
        const std::scoped_lock lock(m_Lock);
        if (mountInfo == m_LastMountInfo && now.Confirms(m_LastMade)) {
            return m_LastSet;
        }
    }
    VolumeSet set;
    set.mounts = ParseMounts(m_Roots, mountInfo);
    std::map<std::string, const Mount*> chosen;
    const Mount* root = set.MountOf("/");
    for (const Mount& mount : set.mounts) {
        const bool isHiddenRoot = mount.mountPoint == "/" && &mount != root;
        if (!mount.blockName.empty() && !isHiddenRoot) {
            const auto [entry, isNew] = chosen.try_emplace(mount.blockName, &mount);
            if (!isNew && IsBetter(mount, *entry->second)) {
                entry->second = &mount;
            }
        }
    }
    for (const auto& [blockName, mount] : chosen) {
        if (const std::optional<DiskPartition> partition = PartitionOf(m_Roots, m_Inventory, blockName)) {
            set.volumes.push_back({'\0', partition->disk.number, partition->disk.instanceId, partition->partition, blockName,
                                   mount->root, mount->mountPoint});
        }
    }
    std::ranges::sort(set.volumes, {}, [](const Volume& volume) {
        return std::tuple<std::uint32_t, std::uint32_t, const std::string&>(volume.diskNumber, volume.partitionNumber,
                                                                            volume.blockName);
    });
    const std::scoped_lock lock(m_Lock);
    GiveLetters(set.volumes);
    m_LastSet = set;
    m_LastMountInfo = std::move(mountInfo);
    m_LastMade = now;
    return set;
}

void Volumes::GiveLetters(std::vector<Volume>& volumes)
{
    constexpr std::size_t kLetters = 26;
    std::array<bool, kLetters> isPresent{};
    std::array<bool, kLetters> isPromised{};
    const auto index = [](char letter) { return static_cast<std::size_t>(letter - 'A'); };
    for (Volume& volume : volumes) {
        const auto known = m_Letters.find(LetterKey(volume));
        if (volume.mountPoint == "/") {
            volume.letter = 'C';
        } else if (known != m_Letters.end() && !isPresent[index(known->second)]) {
            volume.letter = known->second;
            isPresent[index(volume.letter)] = true;
        }
    }
    for (const auto& [key, letter] : m_Letters) {
        isPromised[index(letter)] = true;
    }
    for (Volume& volume : volumes) {
        const auto take = [&](const std::array<bool, kLetters>& inUse) {
            for (char letter = 'D'; letter <= 'Z' && volume.letter == '\0'; ++letter) {
                volume.letter = inUse[index(letter)] ? '\0' : letter;
            }
        };
        if (volume.letter == '\0') {
            take(isPromised);
            take(isPresent);
            if (volume.letter != '\0') {
                std::erase_if(m_Letters, [&](const auto& entry) { return entry.second == volume.letter; });
                m_Letters.insert_or_assign(LetterKey(volume), volume.letter);
                isPresent[index(volume.letter)] = true;
                isPromised[index(volume.letter)] = true;
            }
        }
    }
    // More volumes than letters: as on Windows, the rest have none and no drive.
    std::erase_if(volumes, [](const Volume& volume) { return volume.letter == '\0'; });
    std::ranges::sort(volumes, {}, &Volume::letter);
}

}  // namespace orbis::platform::linux_system
