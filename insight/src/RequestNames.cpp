#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>

#include "insight/Waits.h"
#include "platform/Requests.h"
#include "platform/protocol/Ata.h"
#include "platform/protocol/Scsi.h"

namespace orbis::insight {
namespace {

using namespace platform;

template <class Request>
std::optional<Request> As(const void* request, std::size_t size)
{
    Request typed;
    if (request == nullptr || size < sizeof typed) {
        return std::nullopt;
    }
    std::memcpy(&typed, request, sizeof typed);
    return typed;
}

std::string AtaText(std::uint8_t command, std::uint8_t features)
{
    namespace ata = protocol::ata;
    switch (command) {
        case ata::kIdentifyDevice:
            return "IDENTIFY DEVICE";
        case ata::kReadLogExt:
            return "READ LOG EXT";
        case ata::kCheckPowerMode:
            return "CHECK POWER MODE";
        case ata::kSmart:
            return features == ata::kSmartReadData         ? "SMART READ DATA"
                   : features == ata::kSmartReadThresholds ? "SMART READ THRESHOLDS"
                                                           : fmt::format("SMART command {:02X}h", features);
        default:
            return fmt::format("ATA command {:02X}h", command);
    }
}

std::string ScsiText(const std::array<std::uint8_t, 16>& cdb)
{
    namespace scsi = protocol::scsi;
    switch (cdb[0]) {
        case scsi::kAtaPassThrough16:
            return AtaText(cdb[scsi::ata_pass_through::kCommand16], cdb[scsi::ata_pass_through::kFeatures16]);
        case scsi::kInquiry:
            return "INQUIRY";
        default:
            return fmt::format("SCSI command {:02X}h", cdb[0]);
    }
}

std::string PropertyText(const void* request, std::size_t size)
{
    const auto query = As<StorageProtocolQuery>(request, size);
    if (query && query->query.propertyId >= kStorageAdapterProtocolSpecificProperty) {
        return query->protocol.dataType == kNvmeDataTypeIdentify ? "Identify Controller"
                                                                 : fmt::format("NVMe log {:02X}h", query->protocol.requestValue);
    }
    return "the device descriptor";
}

}  // namespace

std::string NameOfRequest(std::uint32_t code, const void* request, std::size_t size)
{
    struct Words {
        std::uint32_t code;
        const char* words;
    };
    static constexpr std::array<Words, 6> kWords{{{kIoctlStorageGetDeviceNumber, "the device number"},
                                                  {kIoctlStorageProtocolCommand, "an NVMe command"},
                                                  {kIoctlDiskGetDriveGeometry, "the geometry"},
                                                  {kIoctlDiskPerformance, "the disk performance"},
                                                  {kIoctlDiskGetPartitionInfoEx, "the partition"},
                                                  {kIoctlDiskGetDriveLayoutEx, "the partition table"}}};
    if (const auto ata = As<AtaPassThroughDirect>(request, size); ata && code == kIoctlAtaPassThroughDirect) {
        return AtaText(ata->currentTaskFile[protocol::ata::task_file::kCommand],
                       ata->currentTaskFile[protocol::ata::task_file::kFeatures]);
    }
    if (const auto scsi = As<ScsiPassThroughDirect>(request, size); scsi && code == kIoctlScsiPassThroughDirect) {
        return ScsiText(scsi->cdb);
    }
    if (code == kIoctlStorageQueryProperty) {
        return PropertyText(request, size);
    }
    const auto known = std::find_if(kWords.begin(), kWords.end(), [code](const Words& one) { return one.code == code; });
    return known != kWords.end() ? known->words : fmt::format("request {:#010x}", code);
}

}  // namespace orbis::insight
