// ATA commands, by ATA_PASS_THROUGH_DIRECT or inside a SCSI ATA PASS-THROUGH(16) command, and the few SCSI commands that a disk's
// driver answers itself. A simulated device has no state to change: whatever would write is aborted, as a write-protected device
// does.
#include <algorithm>

#include "DeviceRequests.h"

namespace orbis::simulated {
namespace {

namespace win32 = platform::win32;

constexpr std::size_t kSector = 512;
constexpr std::uint32_t kLongestTimeOut = 30 * 60 * 60;  // seconds; the class driver refuses more, and none at all

constexpr std::uint8_t kAtaIdentifyDevice = 0xEC;
constexpr std::uint8_t kAtaSmart = 0xB0;
constexpr std::uint8_t kAtaReadLogExt = 0x2F;
constexpr std::uint8_t kSmartReadData = 0xD0;
constexpr std::uint8_t kSmartReadThresholds = 0xD1;
constexpr std::uint8_t kSmartReturnStatus = 0xDA;
constexpr std::uint8_t kSmartLbaMid = 0x4F;
constexpr std::uint8_t kSmartLbaHigh = 0xC2;
constexpr std::uint8_t kStatusError = 0x51;  // DRDY, DSC, ERR
constexpr std::uint8_t kErrorAborted = 0x04;

constexpr std::uint8_t kScsiTestUnitReady = 0x00;
constexpr std::uint8_t kScsiInquiry = 0x12;
constexpr std::uint8_t kScsiAtaPassThrough16 = 0x85;
constexpr std::uint8_t kCheckCondition = 0x02;
constexpr std::uint8_t kSenseIllegalRequest = 0x05;
constexpr std::uint8_t kSenseAbortedCommand = 0x0B;
constexpr std::uint8_t kInvalidOperationCode = 0x20;
constexpr std::uint8_t kInvalidFieldInCdb = 0x24;

AtaResult Aborted() { return {kStatusError, kErrorAborted, {}}; }

AtaResult ExecuteSmart(const DiskModel& disk, const AtaCommand& command)
{
    const description::AtaDevice& ata = disk.description->ata();
    const bool known = !ata.has_smart() || ata.smart();
    if (!known || command.lbaMid != kSmartLbaMid || command.lbaHigh != kSmartLbaHigh) {
        return Aborted();
    }
    switch (command.features) {
        case kSmartReadData:
            return {0x50, 0, disk.smartData};
        case kSmartReadThresholds:
            return {0x50, 0, disk.smartThresholds};
        case kSmartReturnStatus:
            return {};
        default:
            return Aborted();
    }
}

AtaResult ReadLog(const DiskModel& disk, const AtaCommand& command)
{
    const auto page = disk.ataLogPages.find(command.lbaLow);
    if (page == disk.ataLogPages.end() || command.count == 0) {
        return Aborted();
    }
    ByteVector data = page->second;
    data.resize(kSector * command.count);
    return {0x50, 0, std::move(data)};
}

struct SenseData {
    std::uint8_t key = 0;
    std::uint8_t code = 0;
};

// Fixed format sense data (SPC-4, 4.5.3).
ByteVector FixedSense(SenseData sense)
{
    PageWriter page(18);
    page.Put8(0, 0x70).Put8(2, sense.key).Put8(7, 10).Put8(12, sense.code);
    return page.Take();
}

// Descriptor format sense data with the ATA status return descriptor (SAT-3, 12.2.5).
ByteVector AtaSense(const AtaResult& result)
{
    PageWriter page(22);
    page.Put8(0, 0x72).Put8(1, kSenseAbortedCommand).Put8(7, 14);
    page.Put8(8, 0x09).Put8(9, 12).Put8(11, result.error).Put8(21, result.status);
    return page.Take();
}

struct ScsiResult {
    std::uint8_t status = 0;
    ByteVector data;
    ByteVector sense;
    std::uint32_t driverError = win32::kSuccess;  // the driver refuses the request itself
};

ScsiResult CheckCondition(ByteVector sense) { return {kCheckCondition, {}, std::move(sense), win32::kSuccess}; }

ScsiResult ExecuteInquiry(const DiskModel& disk, const std::array<std::uint8_t, 16>& cdb)
{
    if (cdb[1] != 0 || cdb[2] != 0) {
        return CheckCondition(FixedSense({kSenseIllegalRequest, kInvalidFieldInCdb}));
    }
    ByteVector data = disk.inquiry;
    data.resize(std::min<std::size_t>(data.size(), static_cast<std::size_t>(cdb[3] << 8 | cdb[4])));
    return {0, std::move(data), {}, win32::kSuccess};
}

ScsiResult ExecuteTranslated(const DiskModel& disk, const std::array<std::uint8_t, 16>& cdb)
{
    // NVMe drivers know no such command and do not pass it on; other devices without ATA behind them refuse it themselves.
    if (disk.traits->isNvme) {
        return {0, {}, {}, win32::kInvalidFunction};
    }
    if (!disk.traits->isAta || !disk.scsiTranslation) {
        return CheckCondition(FixedSense({kSenseIllegalRequest, kInvalidOperationCode}));
    }
    AtaResult result = ExecuteAta(disk, {cdb[14], cdb[4], cdb[6], cdb[8], cdb[10], cdb[12]});
    return (result.status & 1) != 0 ? CheckCondition(AtaSense(result)) : ScsiResult{0, std::move(result.data), {}, win32::kSuccess};
}

ScsiResult ExecuteScsi(const DiskModel& disk, const std::array<std::uint8_t, 16>& cdb)
{
    switch (cdb[0]) {
        case kScsiTestUnitReady:
            return {};
        case kScsiInquiry:
            return ExecuteInquiry(disk, cdb);
        case kScsiAtaPassThrough16:
            return ExecuteTranslated(disk, cdb);
        default:
            return CheckCondition(FixedSense({kSenseIllegalRequest, kInvalidOperationCode}));
    }
}

bool IsTimeOutValid(std::uint32_t seconds) { return seconds > 0 && seconds <= kLongestTimeOut; }

// The sense area stands after the structure and inside the output buffer.
bool IsSenseAreaValid(const platform::ScsiPassThroughDirect& pass, std::uint32_t outputSize)
{
    const std::uint64_t end = static_cast<std::uint64_t>(pass.senseInfoOffset) + pass.senseInfoLength;
    return pass.senseInfoLength == 0 || (pass.senseInfoOffset >= sizeof(pass) && end <= outputSize);
}

}  // namespace

AtaResult ExecuteAta(const DiskModel& disk, const AtaCommand& command)
{
    const auto& aborted = disk.description->ata().aborted_command();
    if (std::find(aborted.begin(), aborted.end(), command.command) != aborted.end()) {
        return Aborted();
    }
    switch (command.command) {
        case kAtaIdentifyDevice:
            return {0x50, 0, disk.identifyDevice};
        case kAtaSmart:
            return ExecuteSmart(disk, command);
        case kAtaReadLogExt:
            return ReadLog(disk, command);
        default:
            return Aborted();
    }
}

Reply AtaPassThrough(const Target& target, const Request& request)
{
    const DiskModel& disk = *target.disk;
    const auto pass = request.As<platform::AtaPassThroughDirect>();
    if (!pass || pass->length != sizeof(*pass) || request.outputSize < sizeof(*pass) || !IsTimeOutValid(pass->timeOutValue)) {
        return Reply::Error(win32::kInvalidParameter);
    }
    if (!disk.traits->isAta || !disk.ataPassThrough) {
        return Reply::Error(win32::kInvalidFunction);
    }
    const auto& task = pass->currentTaskFile;
    AtaResult result = ExecuteAta(disk, {task[6], task[0], task[1], task[2], task[3], task[4]});
    platform::AtaPassThroughDirect answer = *pass;
    answer.currentTaskFile[0] = result.error;
    answer.currentTaskFile[6] = result.status;
    Reply reply = Reply::Of(answer);
    if ((pass->ataFlags & platform::kAtaFlagsDataIn) != 0) {
        reply.data = std::move(result.data);
    }
    return reply;
}

Reply ScsiPassThrough(const Target& target, const Request& request)
{
    const DiskModel& disk = *target.disk;
    const auto pass = request.As<platform::ScsiPassThroughDirect>();
    if (!pass || pass->length != sizeof(*pass) || request.outputSize < sizeof(*pass) || pass->cdbLength > pass->cdb.size() ||
        !IsTimeOutValid(pass->timeOutValue) || !IsSenseAreaValid(*pass, request.outputSize)) {
        return Reply::Error(win32::kInvalidParameter);
    }
    if (!disk.scsiPassThrough) {
        return Reply::Error(win32::kInvalidFunction);
    }
    std::array<std::uint8_t, 16> cdb{};
    std::copy_n(pass->cdb.begin(), pass->cdbLength, cdb.begin());
    ScsiResult result = ExecuteScsi(disk, cdb);
    if (result.driverError != win32::kSuccess) {
        return Reply::Error(result.driverError);
    }
    platform::ScsiPassThroughDirect answer = *pass;
    answer.scsiStatus = result.status;
    answer.dataTransferLength = std::min(pass->dataTransferLength, static_cast<std::uint32_t>(result.data.size()));
    const std::size_t sense = std::min<std::size_t>(pass->senseInfoLength, result.sense.size());
    answer.senseInfoLength = static_cast<std::uint8_t>(sense);
    Reply reply = Reply::Of(answer);
    if (sense > 0) {
        reply.output.resize(pass->senseInfoOffset + sense);
        std::copy_n(result.sense.begin(), sense, reply.output.begin() + static_cast<std::ptrdiff_t>(pass->senseInfoOffset));
    }
    if (pass->dataIn == platform::kScsiIoctlDataIn) {
        reply.data = std::move(result.data);
    }
    return reply;
}

}  // namespace orbis::simulated
