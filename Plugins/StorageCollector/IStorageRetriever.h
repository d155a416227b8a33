#pragma once

#include "HostSdk/CollectionDatatypeItem.h"
#include "HostSdk/ItemId.h"

namespace Veyra::Orbis::Plugins {

// Collects one datatype. An implementation is constructed from the plug-in's logger, takes the collection time once at the start of
// each collection, and answers "all" with every disk in the order of its sources.
template <class T>
class IStorageRetriever {
public:
    virtual ~IStorageRetriever() = default;

    // The requested item, or every item when the id asks for all. ItemHandler translates its exceptions.
    [[nodiscard]] virtual Common::CollectionList<T> CollectData(const Sdk::Common::Identifiers::ItemId& itemId) = 0;
};

}  // namespace Veyra::Orbis::Plugins
