#include "NvmeIdentifyControllerDataRetriever.h"

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
#include "platform/Text.h"
#include "platform/Time.h"

namespace Veyra::Orbis::Plugins {
namespace {

using Item = Common::CollectionDatatypeItem<datatypes::NvmeIdentifyControllerData>;
using orbis::platform::ValidUtf8;

constexpr std::string_view kIdentifyFile = "Plugins\\StorageCollector\\NvmeIdentifyControllerDataRetriever";
constexpr std::string_view kGetIdentifyData = "Veyra::Orbis::Plugins::NvmeDataGetter::GetIdentifyControllerData";
constexpr std::string_view kCollectIdentifyData = "Veyra::Orbis::Plugins::NvmeIdentifyControllerDataRetriever::CollectData";

// Intentional: the raw bytes are inserted and read as UTF-8; they are not hexadecimal digits, despite the "0x".
std::string ByteStringObjects(const std::string& key, const datatypes::NvmeIdentifyControllerData& data)
{
    return key + " ByteStringObjects: FruGloballyUniqueIdentifier: 0x" + ValidUtf8(data.fru_globally_unique_identifier()) +
           ", TotalNvmCapacity: 0x" + ValidUtf8(data.total_nvm_capacity()) + ", UnallocatedNvmCapacity: 0x" +
           ValidUtf8(data.unallocated_nvm_capacity());
}

}  // namespace

NvmeDataGetter::MessageMap<datatypes::NvmeIdentifyControllerData> NvmeDataGetter::GetIdentifyControllerData(Common::IZelLog& log)
{
    const LogSite site{log, kIdentifyFile, kGetIdentifyData};
    const auto debug = [&site](std::string_view text) { site.Debug(text, __LINE__); };
    MessageMap<datatypes::NvmeIdentifyControllerData> collected;
    const std::vector<DiskDeviceInfo> devices = StorageHelper::getDeviceInfo();
    const std::shared_ptr<Arena> arena = NewMessageArena();
    WalkDrives("IdentifyControllerData", debug, [&](std::int32_t drive, const std::string& /*name*/) {
        const auto controllerData = NvmeMapping::TakeOwnership(SXNvmNewIdentifyControllerData(drive));
        if (controllerData == nullptr) {
            site.Debug("!controllerData is true, skip this one.", __LINE__);
            return;
        }
        const auto* data = toIdentifyControllerData(controllerData.get(), *arena);
        if (data == nullptr) {
            site.Debug("!data is true, skip this one.", __LINE__);
            return;
        }
        auto itemId = StorageHelper::itemIdOf(devices, static_cast<std::uint32_t>(drive));
        site.Debug(fmt::format("{0} collected.", itemId.ToString()), __LINE__);
        collected.Add(std::move(itemId), {arena, data});
    });
    return collected;
}

NvmeIdentifyControllerDataRetriever::NvmeIdentifyControllerDataRetriever(std::shared_ptr<Common::IZelLog> log)
    : m_Log(std::move(log))
{}

Common::CollectionList<datatypes::NvmeIdentifyControllerData> NvmeIdentifyControllerDataRetriever::CollectData(
    const Sdk::Common::Identifiers::ItemId& itemId)
{
    const LogSite log{*m_Log, kIdentifyFile, kCollectIdentifyData};
    log.Debug(fmt::format("datatypeId: 'NvmeIdentifyControllerData', itemId: '{0}'", itemId.ToString()), __LINE__);
    const Common::CollectionTime now = orbis::platform::Time::Current().UtcNow();
    NvmeDataGetter::MessageMap<datatypes::NvmeIdentifyControllerData> collected;
    try {
        collected = NvmeDataGetter::GetIdentifyControllerData(*m_Log);
        for (const auto& [key, data] : collected) {
            log.Trace(ByteStringObjects(key.ToString(), *data), __LINE__);
        }
    } catch (const std::exception& failure) {
        log.Error(fmt::format("Exception from GetIdentifyControllerData() : {0}", Cpp::Common::DescriptionOf(failure)), __LINE__);
        return std::vector<Item>{};
    }
    if (collected.IsEmpty()) {
        log.Debug("No identify controller data has been reached out", __LINE__);
        return std::vector<Item>{};
    }
    if (itemId.IsAll()) {
        log.Debug("get all data for NvmeIdentifyControllerDataRetriever", __LINE__);
    } else {
        log.Debug(fmt::format("get specific data for NvmeIdentifyControllerDataRetriever, itemID: {0}", itemId.ToString()),
                  __LINE__);
    }
    auto items = CollectedItems(collected, itemId, now);
    // Intentional: the count is passed as the line number, the text keeps its placeholder, and there is no file and no function.
    m_Log->Trace("Got total info for NvmeIdentifyControllerDataRetriever: {0}", static_cast<std::int32_t>(items.size()), "", "");
    return items;
}

}  // namespace Veyra::Orbis::Plugins
