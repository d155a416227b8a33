#include "SmartNvmeInfoRetriever.h"

#include <exception>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "CollectedItems.h"
#include "CommonCLI/NativeException.h"
#include "LogSite.h"
#include "MessageArena.h"
#include "NvmeDataGetter.h"
#include "NvmeMapping.h"
#include "StorageHelper.h"
#include "platform/Time.h"

namespace Veyra::Orbis::Plugins {
namespace {

using Item = Common::CollectionDatatypeItem<datatypes::SmartNvmeInfo>;

constexpr std::string_view kHealthFile = "Plugins\\StorageCollector\\SmartNvmeInfoRetriever";
constexpr std::string_view kGetHealthData = "Veyra::Orbis::Plugins::NvmeDataGetter::GetNvmeHealthData";
constexpr std::string_view kCollectHealthData = "Veyra::Orbis::Plugins::SmartNvmeInfoRetriever::CollectData";

}  // namespace

NvmeDataGetter::MessageMap<datatypes::SmartNvmeInfo> NvmeDataGetter::GetNvmeHealthData(Common::IZelLog& log)
{
    const LogSite site{log, kHealthFile, kGetHealthData};
    const auto debug = [&site](std::string_view text) { site.Debug(text, __LINE__); };
    MessageMap<datatypes::SmartNvmeInfo> collected;
    const std::vector<DiskDeviceInfo> devices = StorageHelper::getDeviceInfo();
    const std::shared_ptr<Arena> arena = NewMessageArena();
    WalkDrives("NvmeHealthInfo", debug, [&](std::int32_t drive, const std::string& name) {
        auto* info = NewMessage<datatypes::SmartNvmeInfo>(*arena);
        const auto health = NvmeMapping::TakeOwnership(SXNvmNewHealthInfo(drive));
        if (health != nullptr) {
            site.Debug(fmt::format("Fetching HealthInfo for {0}", name), __LINE__);
            info->set_allocated_health_info(toNvmeHealthInfo(health.get(), *arena));
        }
        const auto customized = NvmeMapping::TakeOwnership(SXNvmNewCustomizedHealthInfo(drive));
        if (customized != nullptr) {
            // Intentional: people search their logs for this misspelling.
            site.Debug(fmt::format("Fetching CuctomizedHealthInfo for {0}", name), __LINE__);
            info->set_allocated_customized_health_info(toCustomizedHealthInfo(customized.get(), *arena));
        }
        auto itemId = StorageHelper::itemIdOf(devices, static_cast<std::uint32_t>(drive));
        site.Debug(fmt::format("{0} collected.", itemId.ToString()), __LINE__);
        collected.Add(std::move(itemId), {arena, info});
    });
    return collected;
}

SmartNvmeInfoRetriever::SmartNvmeInfoRetriever(std::shared_ptr<Common::IZelLog> log) : m_Log(std::move(log)) {}

Common::CollectionList<datatypes::SmartNvmeInfo> SmartNvmeInfoRetriever::CollectData(const Sdk::Common::Identifiers::ItemId& itemId)
{
    const LogSite log{*m_Log, kHealthFile, kCollectHealthData};
    const Common::CollectionTime now = orbis::platform::Time::Current().UtcNow();
    NvmeDataGetter::MessageMap<datatypes::SmartNvmeInfo> collected;
    try {
        collected = NvmeDataGetter::GetNvmeHealthData(*m_Log);
    } catch (const std::exception& failure) {
        log.Error("Exception from GetNvmeHealthData() : " + Cpp::Common::DescriptionOf(failure), __LINE__);
        return std::vector<Item>{};
    }
    if (collected.IsEmpty()) {
        log.Debug("No SMART NVMe data has been reached out", __LINE__);
        return std::vector<Item>{};
    }
    if (!itemId.IsAll()) {
        log.Debug("Specific data for SmartNvmeInfoRetriever, itemId : " + itemId.ToString(), __LINE__);
    }
    auto items = CollectedItems(collected, itemId, now);
    log.Trace(fmt::format("Got total info for SmartNvmeInfoCollector: {0}", items.size()), __LINE__);
    return items;
}

}  // namespace Veyra::Orbis::Plugins
