#include "DeviceRequests.h"
#include "platform/protocol/Nvme.h"
#include "platform/protocol/Scsi.h"

namespace orbis::simulated {
namespace {

PassThroughSummary SummariseAta(const platform::AtaPassThroughDirect& pass)
{
    const auto& task = pass.currentTaskFile;
    PassThroughSummary summary;
    summary.command.assign(task.begin(), task.end());
    summary.dataToDevice = (pass.ataFlags & platform::kAtaFlagsDataOut) != 0;
    summary.dataTransferLength = pass.dataTransferLength;
    summary.ata = RegistersOf(task);
    return summary;
}

PassThroughSummary SummariseScsi(const platform::ScsiPassThroughDirect& pass)
{
    const auto& cdb = pass.cdb;
    PassThroughSummary summary;
    summary.command.assign(cdb.begin(), cdb.begin() + std::min<std::ptrdiff_t>(pass.cdbLength, std::ssize(cdb)));
    summary.dataToDevice = pass.dataIn == platform::kScsiIoctlDataOut && pass.dataTransferLength != 0;
    summary.dataTransferLength = pass.dataTransferLength;
    summary.scsiOpcode = cdb[0];
    if (cdb[0] == protocol::scsi::kAtaPassThrough16) {
        summary.ata = RegistersOf(cdb);
    }
    return summary;
}

PassThroughSummary SummariseProtocolCommand(const Request& request, const platform::StorageProtocolCommandHead& head)
{
    PassThroughSummary summary;
    summary.command.assign(request.input.begin() + sizeof(head), request.input.end());
    summary.dataToDevice = head.dataToDeviceTransferLength != 0;
    summary.dataTransferLength =
        head.dataToDeviceTransferLength != 0 ? head.dataToDeviceTransferLength : head.dataFromDeviceTransferLength;
    if (summary.command.size() > platform::kProtocolCommandLengthNvme) {
        summary.command.resize(platform::kProtocolCommandLengthNvme);
    }
    if (summary.command.size() > 40 && summary.command[0] == protocol::nvme::kGetLogPage) {
        summary.nvmeLogPage = summary.command[40];  // log identifier: command word 10, bits 7:0
    }
    return summary;
}

}  // namespace

AtaCommand RegistersOf(const std::array<std::uint8_t, 8>& taskFile)
{
    using namespace protocol::ata::task_file;
    return {taskFile[kCommand], taskFile[kFeatures], taskFile[kCount], taskFile[kLbaLow], taskFile[kLbaMid], taskFile[kLbaHigh]};
}

AtaCommand RegistersOf(const std::array<std::uint8_t, 16>& cdb)
{
    using namespace protocol::scsi::ata_pass_through;
    return {cdb[kCommand16], cdb[kFeatures16], cdb[kCount16], cdb[kLbaLow16], cdb[kLbaMid16], cdb[kLbaHigh16]};
}

bool IsDirect(std::uint32_t code)
{
    return code == platform::kIoctlAtaPassThroughDirect || code == platform::kIoctlScsiPassThroughDirect;
}

PassThroughSummary Summarise(const Request& request)
{
    if (const auto pass = request.As<platform::AtaPassThroughDirect>();
        pass && request.code == platform::kIoctlAtaPassThroughDirect) {
        return SummariseAta(*pass);
    }
    if (const auto pass = request.As<platform::ScsiPassThroughDirect>();
        pass && request.code == platform::kIoctlScsiPassThroughDirect) {
        return SummariseScsi(*pass);
    }
    if (const auto head = request.As<platform::StorageProtocolCommandHead>();
        head && request.code == platform::kIoctlStorageProtocolCommand) {
        return SummariseProtocolCommand(request, *head);
    }
    PassThroughSummary summary;
    const auto query = request.As<platform::StorageProtocolQuery>();
    if (query && request.code == platform::kIoctlStorageQueryProperty &&
        query->query.propertyId >= platform::kStorageAdapterProtocolSpecificProperty &&
        query->query.propertyId <= platform::kStorageDeviceProtocolSpecificProperty &&
        query->protocol.dataType == platform::kNvmeDataTypeLogPage) {
        summary.nvmeLogPage = query->protocol.requestValue;
    }
    return summary;
}

}  // namespace orbis::simulated
