#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orbis::host {

// What is known of one physical disk. Texts are trimmed UTF-8; unknown values are empty.
struct Disk {
    std::string itemId;                   // "Disk_" and the PnP device id
    std::optional<std::uint32_t> number;  // the N of \\.\PhysicalDriveN
    std::string model;
    std::string serialNumber;
    std::map<std::string, std::string> letters;  // "C:" and the serial number of the volume in hexadecimal
    bool isNvme = false;
    std::optional<std::uint32_t> smartError;  // Win32 error of the last refused SMART request; 0: the device refused it
};

// The disks of the machine. Gives disks their names in output, and finds the disk that a user names.
class Disks {
public:
    // Adds a disk, or new information about one.
    void Learn(const Disk& disk);

    // The disk with this item id, or null.
    [[nodiscard]] const Disk* Find(std::string_view itemId) const;
    // "DISK0 VEYRA PX8 1TB"; the item id without "Disk_" for a disk that has no number here.
    [[nodiscard]] std::string NameOf(std::string_view itemId) const;
    // "DISK0"
    [[nodiscard]] std::string ShortNameOf(std::string_view itemId) const;
    // The letter of the volume with this serial number on the disk, or an empty text.
    [[nodiscard]] std::string LetterOf(std::string_view itemId, std::string_view volumeSerial) const;

    // Item ids of the disks that `selector` names: an item id or a name of above, a PnP device id, DISK0, 0, \\.\PhysicalDrive0,
    // C:, or a serial number, letters of either case. The first of these that fits a disk counts.
    [[nodiscard]] std::vector<std::string> Select(std::string_view selector) const;
    // The disks that can be selected, one line for each, to show when a selection matches none.
    [[nodiscard]] std::string List() const;

    [[nodiscard]] const std::vector<Disk>& All() const noexcept { return m_Disks; }

private:
    std::vector<Disk> m_Disks;  // by number, unnumbered ones last
};

}  // namespace orbis::host
