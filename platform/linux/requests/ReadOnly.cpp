#include "linux/requests/ReadOnly.h"

#include "platform/protocol/Ata.h"
#include "platform/protocol/Nvme.h"
#include "platform/protocol/Scsi.h"

namespace orbis::platform::linux_system {
namespace {

namespace ata = protocol::ata;
namespace scsi = protocol::scsi;

bool IsReadOnlySmart(std::uint8_t features, Transfer transfer) noexcept
{
    const bool reads = features == ata::kSmartReadData || features == ata::kSmartReadThresholds || features == ata::kSmartReadLog;
    return transfer == Transfer::FromDevice ? reads : features == ata::kSmartReturnStatus;
}

struct AtaPassThroughFields {
    std::uint8_t protocol;
    std::uint8_t flags;
    std::uint8_t features;
    std::uint8_t command;
};

bool IsReadOnlyAtaPassThrough(const AtaPassThroughFields& cdb, Transfer transfer) noexcept
{
    using namespace scsi::ata_pass_through;
    const auto protocol = static_cast<std::uint8_t>(cdb.protocol >> 1 & 0x0F);
    const bool isNonData = protocol == kNonData && (cdb.flags & kLengthMask) == 0 && transfer == Transfer::None;
    const bool isDataIn =
        (protocol == kPioDataIn || protocol == kDma) && (cdb.flags & kFromDevice) != 0 && transfer == Transfer::FromDevice;
    // Bits 7:5 of the protocol byte repeat the transfer, bits 7:6 of the flags make the drive go off line.
    const bool isPlain = (cdb.protocol & 0xE0) == 0 && (cdb.flags & 0xC0) == 0;
    return isPlain && (isNonData || isDataIn) && IsReadOnlyAta(cdb.command, cdb.features, transfer);
}

}  // namespace

bool IsReadOnlyAta(std::uint8_t command, std::uint8_t features, Transfer transfer) noexcept
{
    switch (command) {
        case ata::kReadLogExt:
        case ata::kReadLogDmaExt:
        case ata::kIdentifyPacketDevice:
        case ata::kIdentifyDevice:
            return transfer == Transfer::FromDevice;
        case ata::kCheckPowerMode:
            return transfer == Transfer::None;
        case ata::kSmart:
            return IsReadOnlySmart(features, transfer);
        default:
            return false;
    }
}

bool IsReadOnlyScsi(std::span<const std::uint8_t> cdb, Transfer transfer) noexcept
{
    using namespace scsi::ata_pass_through;
    constexpr std::uint8_t kSaveParameters = 0x01;
    constexpr std::uint8_t kServiceAction = 0x1F;
    if (cdb.empty()) {
        return false;
    }
    const auto byte = [&](std::size_t at) -> std::uint8_t { return at < cdb.size() ? cdb[at] : 0; };
    switch (byte(0)) {
        case scsi::kTestUnitReady:
        case scsi::kRequestSense:
        case scsi::kInquiry:
        case scsi::kModeSense6:
        case scsi::kReadCapacity10:
        case scsi::kModeSense10:
        case scsi::kReportLuns:
            return true;
        case scsi::kLogSense:
            return (byte(1) & kSaveParameters) == 0;
        case scsi::kServiceActionIn16:
            return (byte(1) & kServiceAction) == scsi::kReadCapacity16;
        case scsi::kAtaPassThrough16:
            return cdb.size() == 16 && IsReadOnlyAtaPassThrough({byte(1), byte(2), byte(kFeatures16), byte(kCommand16)}, transfer);
        case scsi::kAtaPassThrough12:
            return cdb.size() == 12 && IsReadOnlyAtaPassThrough({byte(1), byte(2), byte(kFeatures12), byte(kCommand12)}, transfer);
        default:
            return false;
    }
}

bool IsReadOnlyNvmeAdmin(std::uint8_t opcode) noexcept
{
    using namespace protocol::nvme;
    return opcode == kGetLogPage || opcode == kIdentify || opcode == kGetFeatures;
}

}  // namespace orbis::platform::linux_system
