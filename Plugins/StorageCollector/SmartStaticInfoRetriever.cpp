#include "SmartStaticInfoRetriever.h"

#include <string_view>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "CollectedItems.h"
#include "Common/SmartDataFetcher.h"
#include "LogSite.h"
#include "MessageArena.h"
#include "SmartDataGetter.h"
#include "StorageHelper.h"
#include "platform/Time.h"

namespace Veyra::Orbis::Plugins {
namespace {

using Cpp::Common::SmartDataProvider;
using Cpp::Common::HardwareAccessLib::BasicDiskInfo;

constexpr std::string_view kSmartStaticFile = "Plugins\\StorageCollector\\SmartStaticInfoRetriever";
constexpr std::string_view kGetSmartStaticData = "Veyra::Orbis::Plugins::SmartDataGetter::GetStaticDiskData";
constexpr std::string_view kCollectSmartStaticData = "Veyra::Orbis::Plugins::SmartStaticInfoRetriever::CollectData";

}  // namespace

SmartDataGetter::MessageMap<datatypes::SmartStaticInfo> SmartDataGetter::GetStaticDiskData(Common::IZelLog& log)
{
    const LogSite site{log, kSmartStaticFile, kGetSmartStaticData};
    const SmartDataProvider provider;
    const std::vector<BasicDiskInfo> disks = provider.GetAllBasicDiskInfo({});
    const std::vector<DiskDeviceInfo> devices = StorageHelper::getDeviceInfo();
    ModelList models = EnumDiskModels();
    MessageMap<datatypes::SmartStaticInfo> collected;
    const std::shared_ptr<Arena> arena = NewMessageArena();
    for (const BasicDiskInfo& disk : disks) {
        site.Debug(DescribeDisk(disk), __LINE__);
        Cpp::Common::SmartDataCollection collection = provider.GetSmartInformation(disk, {});
        if (!collection.modelName) {
            collection.modelName = getModelNameByIndex(disk.physicalDriveNumber, models);
        }
        const auto* message = parseCacheToIMessage<datatypes::SmartStaticInfo>(collection, *arena);
        collected.Add(StorageHelper::itemIdOf(devices, disk.physicalDriveNumber), {arena, message});
    }
    return collected;
}

SmartStaticInfoRetriever::SmartStaticInfoRetriever(std::shared_ptr<Common::IZelLog> log) : m_Log(std::move(log)) {}

Common::CollectionList<datatypes::SmartStaticInfo> SmartStaticInfoRetriever::CollectData(
    const Sdk::Common::Identifiers::ItemId& itemId)
{
    const LogSite log{*m_Log, kSmartStaticFile, kCollectSmartStaticData};
    const Common::CollectionTime now = orbis::platform::Time::Current().UtcNow();
    const auto collected = SmartDataGetter::GetStaticDiskData(*m_Log);
    if (collected.IsEmpty()) {
        log.Debug("No disk data been reached out", __LINE__);
        return std::vector<Common::CollectionDatatypeItem<datatypes::SmartStaticInfo>>{};
    }
    if (!itemId.IsAll()) {
        log.Trace(fmt::format("Specific data for SmartStaticInfoRetriever, itemId : {0}", itemId.ToString()), __LINE__);
    }
    auto items = CollectedItems(collected, itemId, now);
    log.Trace(fmt::format("Got total info for SmartStaticInfoCollector: {0}", items.size()), __LINE__);
    return items;
}

}  // namespace Veyra::Orbis::Plugins
