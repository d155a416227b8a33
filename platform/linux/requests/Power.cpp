#include "linux/requests/Power.h"

#include "linux/kernel/Files.h"
#include "linux/requests/Requests.h"
#include "platform/protocol/Ata.h"

namespace orbis::platform::linux_system {

bool IsSuspended(const Roots& roots, const Disk& disk)
{
    const std::string status = ReadText(roots.sys + "/block/" + disk.name + "/device/power/runtime_status");
    return status == "suspended" || status == "suspending";
}

bool MaySleepByItself(const Disk& disk)
{
    const bool isAta = disk.busType == BusType::Ata || disk.busType == BusType::Sata || disk.busType == BusType::Usb ||
                       (disk.busType == BusType::Sas && disk.vendor == "ATA");
    return isAta && disk.mediaType != MediaType::Ssd;
}

PowerState CheckPowerMode(const KernelDevice& device, BusType busType)
{
    using namespace protocol::ata;
    constexpr std::uint32_t kSeconds = 5;  // it needs no medium, so it answers immediately or never
    AtaPassThroughDirect request;
    request.length = sizeof(request);
    request.timeOutValue = kSeconds;
    request.currentTaskFile[task_file::kCommand] = kCheckPowerMode;
    AtaPassThroughDirect answer;
    ControlBuffers buffers{std::as_bytes(std::span(&request, 1)), std::as_writable_bytes(std::span(&answer, 1))};
    if (RunAtaPassThrough(device, busType, buffers) != win32::kSuccess ||
        (answer.currentTaskFile[task_file::kStatus] & kStatusError) != 0) {
        return PowerState::Unknown;
    }
    const std::uint8_t mode = answer.currentTaskFile[task_file::kCount];
    const bool isAsleep = mode == kPowerStandby || mode == kPowerStandbyY || mode == kPowerSpunDown;
    return isAsleep ? PowerState::Asleep : PowerState::Awake;
}

}  // namespace orbis::platform::linux_system
