#include <array>
#include <optional>
#include <span>

#include "emulated/PassThrough.h"
#include "linux/requests/ReadOnly.h"
#include "linux/requests/Requests.h"
#include "linux/requests/Scsi.h"
#include "platform/Errors.h"
#include "platform/protocol/Ata.h"
#include "platform/protocol/Scsi.h"

namespace orbis::platform::linux_system {
namespace {

using namespace protocol::ata;
using namespace protocol::ata::task_file;
namespace scsi = protocol::scsi;

using TaskFile = std::array<std::uint8_t, 8>;

struct Registers {
    TaskFile current{};
    TaskFile previous{};
};

bool IsReadLogExt(std::uint8_t command) { return command == kReadLogExt || command == kReadLogDmaExt; }

// Commands that move a fixed sector leave the count register without meaning, and callers leave it 0; the translation counts by it.
std::optional<std::uint8_t> SectorCount(const AtaPassThroughDirect& request)
{
    const std::uint8_t command = request.currentTaskFile[kCommand];
    const bool isCounted = IsReadLogExt(command) || (command == kSmart && request.currentTaskFile[kFeatures] == kSmartReadLog);
    const std::uint32_t sectors = request.dataTransferLength / kSectorSize;
    if (request.dataTransferLength % kSectorSize != 0 || sectors > 0xFF ||
        (isCounted && sectors != request.currentTaskFile[kCount]) || (!isCounted && sectors > 1)) {
        return std::nullopt;
    }
    return static_cast<std::uint8_t>(sectors != 0 ? sectors : request.currentTaskFile[kCount]);
}

std::array<std::uint8_t, 16> PassThrough16(const AtaPassThroughDirect& request, std::uint8_t count, bool wantsRegisters)
{
    const TaskFile& low = request.currentTaskFile;
    const TaskFile& high = request.previousTaskFile;
    const bool isData = request.dataTransferLength != 0;
    const bool isExtended = (request.ataFlags & kAtaFlags48BitCommand) != 0 || IsReadLogExt(low[kCommand]);
    const bool isDma = (request.ataFlags & kAtaFlagsUseDma) != 0 || low[kCommand] == kReadLogDmaExt;
    using namespace scsi::ata_pass_through;
    const int protocol = !isData ? kNonData : isDma ? kDma : kPioDataIn;
    const auto previous = [&](std::size_t at) { return isExtended ? high[at] : std::uint8_t{0}; };
    return {
        scsi::kAtaPassThrough16,
        static_cast<std::uint8_t>(protocol << 1 | (isExtended ? kExtend : 0)),
        static_cast<std::uint8_t>((isData ? kFromDevice | kBlocks | kLengthInCount : 0) | (wantsRegisters ? kCheckCondition : 0)),
        previous(kFeatures),
        low[kFeatures],
        previous(kCount),
        count,
        previous(kLbaLow),
        low[kLbaLow],
        previous(kLbaMid),
        low[kLbaMid],
        previous(kLbaHigh),
        low[kLbaHigh],
        low[kDevice],
        low[kCommand],
        0};
}

// The registers in sense data: as the ATA status return descriptor (SAT), or squeezed into the fixed format.
std::optional<Registers> RegistersOf(std::span<const std::uint8_t> sense)
{
    constexpr std::size_t kDescriptorSize = scsi::kAtaStatusReturnSize;
    Registers registers;
    const std::uint8_t format = sense.empty() ? 0 : sense[0] & 0x7F;
    if (format == scsi::kSenseDescriptor) {
        for (std::size_t at = 8; at + kDescriptorSize <= sense.size(); at += std::size_t{2} + sense[at + 1]) {
            const auto d = sense.subspan(at, kDescriptorSize);
            if (d[0] == scsi::kAtaStatusReturn && d[1] == kDescriptorSize - 2) {
                registers.current = {d[3], d[5], d[7], d[9], d[11], d[12], d[13], 0};
                registers.previous = {0, d[4], d[6], d[8], d[10], 0, 0, 0};
                return registers;
            }
        }
    } else if (format == scsi::kSenseFixed && sense.size() >= 14 && sense[12] == 0x00 &&
               sense[13] == scsi::kAtaPassThroughInformation) {
        registers.current = {sense[3], sense[6], sense[9], sense[10], sense[11], sense[5], sense[4], 0};
        return registers;
    }
    return std::nullopt;
}

std::uint8_t SenseKey(std::span<const std::uint8_t> sense)
{
    const bool isDescriptor = !sense.empty() && (sense[0] & 0x7F) >= scsi::kSenseDescriptor;
    const std::size_t at = isDescriptor ? 1 : 2;
    return at < sense.size() ? sense[at] & 0x0F : 0;
}

// The error of a refusal without registers: the sense key shows whether the command is known at all.
Win32Error Win32FromSense(std::uint8_t key)
{
    return key == scsi::kSenseIllegalRequest ? win32::kInvalidFunction
           : key == scsi::kSenseNotReady     ? win32::kNotReady
                                             : win32::kIoDevice;
}

}  // namespace

Win32Error RunAtaPassThrough(const KernelDevice& device, BusType busType, ControlBuffers& buffers)
{
    const auto request = buffers.Request<AtaPassThroughDirect>();
    const Win32Error malformed = emulated::CheckPassThrough(request, buffers.out.size());
    if (malformed != win32::kSuccess) {
        return malformed;
    }
    const Transfer transfer = request->dataTransferLength != 0 ? Transfer::FromDevice : Transfer::None;
    const bool isDeclared = (transfer == Transfer::FromDevice) == ((request->ataFlags & kAtaFlagsDataIn) != 0);
    if ((request->ataFlags & kAtaFlagsDataOut) != 0 ||
        !IsReadOnlyAta(request->currentTaskFile[kCommand], request->currentTaskFile[kFeatures], transfer)) {
        return win32::kAccessDenied;
    }
    const std::optional<std::uint8_t> count = SectorCount(*request);
    if (!isDeclared || !count) {
        return win32::kInvalidParameter;
    }

    // With data, the registers add nothing to the outcome, and some controllers leave the data request bit in the status,
    // which the kernel then takes for a failure. USB bridges stumble over the request for registers, but CHECK POWER MODE has no
    // other answer.
    const bool isPowerCheck = request->currentTaskFile[kCommand] == kCheckPowerMode;
    const bool wantsRegisters = transfer == Transfer::None && (busType != BusType::Usb || isPowerCheck);
    const std::array<std::uint8_t, 16> cdb = PassThrough16(*request, *count, wantsRegisters);
    const ScsiOutcome outcome = SendScsi(device, {cdb, request->dataTransferLength, request->timeOutValue});
    if (outcome.error != win32::kSuccess) {
        return outcome.error;
    }
    Registers registers{request->currentTaskFile, request->previousTaskFile};
    if (const std::optional<Registers> returned = RegistersOf(outcome.sense)) {
        registers = *returned;
    } else if (outcome.status == scsi::kGood) {
        registers.current[kError] = 0;
        registers.current[kCount] = isPowerCheck ? kPowerActive : registers.current[kCount];
        registers.current[kStatus] = kStatusReady;
    } else if (SenseKey(outcome.sense) == scsi::kSenseAbortedCommand) {
        registers.current[kError] = kErrorAborted;
        registers.current[kStatus] = kStatusReady | kStatusError;
    } else {
        return Win32FromSense(SenseKey(outcome.sense));
    }
    if (!outcome.data.empty()) {
        std::memcpy(request->dataBuffer, outcome.data.data(), outcome.data.size());
    }
    AtaPassThroughDirect answer = *request;
    answer.currentTaskFile = registers.current;
    answer.previousTaskFile = registers.previous;
    answer.dataTransferLength = outcome.transferred;
    buffers.returned = sizeof(answer);
    return buffers.Answer(answer) ? win32::kSuccess : win32::kInvalidParameter;
}

}  // namespace orbis::platform::linux_system
