#include "NvmeIdentifyControllerDataRetriever.h"

#include <exception>
#include <string>
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

using Item = Common::CollectionDatatypeItem<datatypes::NvmeIdentifyControllerData>;
using orbis::platform::ValidUtf8;

constexpr std::string_view kFile = "Plugins\\StorageCollector\\NvmeIdentifyControllerDataRetriever";
constexpr std::string_view kFunction = "Veyra::Orbis::Plugins::NvmeIdentifyControllerDataRetriever::CollectData";

// The bytes stand in the text as they are, read as UTF-8 and not as hexadecimal digits, whatever the "0x" says; this is meant.
std::string ByteStringObjects(const std::string& key, const datatypes::NvmeIdentifyControllerData& data)
{
    return key + " ByteStringObjects: FruGloballyUniqueIdentifier: 0x" + ValidUtf8(data.fru_globally_unique_identifier()) +
           ", TotalNvmCapacity: 0x" + ValidUtf8(data.total_nvm_capacity()) + ", UnallocatedNvmCapacity: 0x" +
           ValidUtf8(data.unallocated_nvm_capacity());
}

}  // namespace

NvmeIdentifyControllerDataRetriever::NvmeIdentifyControllerDataRetriever(std::shared_ptr<Common::IZelLog> log)
    : m_Log(std::move(log))
{}

Common::CollectionList<datatypes::NvmeIdentifyControllerData> NvmeIdentifyControllerDataRetriever::CollectData(
    const Sdk::Common::Identifiers::ItemId& itemId)
{
    m_Log->Debug(fmt::format("datatypeId: 'NvmeIdentifyControllerData', itemId: '{0}'", itemId.ToString()), __LINE__, kFile,
                 kFunction);
    const Common::CollectionTime now = orbis::platform::Time::Current().UtcNow();
    NvmeDataGetter::MessageMap<datatypes::NvmeIdentifyControllerData> collected;
    try {
        collected = NvmeDataGetter::GetIdentifyControllerData(*m_Log);
        for (const auto& [key, data] : collected) {
            m_Log->Trace(ByteStringObjects(key.ToString(), *data), __LINE__, kFile, kFunction);
        }
    } catch (const std::exception& failure) {
        m_Log->Error(
            fmt::format("Exception from GetIdentifyControllerData() : {0}", orbis::platform::DefaultToUtf8(failure.what())),
            __LINE__, kFile, kFunction);
        return std::vector<Item>{};
    }
    std::vector<Item> items;
    if (collected.IsEmpty()) {
        m_Log->Debug("No identify controller data has been reached out", __LINE__, kFile, kFunction);
        return items;
    }
    if (itemId.IsAll()) {
        m_Log->Debug("get all data for NvmeIdentifyControllerDataRetriever", __LINE__, kFile, kFunction);
        items.reserve(collected.Count());
        for (const auto& [key, data] : collected) {
            items.emplace_back(data, key, now);
        }
    } else {
        m_Log->Debug(fmt::format("get specific data for NvmeIdentifyControllerDataRetriever, itemID: {0}", itemId.ToString()),
                     __LINE__, kFile, kFunction);
        const auto* data = collected.Find(itemId);
        if (data == nullptr) {
            throw Sdk::Exceptions::ArgumentOutOfRangeException("cannot find data with specific ID: " + itemId.ToString());
        }
        items.emplace_back(*data, itemId, now);
    }
    // The count stands in the place of the line, the text keeps its placeholder, and there is no file and no function; this is
    // meant.
    m_Log->Trace("Got total info for NvmeIdentifyControllerDataRetriever: {0}", static_cast<std::int32_t>(items.size()), "", "");
    return items;
}

}  // namespace Veyra::Orbis::Plugins
