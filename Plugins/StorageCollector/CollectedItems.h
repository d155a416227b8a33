#pragma once

#include <memory>
#include <vector>

#include "HostSdk/CollectionDatatypeItem.h"
#include "HostSdk/Dictionary.h"
#include "HostSdk/Exceptions.h"
#include "HostSdk/ItemId.h"

namespace Veyra::Orbis::Plugins {

// The entry of the requested id, or every entry in the dictionary's order when the id asks for all. Throws
// ArgumentOutOfRangeException for an id that is not there.
template <class T>
[[nodiscard]] std::vector<Common::CollectionDatatypeItem<T>> CollectedItems(
    const Common::Dictionary<Sdk::Common::Identifiers::ItemId, std::shared_ptr<const T>>& collected,
    const Sdk::Common::Identifiers::ItemId& itemId, Common::CollectionTime time)
{
    std::vector<Common::CollectionDatatypeItem<T>> items;
    if (itemId.IsAll()) {
        items.reserve(collected.Count());
        for (const auto& [key, message] : collected) {
            items.emplace_back(message, key, time);
        }
    } else if (const auto* message = collected.Find(itemId)) {
        items.emplace_back(*message, itemId, time);
    } else {
        throw Sdk::Exceptions::ArgumentOutOfRangeException("cannot find data with specific ID: " + itemId.ToString());
    }
    return items;
}

}  // namespace Veyra::Orbis::Plugins
