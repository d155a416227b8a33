#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "HostSdk/ItemId.h"

namespace Veyra::Orbis::Common {

// UTC.
using CollectionTime = std::chrono::system_clock::time_point;

// One collected item. The message is shared (it may live on an arena that its owner keeps alive) and may be null: an item without
// data.
template <class T>
class CollectionDatatypeItem {
public:
    CollectionDatatypeItem(std::shared_ptr<const T> value, Sdk::Common::Identifiers::ItemId itemId, CollectionTime collectionTime)
        : m_Value(std::move(value)), m_ItemId(std::move(itemId)), m_CollectionTime(collectionTime)
    {}

    [[nodiscard]] const std::shared_ptr<const T>& Value() const noexcept { return m_Value; }
    [[nodiscard]] const Sdk::Common::Identifiers::ItemId& ItemId() const noexcept { return m_ItemId; }
    [[nodiscard]] CollectionTime Time() const noexcept { return m_CollectionTime; }

private:
    std::shared_ptr<const T> m_Value;
    Sdk::Common::Identifiers::ItemId m_ItemId;
    CollectionTime m_CollectionTime;
};

// The result of a collection. No list (nullopt, the host's null) and an empty list are different answers.
template <class T>
using CollectionList = std::optional<std::vector<CollectionDatatypeItem<T>>>;

}  // namespace Veyra::Orbis::Common
