#pragma once

#include <string>

#include "linux/kernel/Kernel.h"

namespace orbis::platform::linux_system {

// The serial number of a file system as Windows shows a volume's: eight hexadecimal digits. FAT has just that; of longer
// identifiers NTFS gives its low half and the others their first eight digits. Read from the device, or where that is not allowed
// from the names that udev leaves, and from these alone unless it `mayOpen` the device. Empty when there is none.
[[nodiscard]] std::string ReadVolumeSerial(const Roots& roots, const std::string& blockName, bool mayOpen);

}  // namespace orbis::platform::linux_system
