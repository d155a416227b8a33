// ATA commands, by ATA_PASS_THROUGH_DIRECT or inside a SCSI ATA PASS-THROUGH(16) command, and the few SCSI commands that a disk's
// driver answers itself. A simulated device has no state, so every command that writes is aborted, as a write-protected device
// does.
#include <algorithm>

#include "DeviceRequests.h"
#include "emulated/PassThrough.h"
#include "platform/protocol/Ata.h"
#include "platform/protocol/Scsi.h"

namespace orbis::simulated {
namespace {

namespace win32 = platform::win32;

using namespace protocol::ata;
namespace scsi = protocol::scsi;

AtaResult Aborted() { return {kStatusReady | kStatusError, kErrorAborted, {}}; }

AtaResult ExecuteSmart(const DiskModel& disk, const AtaCommand& command)
{
    const description::AtaDevice& ata = disk.description->ata();
    const bool known = !ata.has_smart() || ata.smart();
    if (!known || command.lbaMid != kSmartLbaMid || command.lbaHigh != kSmartLbaHigh) {
        return Aborted();
    }
    switch (command.features) {
        case kSmartReadData:
            return {kStatusReady, 0, disk.smartData};
        case kSmartReadThresholds:
            return {kStatusReady, 0, disk.smartThresholds};
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
    data.resize(std::size_t{kSectorSize} * command.count);
    return {kStatusReady, 0, std::move(data)};
}

struct SenseData {
    std::uint8_t key = 0;
    std::uint8_t code = 0;
};

// Fixed format sense data (SPC-4, 4.5.3).
ByteVector FixedSense(SenseData sense)
{
    PageWriter page(18);
    page.Put8(0, scsi::kSenseFixed).Put8(2, sense.key).Put8(7, 10).Put8(12, sense.code);
    return page.Take();
}

// Descriptor format sense data with the ATA status return descriptor (SAT-3, 12.2.5).
ByteVector AtaSense(const AtaResult& result)
{
    PageWriter page(22);
    page.Put8(0, scsi::kSenseDescriptor).Put8(1, scsi::kSenseAbortedCommand).Put8(7, scsi::kAtaStatusReturnSize);
    page.Put8(8, scsi::kAtaStatusReturn).Put8(9, 12).Put8(11, result.error).Put8(21, result.status);
    return page.Take();
}

struct ScsiResult {
    std::uint8_t status = 0;
    ByteVector data;
    ByteVector sense;
    std::uint32_t driverError = win32::kSuccess;  // the driver refuses the request itself
};

ScsiResult CheckCondition(ByteVector sense) { return {scsi::kCheckCondition, {}, std::move(sense), win32::kSuccess}; }

ScsiResult ExecuteInquiry(const DiskModel& disk, const std::array<std::uint8_t, 16>& cdb)
{
    if (cdb[1] != 0 || cdb[2] != 0) {
        return CheckCondition(FixedSense({scsi::kSenseIllegalRequest, scsi::kInvalidFieldInCdb}));
    }
    ByteVector data = disk.inquiry;
    data.resize(std::min<std::size_t>(data.size(), static_cast<std::size_t>(cdb[3] << 8 | cdb[4])));
    return {0, std::move(data), {}, win32::kSuccess};
}

ScsiResult ExecuteTranslated(const DiskModel& disk, const std::array<std::uint8_t, 16>& cdb)
{
    // NVMe drivers do not have this command and do not pass it on; other devices without ATA refuse it themselves.
    if (disk.traits->isNvme) {
        return {0, {}, {}, win32::kInvalidFunction};
    }
    if (!disk.traits->isAta || !disk.scsiTranslation) {
        return CheckCondition(FixedSense({scsi::kSenseIllegalRequest, scsi::kInvalidOperationCode}));
    }
    AtaResult result = ExecuteAta(disk, RegistersOf(cdb));
    return (result.status & kStatusError) != 0 ? CheckCondition(AtaSense(result))
                                               : ScsiResult{0, std::move(result.data), {}, win32::kSuccess};
}

ScsiResult ExecuteScsi(const DiskModel& disk, const std::array<std::uint8_t, 16>& cdb)
{
    switch (cdb[0]) {
        case scsi::kTestUnitReady:
            return {};
        case scsi::kInquiry:
            return ExecuteInquiry(disk, cdb);
        case scsi::kAtaPassThrough16:
            return ExecuteTranslated(disk, cdb);
        default:
            return CheckCondition(FixedSense({scsi::kSenseIllegalRequest, scsi::kInvalidOperationCode}));
    }
}

}  // namespace

AtaResult ExecuteAta(const DiskModel& disk, const AtaCommand& command)
{
    const auto& aborted = disk.description->ata().aborted_command();
    if (std::find(aborted.begin(), aborted.end(), command.command) != aborted.end()) {
        return Aborted();
    }
    switch (command.command) {
        case kIdentifyDevice:
            return {kStatusReady, 0, disk.identifyDevice};
        case kSmart:
            return ExecuteSmart(disk, command);
        case kReadLogExt:
            return ReadLog(disk, command);
        default:
            return Aborted();
    }
}

Reply AtaPassThrough(const Target& target, const Request& request)
{
    const DiskModel& disk = *target.disk;
    const auto pass = request.As<platform::AtaPassThroughDirect>();
    if (const auto malformed = platform::emulated::CheckPassThrough(pass, request.outputSize); malformed != win32::kSuccess) {
        return Reply::Error(malformed);
    }
    if (!disk.traits->isAta || !disk.ataPassThrough) {
        return Reply::Error(win32::kInvalidFunction);
    }
    const auto& task = pass->currentTaskFile;
    AtaResult result = ExecuteAta(disk, RegistersOf(task));
    platform::AtaPassThroughDirect answer = *pass;
    answer.currentTaskFile[task_file::kError] = result.error;
    answer.currentTaskFile[task_file::kStatus] = result.status;
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
    if (const auto malformed = platform::emulated::CheckPassThrough(pass, request.outputSize); malformed != win32::kSuccess) {
        return Reply::Error(malformed);
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
