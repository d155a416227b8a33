#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "linux/requests/Control.h"
#include "platform/Errors.h"
#include "platform/protocol/Scsi.h"

namespace orbis::platform::linux_system {

// One command through the SCSI generic interface.
struct ScsiCommand {
    std::span<const std::uint8_t> cdb;
    std::uint32_t dataLength = 0;  // bytes from the device; 0 for none
    std::uint32_t timeoutSeconds = 0;
    std::uint8_t senseLength = 64;
};

struct ScsiOutcome {
    Win32Error error = win32::kSuccess;  // the command did not reach the device or came back without a status
    std::uint8_t status = protocol::scsi::kGood;
    std::vector<std::byte> data;  // as long as asked, zeros past what came
    std::uint32_t transferred = 0;
    std::vector<std::uint8_t> sense;  // as much as came
};

[[nodiscard]] ScsiOutcome SendScsi(const KernelDevice& device, const ScsiCommand& command);

}  // namespace orbis::platform::linux_system
