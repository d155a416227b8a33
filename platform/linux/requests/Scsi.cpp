#include "linux/requests/Scsi.h"

#include <algorithm>
#include <array>
#include <cerrno>

#include <scsi/sg.h>

#include "emulated/PassThrough.h"
#include "linux/requests/ReadOnly.h"
#include "linux/requests/Requests.h"
#include "platform/Requests.h"

namespace orbis::platform::linux_system {
namespace {

// The kernel's host byte (scsi_status.h): the result of the command's transport.
Win32Error Win32FromHostStatus(std::uint32_t hostStatus)
{
    // OK, no connection, bus busy, time-out, bad target
    constexpr std::array kErrors{win32::kSuccess, win32::kNoSuchDevice, win32::kBusy, win32::kSemTimeout, win32::kNoSuchDevice};
    return hostStatus < kErrors.size() ? kErrors[hostStatus] : win32::kIoDevice;
}

Win32Error Win32FromDriverStatus(std::uint32_t driverStatus)
{
    constexpr std::uint32_t kTimeout = 0x06;
    constexpr std::uint32_t kSuggestions = 0x07;  // bit 3 means that sense data is present
    const std::uint32_t status = driverStatus & kSuggestions;
    return status == 0 ? win32::kSuccess : status == kTimeout ? win32::kSemTimeout : win32::kIoDevice;
}

}  // namespace

ScsiOutcome SendScsi(const KernelDevice& device, const ScsiCommand& command)
{
    ScsiOutcome outcome;
    outcome.data.resize(command.dataLength);
    outcome.sense.resize(command.senseLength);
    std::vector<std::uint8_t> cdb(command.cdb.begin(), command.cdb.end());
    sg_io_hdr_t request{};
    request.interface_id = 'S';
    request.dxfer_direction = command.dataLength != 0 ? SG_DXFER_FROM_DEV : SG_DXFER_NONE;
    request.cmd_len = static_cast<unsigned char>(cdb.size());
    request.cmdp = cdb.data();
    request.mx_sb_len = command.senseLength;
    request.sbp = outcome.sense.data();
    request.dxfer_len = command.dataLength;
    request.dxferp = outcome.data.data();
    request.timeout = KernelTimeout(command.timeoutSeconds);
    if (device.Ioctl(SG_IO, &request) < 0) {
        outcome.error = Win32FromErrno(errno);
        return outcome;
    }
    outcome.status = request.status;
    outcome.sense.resize(std::min(request.sb_len_wr, command.senseLength));
    const std::uint32_t left = request.resid > 0 ? static_cast<std::uint32_t>(request.resid) : 0;
    outcome.transferred = command.dataLength - std::min(left, command.dataLength);
    std::fill(outcome.data.begin() + outcome.transferred, outcome.data.end(), std::byte{0});
    if (outcome.status == protocol::scsi::kGood) {
        outcome.error = Win32FromHostStatus(request.host_status);
        outcome.error = outcome.error == win32::kSuccess ? Win32FromDriverStatus(request.driver_status) : outcome.error;
    }
    return outcome;
}

Win32Error RunScsiPassThrough(const KernelDevice& device, ControlBuffers& buffers)
{
    const auto request = buffers.Request<ScsiPassThroughDirect>();
    const Win32Error malformed = emulated::CheckPassThrough(request, buffers.out.size());
    if (malformed != win32::kSuccess || request->dataTransferLength > emulated::kLargestTransfer) {
        return malformed != win32::kSuccess ? malformed : win32::kInvalidParameter;
    }
    const std::size_t senseAt = request->senseInfoOffset;
    const std::size_t senseEnd = senseAt + request->senseInfoLength;
    const bool hasSense = request->senseInfoLength != 0;
    const Transfer transfer = request->dataTransferLength != 0 ? Transfer::FromDevice : Transfer::None;
    const std::span<const std::uint8_t> cdb(request->cdb.data(), request->cdbLength);
    if ((transfer == Transfer::FromDevice && request->dataIn != kScsiIoctlDataIn) || !IsReadOnlyScsi(cdb, transfer)) {
        return win32::kAccessDenied;
    }

    const ScsiOutcome outcome =
        SendScsi(device, {cdb, request->dataTransferLength, request->timeOutValue, request->senseInfoLength});
    if (outcome.error != win32::kSuccess) {
        return outcome.error;
    }
    if (!outcome.data.empty()) {
        std::memcpy(request->dataBuffer, outcome.data.data(), outcome.data.size());
    }
    ScsiPassThroughDirect answer = *request;
    answer.scsiStatus = outcome.status;
    answer.dataTransferLength = outcome.transferred;
    answer.senseInfoLength = static_cast<std::uint8_t>(outcome.sense.size());
    const bool isWritten = buffers.Answer(answer) && buffers.AnswerBytes(std::as_bytes(std::span(outcome.sense)), senseAt);
    buffers.returned = static_cast<std::uint32_t>(std::max(sizeof(answer), hasSense ? senseEnd : 0));
    return isWritten ? win32::kSuccess : win32::kInvalidParameter;
}

}  // namespace orbis::platform::linux_system
