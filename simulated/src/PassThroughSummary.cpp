#include "DeviceRequests.h"
#include "platform/protocol/Nvme.h"
#include "platform/protocol/Scsi.h"

namespace orbis::simulated {
namespace {

// The log identifier of an NVMe command: command word 10, bits 7:0. Nothing when it is another command.
std::optional<std::uint32_t> LogPageOf(std::span<const std::uint8_t> command)
{
    constexpr std::size_t kWord10 = 40;
    return command.size() > kWord10 && command[0] == protocol::nvme::kGetLogPage ? std::optional<std::uint32_t>(command[kWord10])
                                                                                 : std::nullopt;
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
    PassThroughSummary summary;
    if (const auto pass = request.As<platform::AtaPassThroughDirect>();
        pass && request.code == platform::kIoctlAtaPassThroughDirect) {
        summary.dataTransferLength = pass->dataTransferLength;
        summary.ata = RegistersOf(pass->currentTaskFile);
    }
    if (const auto pass = request.As<platform::ScsiPassThroughDirect>();
        pass && request.code == platform::kIoctlScsiPassThroughDirect) {
        summary.dataTransferLength = pass->dataTransferLength;
        summary.scsiOpcode = pass->cdb[0];
        if (pass->cdb[0] == protocol::scsi::kAtaPassThrough16) {
            summary.ata = RegistersOf(pass->cdb);
        }
    }
    constexpr std::size_t kCommandAt = sizeof(platform::StorageProtocolCommandHead);
    if (request.code == platform::kIoctlStorageProtocolCommand && request.input.size() > kCommandAt) {
        summary.nvmeLogPage = LogPageOf(ByteSpan(request.input).subspan(kCommandAt));
    }
    const auto query = request.As<platform::StorageProtocolQuery>();
    if (query && request.code == platform::kIoctlStorageQueryProperty && platform::emulated::IsProtocolProperty(query->query) &&
        query->protocol.dataType == platform::kNvmeDataTypeLogPage) {
        summary.nvmeLogPage = query->protocol.requestValue;
    }
    return summary;
}

}  // namespace orbis::simulated
