#include <fmt/format.h>

#include "explain/Observations.h"
#include "insight/ErrorText.h"
#include "platform/Requests.h"

// Why a collection sends no message for a disk.
namespace orbis::insight {
namespace {

using Observations = Explainer::Observations;

bool IsOfNvme(std::string_view datatype) { return datatype == "SmartNvmeInfo" || datatype == "NvmeIdentifyControllerData"; }

std::string WhyNoNvme(std::uint32_t number, const DiskEvidence& disk)
{
    constexpr std::uint32_t kDrives = 32;
    if (number >= kDrives) {
        return "the device-query library names drives 0 to 31 alone";
    }
    if (!disk.busType) {
        return "not known whether it is an NVMe drive: its device descriptor was not read";
    }
    if (*disk.busType != static_cast<std::uint32_t>(platform::BusType::Nvme) &&
        *disk.busType != static_cast<std::uint32_t>(platform::BusType::Raid)) {
        return fmt::format("it is no NVMe drive (bus type {}) and is not asked", *disk.busType);
    }
    return disk.nvmeIdentify.state == PageAnswer::State::Refused
               ? "NVMe Identify Controller was refused: " + ErrorText(disk.nvmeIdentify.error)
               : "the drive gave no Identify Controller data";
}

std::string WhyUnsent(const Observations& observations, std::string_view datatype, std::uint32_t number)
{
    const auto disk = observations.Disks().find(number);
    if (disk != observations.Disks().end() && disk->second.openError) {
        return "the disk could not be opened: " + ErrorText(*disk->second.openError);
    }
    if (IsOfNvme(datatype)) {
        return WhyNoNvme(number, disk == observations.Disks().end() ? DiskEvidence() : disk->second);
    }
    if (observations.FindPage(number, 0, DEVICE_NUMBER) == nullptr) {
        return "the walk over the disk devices ended before it";
    }
    if (datatype == "PhysicalDiskDynamicInfo" && observations.Letters(number).empty()) {
        return "the disk has no drive letter";
    }
    return "left out; see the findings of the pass";
}

}  // namespace

std::vector<MessageExplanation> Explainer::ExplainUnsent(std::string_view datatype, const std::set<std::string>& sent) const
{
    std::vector<MessageExplanation> unsent;
    for (const auto& [number, id] : m_Observations->Inventory()) {
        const std::string itemId = "Disk_" + id;
        if (sent.contains(itemId)) {
            continue;
        }
        MessageExplanation& message = unsent.emplace_back();
        message.set_datatype(std::string(datatype));
        message.set_item_id(itemId);
        message.set_disk(number);
        message.set_name(m_Observations->NameOf(number));
        message.set_reason(WhyUnsent(*m_Observations, datatype, number));
    }
    return unsent;
}

}  // namespace orbis::insight
