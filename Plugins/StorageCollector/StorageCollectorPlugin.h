#pragma once

#include <memory>
#include <string_view>

#include "HostSdk/BaseCollectorPlugin.h"
#include "HostSdk/CancellationToken.h"
#include "HostSdk/CollectionDatatypeItem.h"
#include "HostSdk/IAgent.h"
#include "HostSdk/ItemId.h"
#include "IStorageRetriever.h"
#include "RetrieverFactories.h"

namespace Veyra::Orbis::Plugins {

// The plug-in: one collection operation for each datatype, which calls its retriever through ItemHandler.
//
// An operation returns one item, or all items. It fails with ZelException, with OperationCanceledException when the token was
// cancelled before the call, and with NullReferenceException, unlogged, when its retriever could not be constructed.
class StorageCollectorPlugin final : public Common::Utilities::BaseClasses::BaseCollectorPlugin {
public:
    // Registration data; see Border.cpp for the table that a host discovers.
    static constexpr std::string_view Id = "{77517a8f-8645-40c4-9e41-215e96e7dcfc}";
    static constexpr std::string_view Name = "Storage Info Collector";
    static constexpr std::string_view Description = "Enables collection of Physical Disk and Storage datatypes";
    static constexpr std::string_view LogId = "StrgColl";

    // The agent is not used and may be null. A retriever that cannot be constructed is logged and left out; the others work.
    explicit StorageCollectorPlugin(Lumo::Interfaces::IAgent* agent,
                                    const RetrieverFactories& make = RetrieverFactories::Default());

    using ItemId = Sdk::Common::Identifiers::ItemId;
    using CancellationToken = Common::CancellationToken;

    Common::CollectionList<datatypes::PhysicalDiskDynamicInfo> CollectPhysicalDiskDynamicInfo(
        const ItemId& itemId, const CancellationToken* cancellationToken = nullptr);
    Common::CollectionList<datatypes::PhysicalDiskStaticInfo> CollectPhysicalDiskStaticInfo(
        const ItemId& itemId, const CancellationToken* cancellationToken = nullptr);
    Common::CollectionList<datatypes::SmartDynamicInfo> CollectSmartDynamicInfo(
        const ItemId& itemId, const CancellationToken* cancellationToken = nullptr);
    Common::CollectionList<datatypes::SmartNvmeInfo> CollectSmartNvmeInfo(const ItemId& itemId,
                                                                          const CancellationToken* cancellationToken = nullptr);
    Common::CollectionList<datatypes::SmartStaticInfo> CollectSmartStaticInfo(const ItemId& itemId,
                                                                              const CancellationToken* cancellationToken = nullptr);
    Common::CollectionList<datatypes::NvmeIdentifyControllerData> CollectNvmeIdentifyControllerData(
        const ItemId& itemId, const CancellationToken* cancellationToken = nullptr);

private:
    template <class T>
    using RetrieverPtr = std::unique_ptr<IStorageRetriever<T>>;

    // Declared in the order of their construction.
    RetrieverPtr<datatypes::PhysicalDiskDynamicInfo> m_PhysicalDiskDynamicInfoRetriever;
    RetrieverPtr<datatypes::PhysicalDiskStaticInfo> m_PhysicalDiskStaticInfoRetriever;
    RetrieverPtr<datatypes::SmartDynamicInfo> m_SmartDynamicInfoRetriever;
    RetrieverPtr<datatypes::SmartNvmeInfo> m_SmartNvmeInfoRetriever;
    RetrieverPtr<datatypes::SmartStaticInfo> m_SmartStaticInfoRetriever;
    RetrieverPtr<datatypes::NvmeIdentifyControllerData> m_NvmeIdentifyControllerDataRetriever;
};

}  // namespace Veyra::Orbis::Plugins
