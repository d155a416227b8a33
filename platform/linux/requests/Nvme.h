#pragma once

#include "linux/requests/Control.h"

// NVMe requests, sent as admin commands through the kernel's pass-through (NVM Express Base Specification 1.4).
namespace orbis::platform::linux_system {

// IOCTL_STORAGE_QUERY_PROPERTY with protocol-specific data: Identify, Get Log Page.
[[nodiscard]] Win32Error QueryNvmeProtocolData(const KernelDevice& device, ControlBuffers& buffers);
// IOCTL_STORAGE_PROTOCOL_COMMAND: a whole admin command. The NVMe status goes into the answer's error code.
[[nodiscard]] Win32Error RunNvmeProtocolCommand(const KernelDevice& device, ControlBuffers& buffers);

}  // namespace orbis::platform::linux_system
