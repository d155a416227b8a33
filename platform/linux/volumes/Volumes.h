#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "linux/disks/Inventory.h"
#include "linux/kernel/Changes.h"

namespace orbis::platform::linux_system {

// A name as proc writes it: blanks, tabs, line feeds and backslashes in octal ("\040").
[[nodiscard]] std::string UnescapeProcName(std::string_view text);

// One line of mountinfo.
struct Mount {
    std::string blockName;  // kernel name of the mounted block device; empty when there is none
    std::string root;       // the directory of the file system that is mounted
    std::string mountPoint;
};

// A mounted file system on one physical disk, as a drive letter.
struct Volume {
    char letter = '\0';
    std::uint32_t diskNumber = 0;
    std::string diskInstanceId;
    std::uint32_t partitionNumber = 0;  // 0: the file system has the whole disk
    std::string blockName;              // "sda2", "dm-0", "vda"
    std::string root;
    std::string mountPoint;
};

struct VolumeSet {
    std::vector<Volume> volumes;  // by letter
    std::vector<Mount> mounts;    // all of them, in mount order

    [[nodiscard]] const Volume* Find(char letter) const noexcept;
    // The volume that a file is on; null when it is on none of them.
    [[nodiscard]] const Volume* VolumeOf(const std::string& file) const;
    // The file's path with drive letter and backslashes ("C:\var\crash"); empty when it is on none of the volumes.
    [[nodiscard]] std::string WindowsPath(const std::string& file) const;
    // Letters on a disk, in partition order as far as letters follow it: "CD".
    [[nodiscard]] std::string LettersOf(std::uint32_t diskNumber) const;
    // The mount that shows a file; null without any.
    [[nodiscard]] const Mount* MountOf(const std::string& file) const;

private:
    [[nodiscard]] const Volume* VolumeOn(const Mount* mount) const noexcept;
};

// Drive letters. "/" is C: when it is on a physical disk, and no other mount is ever C:. The others get letters from D: on by
// disk and partition when first seen, and keep them for the life of this object; a letter is given anew only when its volume is
// gone and no other is left. A file system counts once, however often it is mounted. One on top of device-mapper counts when
// everything below it comes down to a single partition (encryption, a plain logical volume). Safe to use from several threads.
class Volumes {
public:
    Volumes(Roots roots, Inventory& inventory) : m_Roots(std::move(roots)), m_Inventory(inventory) {}

    [[nodiscard]] VolumeSet Current();

private:
    void GiveLetters(std::vector<Volume>& volumes);  // under the lock

    const Roots m_Roots;
    Inventory& m_Inventory;
    std::mutex m_Lock;
    std::map<std::string, char> m_Letters;  // by disk and partition of the volume
    // The last answer, and what it came from: a reader of counters asks once for each of them.
    VolumeSet m_LastSet;
    std::string m_LastMountInfo;
    Moment m_LastMade;
};

// The serial number of a file system as Windows shows a volume's: eight hexadecimal digits. FAT has just that; of longer
// identifiers NTFS gives its low half and the others their first eight digits. Read from the device, or where that is not allowed
// from the names that udev leaves, and from these alone unless it `mayOpen` the device. Empty when there is none.
[[nodiscard]] std::string ReadVolumeSerial(const Roots& roots, const std::string& blockName, bool mayOpen);

}  // namespace orbis::platform::linux_system
