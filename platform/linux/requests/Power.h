#pragma once

#include "linux/disks/Disk.h"
#include "linux/kernel/Kernel.h"
#include "linux/requests/Control.h"
#include "platform/DeviceIo.h"

// The power state of a disk, asked for without waking it.
namespace orbis::platform::linux_system {

// Whether the kernel has put the disk to sleep: opening its node would wake it. Read from sysfs alone.
[[nodiscard]] bool IsSuspended(const Roots& roots, const Disk& disk);

// Whether the disk may have gone to sleep without the kernel noticing: a rotating ATA disk, also behind
// a bridge. NVMe drives save power by themselves and answer all the same; what does not rotate need not spin up.
[[nodiscard]] bool MaySleepByItself(const Disk& disk);
// CHECK POWER MODE (ACS-4, 7.3), which no drive wakes for. Unknown where a bridge does not pass it on, or not its answer.
[[nodiscard]] PowerState CheckPowerMode(const KernelDevice& device, BusType busType);

}  // namespace orbis::platform::linux_system
