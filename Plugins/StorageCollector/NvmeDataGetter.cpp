#include "NvmeDataGetter.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include <fmt/format.h>

#include "MessageArena.h"
#include "NvmeMapping.h"
#include "StorageHelper.h"

// The walk over the drives, for both NVMe datatypes.
namespace Veyra::Orbis::Plugins {
namespace {

using NvmeMapping::Own;
using veyra::sondix::StorageBusType;

// The log under the file and function of the collection that is walking; the file is its retriever's, not this one.
struct Site {
    Common::IZelLog& log;
    std::string_view file;
    std::string_view function;

    void Debug(const std::string& text, std::int32_t line) const { log.Debug(text, line, file, function); }
};

// Visits the drives that may speak NVMe, in the order of their numbers: those on an NVMe bus, and those behind a RAID-mode
// controller, whose bus type is the controller's.
template <class Visit>
void WalkDrives(const Site& site, std::string_view what, Visit visit)
{
    std::int32_t drive = 0;
    for (std::uint32_t mask = SXGetPhysicalDrives(); mask != 0; mask >>= 1U, ++drive) {
        const std::string name = fmt::format("PhysicalDrive{0}", drive);
        site.Debug(fmt::format("Fetching {0} for {1}", what, name), __LINE__);
        if ((mask & 1U) == 0) {
            site.Debug(fmt::format("Skipping {0} because it doesn't exist", name), __LINE__);
            continue;
        }
        const StorageBusType busType = SXQueryStorageBusType(drive);
        if (busType != StorageBusType::BusTypeNvme && busType != StorageBusType::BusTypeRAID) {
            // The bus type stands in both places and the drive in none; this is meant.
            site.Debug(fmt::format("Skipping {0} because its bustype is {0}", static_cast<std::uint32_t>(busType)), __LINE__);
            continue;
        }
        visit(drive, name);
    }
}

Sdk::Common::Identifiers::ItemId ItemIdOfDrive(const std::vector<DiskDeviceInfo>& devices, std::int32_t drive)
{
    return StorageHelper::itemIdOf(StorageHelper::findDeviceIdByPhysicalDriveNumber(devices, static_cast<std::uint32_t>(drive)));
}

// The words of a text with "_" between them: a model name as a key. No collector calls it yet.
[[maybe_unused]] std::string ReplaceSpace(const std::string& text)
{
    std::string joined;
    std::string_view rest = text;
    while (!rest.empty()) {
        const std::string_view word = rest.substr(0, rest.find(' '));
        rest.remove_prefix(std::min(word.size() + 1, rest.size()));
        if (!word.empty()) {
            joined += joined.empty() ? "" : "_";
            joined += word;
        }
    }
    return joined;
}

}  // namespace

NvmeDataGetter::MessageMap<datatypes::NvmeIdentifyControllerData> NvmeDataGetter::GetIdentifyControllerData(Common::IZelLog& log)
{
    const Site site{log, "Plugins\\StorageCollector\\NvmeIdentifyControllerDataRetriever",
                    "Veyra::Orbis::Plugins::NvmeDataGetter::GetIdentifyControllerData"};
    MessageMap<datatypes::NvmeIdentifyControllerData> collected;
    const std::vector<DiskDeviceInfo> devices = StorageHelper::getDeviceInfo();
    const std::shared_ptr<Arena> arena = NewMessageArena();
    WalkDrives(site, "IdentifyControllerData", [&](std::int32_t drive, const std::string& /*name*/) {
        const auto controllerData = Own(SXNvmNewIdentifyControllerData(drive));
        if (controllerData == nullptr) {
            site.Debug("!controllerData is true, skip this one.", __LINE__);
            return;
        }
        const auto* data = toIdentifyControllerData(controllerData.get(), *arena);
        if (data == nullptr) {
            site.Debug("!data is true, skip this one.", __LINE__);
            return;
        }
        auto itemId = ItemIdOfDrive(devices, drive);
        site.Debug(fmt::format("{0} collected.", itemId.ToString()), __LINE__);
        collected.Add(std::move(itemId), {arena, data});
    });
    return collected;
}

NvmeDataGetter::MessageMap<datatypes::SmartNvmeInfo> NvmeDataGetter::GetNvmeHealthData(Common::IZelLog& log)
{
    const Site site{log, "Plugins\\StorageCollector\\SmartNvmeInfoRetriever",
                    "Veyra::Orbis::Plugins::NvmeDataGetter::GetNvmeHealthData"};
    MessageMap<datatypes::SmartNvmeInfo> collected;
    const std::vector<DiskDeviceInfo> devices = StorageHelper::getDeviceInfo();
    const std::shared_ptr<Arena> arena = NewMessageArena();
    WalkDrives(site, "NvmeHealthInfo", [&](std::int32_t drive, const std::string& name) {
        auto* info = Arena::CreateMessage<datatypes::SmartNvmeInfo>(arena.get());
        const auto health = Own(SXNvmNewHealthInfo(drive));
        if (health != nullptr) {
            site.Debug(fmt::format("Fetching HealthInfo for {0}", name), __LINE__);
            info->set_allocated_health_info(toNvmeHealthInfo(health.get(), *arena));
        }
        const auto customized = Own(SXNvmNewCustomizedHealthInfo(drive));
        if (customized != nullptr) {
            // Misspelt; this is meant, people search their logs for it.
            site.Debug(fmt::format("Fetching CuctomizedHealthInfo for {0}", name), __LINE__);
            info->set_allocated_customized_health_info(toCustomizedHealthInfo(customized.get(), *arena));
        }
        auto itemId = ItemIdOfDrive(devices, drive);
        site.Debug(fmt::format("{0} collected.", itemId.ToString()), __LINE__);
        collected.Add(std::move(itemId), {arena, info});
    });
    return collected;
}

}  // namespace Veyra::Orbis::Plugins
