#pragma once

#include "linux/requests/Control.h"
#include "platform/Requests.h"

namespace orbis::platform::linux_system {

// IOCTL_ATA_PASS_THROUGH_DIRECT, sent as an ATA PASS-THROUGH(16) (SAT). A command that the drive aborts is an answer with the error
// bit in its status register, no failure. The drive's registers come back in the current task file for commands without data; where
// they are not requested, a good status means that the drive reported no error.
[[nodiscard]] Win32Error RunAtaPassThrough(const KernelDevice& device, BusType busType, ControlBuffers& buffers);

}  // namespace orbis::platform::linux_system
