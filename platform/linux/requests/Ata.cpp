#include "linux/requests/Ata.h"

#include <algorithm>
#include <array>
#include <optional>
#include <span>

#include "linux/requests/ReadOnly.h"
#include "linux/requests/Scsi.h"
#include "platform/Errors.h"

namespace orbis::platform::linux_system {
namespace {

constexpr std::uint32_t kSector = 512;
constexpr std::uint16_t kAtaFlagsDataOut = 0x04;
constexpr std::uint16_t kAtaFlags48Bit = 0x08;
constexpr std::uint16_t kAtaFlagsDma = 0x10;

using TaskFile = std::array<std::uint8_t, 8>;
// Registers of a task file.
constexpr std::size_t kFeatures = 0;  // error, when it comes back
constexpr std::size_t kCount = 1;
constexpr std::size_t kLbaLow = 2;
constexpr std::size_t kLbaMid = 3;
constexpr std::size_t kLbaHigh = 4;
constexpr std::size_t kDevice = 5;
constexpr std::size_t kCommand = 6;  // status, when it comes back

constexpr std::uint8_t kReadLogExt = 0x2F;
constexpr std::uint8_t kReadLogDmaExt = 0x47;
constexpr std::uint8_t kSmart = 0xB0;
constexpr std::uint8_t kSmartReadLog = 0xD5;
constexpr std::uint8_t kStatusReady = 0x50;   // device ready, seek complete
constexpr std::uint8_t kStatusError = 0x51;   // and error
constexpr std::uint8_t kErrorAborted = 0x04;  // the drive aborted the command

constexpr std::uint8_t kSenseNotReady = 0x2;
constexpr std::uint8_t kSenseIllegalRequest = 0x5;
constexpr std::uint8_t kSenseAbortedCommand = 0xB;

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
    const std::uint32_t sectors = request.dataTransferLength / kSector;
    if (request.dataTransferLength % kSector != 0 || sectors > 0xFF || (isCounted && sectors != request.currentTaskFile[kCount]) ||
        (!isCounted && sectors > 1)) {
        return std::nullopt;
    }
    return static_cast<std::uint8_t>(sectors != 0 ? sectors : request.currentTaskFile[kCount]);
}

std::array<std::uint8_t, 16> PassThrough16(const AtaPassThroughDirect& request, std::uint8_t count, bool wantsRegisters)
{
    const TaskFile& low = request.currentTaskFile;
    const TaskFile& high = request.previousTaskFile;
    const bool isData = request.dataTransferLength != 0;
    const bool isExtended = (request.ataFlags & kAtaFlags48Bit) != 0 || IsReadLogExt(low[kCommand]);
    const bool isDma = (request.ataFlags & kAtaFlagsDma) != 0 || low[kCommand] == kReadLogDmaExt;
    const int protocol = !isData ? 3 : isDma ? 6 : 4;  // non-data, DMA, PIO data-in
    const auto previous = [&](std::size_t at) { return isExtended ? high[at] : std::uint8_t{0}; };
    return {0x85, static_cast<std::uint8_t>(protocol << 1 | (isExtended ? 1 : 0)),
            // From the device, in blocks, as many as the count register says.
            static_cast<std::uint8_t>((isData ? 0x0E : 0x00) | (wantsRegisters ? 0x20 : 0x00)), previous(kFeatures), low[kFeatures],
            previous(kCount), count, previous(kLbaLow), low[kLbaLow], previous(kLbaMid), low[kLbaMid], previous(kLbaHigh),
            low[kLbaHigh], low[kDevice], low[kCommand], 0};
}

// The registers in sense data: as the ATA status return descriptor (SAT), or squeezed into the fixed format.
std::optional<Registers> RegistersOf(std::span<const std::uint8_t> sense)
{
    constexpr std::uint8_t kDescriptorFormat = 0x72;
    constexpr std::uint8_t kFixedFormat = 0x70;
    constexpr std::uint8_t kAtaStatusReturn = 0x09;
    constexpr std::size_t kDescriptorSize = 14;
    Registers registers;
    const std::uint8_t format = sense.empty() ? 0 : sense[0] & 0x7F;
    if (format == kDescriptorFormat) {
        for (std::size_t at = 8; at + kDescriptorSize <= sense.size(); at += std::size_t{2} + sense[at + 1]) {
            const auto d = sense.subspan(at, kDescriptorSize);
            if (d[0] == kAtaStatusReturn && d[1] == kDescriptorSize - 2) {
                registers.current = {d[3], d[5], d[7], d[9], d[11], d[12], d[13], 0};
                registers.previous = {0, d[4], d[6], d[8], d[10], 0, 0, 0};
                return registers;
            }
        }
    } else if (format == kFixedFormat && sense.size() >= 14 && sense[12] == 0x00 && sense[13] == 0x1D) {
        // ATA PASS-THROUGH INFORMATION AVAILABLE
        registers.current = {sense[3], sense[6], sense[9], sense[10], sense[11], sense[5], sense[4], 0};
        return registers;
    }
    return std::nullopt;
}

std::uint8_t SenseKey(std::span<const std::uint8_t> sense)
{
    const bool isDescriptor = !sense.empty() && (sense[0] & 0x7F) >= 0x72;
    const std::size_t at = isDescriptor ? 1 : 2;
    return at < sense.size() ? sense[at] & 0x0F : 0;
}

// What a refusal means when no registers come with it: the sense key says whether the command is known at all.
Win32Error Win32FromSense(std::uint8_t key)
{
    return key == kSenseIllegalRequest ? win32::kInvalidFunction : key == kSenseNotReady ? win32::kNotReady : win32::kIoDevice;
}

}  // namespace

Win32Error RunAtaPassThrough(const KernelDevice& device, BusType busType, ControlBuffers& buffers)
{
    const auto request = buffers.Request<AtaPassThroughDirect>();
    if (!request || request->length != sizeof(*request) || buffers.out.size() < sizeof(*request) ||
        (request->dataTransferLength != 0 && request->dataBuffer == nullptr)) {
        return win32::kInvalidParameter;
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

    // With data, the registers say no more than the outcome does, and some controllers leave the data request bit in the status,
    // which the kernel then takes for a failure. USB bridges stumble over the request for registers.
    const bool wantsRegisters = transfer == Transfer::None && busType != BusType::Usb;
    const std::array<std::uint8_t, 16> cdb = PassThrough16(*request, *count, wantsRegisters);
    const ScsiOutcome outcome = SendScsi(device, {cdb, request->dataTransferLength, request->timeOutValue});
    if (outcome.error != win32::kSuccess) {
        return outcome.error;
    }
    Registers registers{request->currentTaskFile, request->previousTaskFile};
    if (const std::optional<Registers> returned = RegistersOf(outcome.sense)) {
        registers = *returned;
    } else if (outcome.status == kScsiGood) {
        registers.current[kFeatures] = 0;
        registers.current[kCommand] = kStatusReady;
    } else if (SenseKey(outcome.sense) == kSenseAbortedCommand) {
        registers.current[kFeatures] = kErrorAborted;
        registers.current[kCommand] = kStatusError;
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
