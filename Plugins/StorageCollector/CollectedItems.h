#pragma once

#include <memory>
#include <vector>

#include "HostSdk/CollectionDatatypeItem.h"
#include "HostSdk/Dictionary.h"
#include "HostSdk/Exceptions.h"
#include "HostSdk/ItemId.h"

namespace Veyra::Orbis::Plugins {

// How one item is looked up.
enum class LookUp {
    Usual,     // an id that is not there raises ArgumentOutOfRangeException
    Reversed,  // an id that is there raises it, and one that is not gives an item without a message
};

// Every entry in the dictionary's order when the id asks for all, else the item with the id.
template <class T>
[[nodiscard]] std::vector<Common::CollectionDatatypeItem<T>> CollectedItems(
    const Common::Dictionary<Sdk::Common::Identifiers::ItemId, std::shared_ptr<const T>>& collected,
    const Sdk::Common::Identifiers::ItemId& itemId, Common::CollectionTime time, LookUp lookUp = LookUp::Usual)
{
    std::vector<Common::CollectionDatatypeItem<T>> items;
    if (itemId.IsAll()) {
        items.reserve(collected.Count());
        for (const auto& [key, message] : collected) {
            items.emplace_back(message, key, time);
        }
        return items;
    }
    const auto* message = collected.Find(itemId);
    if ((message != nullptr) == (lookUp == LookUp::Reversed)) {
        throw Sdk::Exceptions::ArgumentOutOfRangeException("cannot find data with specific ID: " + itemId.ToString());
    }
    items.emplace_back(message != nullptr ? *message : nullptr, itemId, time);
    return items;
}

}  // namespace Veyra::Orbis::Plugins
