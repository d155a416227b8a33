#pragma once

#include "LinuxControl.h"
#include "platform/Requests.h"

namespace orbis::platform {

// IOCTL_ATA_PASS_THROUGH_DIRECT, sent as an ATA PASS-THROUGH(16) (SAT). The drive's registers come back in the current task file; a
// command that the drive aborts is an answer with its error bit set, no failure. USB bridges are not asked for the registers, which
// many of them hang on: a good status of the bridge stands for a drive without error.
[[nodiscard]] Win32Error RunAtaPassThrough(const KernelDevice& device, BusType busType, ControlBuffers& buffers);

}  // namespace orbis::platform
