#include "SmartStaticInfoRetriever.h"

#include <string_view>
#include <utility>

#include <fmt/format.h>

#include "CollectedItems.h"
#include "SmartDataGetter.h"
#include "platform/Time.h"

namespace Veyra::Orbis::Plugins {
namespace {

constexpr std::string_view kFile = "Plugins\\StorageCollector\\SmartStaticInfoRetriever";
constexpr std::string_view kFunction = "Veyra::Orbis::Plugins::SmartStaticInfoRetriever::CollectData";

}  // namespace

SmartStaticInfoRetriever::SmartStaticInfoRetriever(std::shared_ptr<Common::IZelLog> log) : m_Log(std::move(log)) {}

Common::CollectionList<datatypes::SmartStaticInfo> SmartStaticInfoRetriever::CollectData(
    const Sdk::Common::Identifiers::ItemId& itemId)
{
    const Common::CollectionTime now = orbis::platform::Time::Current().UtcNow();
    const auto collected = SmartDataGetter::GetStaticDiskData(*m_Log);
    if (collected.IsEmpty()) {
        m_Log->Debug("No disk data been reached out", __LINE__, kFile, kFunction);
        return std::vector<Common::CollectionDatatypeItem<datatypes::SmartStaticInfo>>{};
    }
    if (!itemId.IsAll()) {
        m_Log->Trace(fmt::format("Specific data for SmartStaticInfoRetriever, itemId : {0}", itemId.ToString()), __LINE__, kFile,
                     kFunction);
    }
    auto items = CollectedItems(collected, itemId, now);
    m_Log->Trace(fmt::format("Got total info for SmartStaticInfoCollector: {0}", items.size()), __LINE__, kFile, kFunction);
    return items;
}

}  // namespace Veyra::Orbis::Plugins
