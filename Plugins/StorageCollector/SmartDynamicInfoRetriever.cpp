#include "SmartDynamicInfoRetriever.h"

#include <string_view>
#include <utility>

#include <fmt/format.h>

#include "CollectedItems.h"
#include "HostSdk/Exceptions.h"
#include "SmartDataGetter.h"
#include "platform/Time.h"

namespace Veyra::Orbis::Plugins {
namespace {

constexpr std::string_view kFile = "Plugins\\StorageCollector\\SmartDynamicInfoRetriever";
constexpr std::string_view kFunction = "Veyra::Orbis::Plugins::SmartDynamicInfoRetriever::CollectData";

}  // namespace

SmartDynamicInfoRetriever::SmartDynamicInfoRetriever(std::shared_ptr<Common::IZelLog> log) : m_Log(std::move(log)) {}

Common::CollectionList<datatypes::SmartDynamicInfo> SmartDynamicInfoRetriever::CollectData(
    const Sdk::Common::Identifiers::ItemId& itemId)
try {
    const Common::CollectionTime now = orbis::platform::Time::Current().UtcNow();
    const auto collected = SmartDataGetter::GetDynamicDiskData(*m_Log);
    if (collected.IsEmpty()) {
        m_Log->Debug("No SMART data been reached out", __LINE__, kFile, kFunction);
        return std::nullopt;  // Meant: no list, not an empty one
    }
    if (!itemId.IsAll()) {
        m_Log->Trace(fmt::format("Specific data for SmartDynamicInfoRetriever, itemId : {0}", itemId.ToString()), __LINE__, kFile,
                     kFunction);
    }
    auto items = CollectedItems(collected, itemId, now);
    m_Log->Trace(fmt::format("Got total info for SmartDynamicInfoCollector: {0}", items.size()), __LINE__, kFile, kFunction);
    return items;
} catch (const Sdk::Exceptions::NotSupportedException& exception) {
    m_Log->Error(exception, __LINE__, kFile, kFunction);
    return std::vector<Common::CollectionDatatypeItem<datatypes::SmartDynamicInfo>>{};
}

}  // namespace Veyra::Orbis::Plugins
