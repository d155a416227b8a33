#pragma once

#include "HostSdk/CollectionDatatypeItem.h"
#include "HostSdk/ItemId.h"

namespace Veyra::Orbis::Plugins {

// Collects one datatype. Retrievers are constructed from the plug-in's log.
template <class T>
class IStorageRetriever {
public:
    virtual ~IStorageRetriever() = default;

    // One item for each disk, or the one that the id names; throws ArgumentOutOfRangeException when there is none of that id.
    [[nodiscard]] virtual Common::CollectionList<T> CollectData(const Sdk::Common::Identifiers::ItemId& itemId) = 0;
};

}  // namespace Veyra::Orbis::Plugins
