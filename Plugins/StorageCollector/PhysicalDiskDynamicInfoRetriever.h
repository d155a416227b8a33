#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "HostSdk/Dictionary.h"
#include "HostSdk/IZelLog.h"
#include "HostSdk/Pdh.h"
#include "IStorageRetriever.h"
#include "orbis/datatypes/physical_disk.pb.h"

namespace Veyra::Orbis::Plugins {

namespace datatypes = ::veyra::orbis::datatypes;

// The item id texts of the disks to be left out: those without a size, a known media type and a GUID. Logs one line for each.
[[nodiscard]] std::vector<std::string> SelectItemIdsIfDiskGuidIsEmpty(Common::IZelLog& log);
// Whether the text equals an element of the list, exactly.
[[nodiscard]] bool IsInSkippableList(const std::vector<std::string>& itemIds, std::string_view itemId);

// Current activity of every disk from performance counters, and the megabytes moved on its last volume. Keeps one counter query
// open between collections, so each yields rates over the time since the one before. Takes no lock: one collection at a time.
class PhysicalDiskDynamicInfoRetriever final : public IStorageRetriever<datatypes::PhysicalDiskDynamicInfo> {
public:
    using Message = datatypes::PhysicalDiskDynamicInfo;
    using Map = Common::Dictionary<Sdk::Common::Identifiers::ItemId, std::shared_ptr<const Message>>;

    // Opens the query and takes the first sample. A query that cannot be opened is logged; collections then give no data until the
    // plug-in is constructed again.
    explicit PhysicalDiskDynamicInfoRetriever(std::shared_ptr<Common::IZelLog> log);

    [[nodiscard]] Common::CollectionList<Message> CollectData(const Sdk::Common::Identifiers::ItemId& itemId) override;

    // One message per disk. Never fails: failures are logged, and the messages made so far are returned.
    [[nodiscard]] Map GetDynamicDiskData();
    // Opens the query (again), makes the counters of every instance and takes a first sample.
    void RefreshPdhQuery();
    // Logs the disk names that WMI reports, for when PDH does not list its instances.
    void QueryPhysicalDiskNameByWMI();

private:
    static constexpr std::size_t kCounters = 7;
    using Counters = std::array<std::shared_ptr<Common::Utilities::IPdhCounter>, kCounters>;

    // The message of one instance and its item id. Exceptions of its sources leave it.
    struct Inventory;
    void CollectInstance(const std::string& name, const Counters& counters, const Inventory& inventory, Map& map);

    std::shared_ptr<Common::IZelLog> m_Log;
    std::shared_ptr<Common::Utilities::IPdhQuery> m_Query;
    std::vector<std::pair<std::string, Counters>> m_PdhCountersMap;  // by instance name, in the order they were listed
};

}  // namespace Veyra::Orbis::Plugins
