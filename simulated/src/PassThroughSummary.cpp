#include "DeviceRequests.h"

namespace orbis::simulated {
namespace {

constexpr std::uint8_t kScsiAtaPassThrough16 = 0x85;
constexpr std::uint8_t kAdminGetLogPage = 0x02;
constexpr std::uint8_t kScsiIoctlDataOut = 0;
constexpr std::uint16_t kAtaFlagsDataOut = 4;

PassThroughSummary SummariseAta(const platform::AtaPassThroughDirect& pass)
{
    const auto& task = pass.currentTaskFile;
    PassThroughSummary summary;
    summary.command.assign(task.begin(), task.end());
    summary.dataToDevice = (pass.ataFlags & kAtaFlagsDataOut) != 0;
    summary.dataTransferLength = pass.dataTransferLength;
    summary.ata = AtaCommand{task[6], task[0], task[1], task[2], task[3], task[4]};
    return summary;
}

PassThroughSummary SummariseScsi(const platform::ScsiPassThroughDirect& pass)
{
    const auto& cdb = pass.cdb;
    PassThroughSummary summary;
    summary.command.assign(cdb.begin(), cdb.begin() + std::min<std::ptrdiff_t>(pass.cdbLength, std::ssize(cdb)));
    summary.dataToDevice = pass.dataIn == kScsiIoctlDataOut && pass.dataTransferLength != 0;
    summary.dataTransferLength = pass.dataTransferLength;
    summary.scsiOpcode = cdb[0];
    if (cdb[0] == kScsiAtaPassThrough16) {
        summary.ata = AtaCommand{cdb[14], cdb[4], cdb[6], cdb[8], cdb[10], cdb[12]};
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
    if (summary.command.size() > 40 && summary.command[0] == kAdminGetLogPage) {
        summary.nvmeLogPage = summary.command[40];  // log identifier: command word 10, bits 7:0
    }
    return summary;
}

}  // namespace

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
