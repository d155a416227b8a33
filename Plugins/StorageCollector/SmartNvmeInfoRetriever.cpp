#include "SmartNvmeInfoRetriever.h"

#include <exception>
#include <string_view>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "HostSdk/Exceptions.h"
#include "NvmeDataGetter.h"
#include "platform/Text.h"
#include "platform/Time.h"

namespace Veyra::Orbis::Plugins {
namespace {

using Item = Common::CollectionDatatypeItem<datatypes::SmartNvmeInfo>;

constexpr std::string_view kFile = "Plugins\\StorageCollector\\SmartNvmeInfoRetriever";
constexpr std::string_view kFunction = "Veyra::Orbis::Plugins::SmartNvmeInfoRetriever::CollectData";

}  // namespace

SmartNvmeInfoRetriever::SmartNvmeInfoRetriever(std::shared_ptr<Common::IZelLog> log) : m_Log(std::move(log)) {}

Common::CollectionList<datatypes::SmartNvmeInfo> SmartNvmeInfoRetriever::CollectData(const Sdk::Common::Identifiers::ItemId& itemId)
{
    const Common::CollectionTime now = orbis::platform::Time::Current().UtcNow();
    NvmeDataGetter::MessageMap<datatypes::SmartNvmeInfo> collected;
    try {
        collected = NvmeDataGetter::GetNvmeHealthData(*m_Log);
    } catch (const std::exception& failure) {
        m_Log->Error("Exception from GetNvmeHealthData() : " + orbis::platform::DefaultToUtf8(failure.what()), __LINE__, kFile,
                     kFunction);
        return std::vector<Item>{};
    }
    std::vector<Item> items;
    if (collected.IsEmpty()) {
        m_Log->Debug("No SMART NVMe data has been reached out", __LINE__, kFile, kFunction);
        return items;
    }
    if (itemId.IsAll()) {
        items.reserve(collected.Count());
        for (const auto& [key, info] : collected) {
            items.emplace_back(info, key, now);
        }
    } else {
        m_Log->Debug("Specific data for SmartNvmeInfoRetriever, itemId : " + itemId.ToString(), __LINE__, kFile, kFunction);
        const auto* info = collected.Find(itemId);
        if (info == nullptr) {
            throw Sdk::Exceptions::ArgumentOutOfRangeException("cannot find data with specific ID: " + itemId.ToString());
        }
        items.emplace_back(*info, itemId, now);
    }
    m_Log->Trace(fmt::format("Got total info for SmartNvmeInfoCollector: {0}", items.size()), __LINE__, kFile, kFunction);
    return items;
}

}  // namespace Veyra::Orbis::Plugins
