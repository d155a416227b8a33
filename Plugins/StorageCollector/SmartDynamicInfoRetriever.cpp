#include "SmartDynamicInfoRetriever.h"

#include <string_view>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "CollectedItems.h"
#include "Common/SmartDataFetcher.h"
#include "HostSdk/Exceptions.h"
#include "LogSite.h"
#include "MessageArena.h"
#include "SmartDataGetter.h"
#include "StorageHelper.h"
#include "platform/Time.h"

namespace Veyra::Orbis::Plugins {
namespace {

using Cpp::Common::SmartDataProvider;
using Cpp::Common::HardwareAccessLib::BasicDiskInfo;

constexpr std::string_view kSmartDynamicFile = "Plugins\\StorageCollector\\SmartDynamicInfoRetriever";
constexpr std::string_view kGetSmartDynamicData = "Veyra::Orbis::Plugins::SmartDataGetter::GetDynamicDiskData";
constexpr std::string_view kCollectSmartDynamicData = "Veyra::Orbis::Plugins::SmartDynamicInfoRetriever::CollectData";

}  // namespace

SmartDataGetter::MessageMap<datatypes::SmartDynamicInfo> SmartDataGetter::GetDynamicDiskData(Common::IZelLog& log)
{
    const LogSite site{log, kSmartDynamicFile, kGetSmartDynamicData};
    const SmartDataProvider provider;
    const std::vector<BasicDiskInfo> disks = provider.GetAllBasicDiskInfo({});
    const std::vector<DiskDeviceInfo> devices = StorageHelper::getDeviceInfo();
    std::vector<WmiSmartDiskData> wmiRows = GetWmiSmartData();
    MessageMap<datatypes::SmartDynamicInfo> collected;
    const std::shared_ptr<Arena> arena = NewMessageArena();
    for (const BasicDiskInfo& disk : disks) {
        site.Debug(DescribeDisk(disk), __LINE__);
        const std::vector<std::uint8_t> wmiBlock = getSmartDataByPath(disk.instanceId, wmiRows);
        const auto collection = provider.GetSmartInformation(disk, wmiBlock);
        auto itemId = StorageHelper::itemIdOf(devices, disk.physicalDriveNumber);
        const auto* message = parseCacheToIMessage<datatypes::SmartDynamicInfo>(collection, *arena);
        collected.Add(std::move(itemId), {arena, message});
    }
    return collected;
}

SmartDynamicInfoRetriever::SmartDynamicInfoRetriever(std::shared_ptr<Common::IZelLog> log) : m_Log(std::move(log)) {}

Common::CollectionList<datatypes::SmartDynamicInfo> SmartDynamicInfoRetriever::CollectData(
    const Sdk::Common::Identifiers::ItemId& itemId)
try {
    const LogSite log{*m_Log, kSmartDynamicFile, kCollectSmartDynamicData};
    const Common::CollectionTime now = orbis::platform::Time::Current().UtcNow();
    const auto collected = SmartDataGetter::GetDynamicDiskData(*m_Log);
    if (collected.IsEmpty()) {
        log.Debug("No SMART data been reached out", __LINE__);
        return std::nullopt;  // Intentional: no list, not an empty one
    }
    if (!itemId.IsAll()) {
        log.Trace(fmt::format("Specific data for SmartDynamicInfoRetriever, itemId : {0}", itemId.ToString()), __LINE__);
    }
    auto items = CollectedItems(collected, itemId, now);
    log.Trace(fmt::format("Got total info for SmartDynamicInfoCollector: {0}", items.size()), __LINE__);
    return items;
} catch (const Sdk::Exceptions::NotSupportedException& exception) {
    LogSite{*m_Log, kSmartDynamicFile, kCollectSmartDynamicData}.Error(exception, __LINE__);
    return std::vector<Common::CollectionDatatypeItem<datatypes::SmartDynamicInfo>>{};
}

}  // namespace Veyra::Orbis::Plugins
