#include "StorageCollectorPlugin.h"

#include <string_view>

#include "CommonCLI/ExceptionSupport.h"
#include "CommonCLI/NativeException.h"
#include "HostSdk/Exceptions.h"
#include "LogSite.h"

namespace Veyra::Orbis::Plugins {

using Common::CancellationToken;
using Common::CollectionList;
using Common::IZelLog;
using Cpp::Common::ItemHandler;
using Cpp::Common::ItemHandlerDelegate;
using Cpp::Common::NotSupportedExceptionBehaviour;
using Sdk::Common::Identifiers::ItemId;
using Sdk::Exceptions::NullReferenceException;

namespace {

constexpr std::string_view kFile = "Plugins\\StorageCollector\\StorageCollectorPlugin";
constexpr std::string_view kConstructor = "Veyra::Orbis::Plugins::StorageCollectorPlugin::StorageCollectorPlugin";

// The factory's retriever, or null when it cannot be created. The plug-in is constructed in any case.
template <class Factory>
auto Create(const Factory& make, const std::shared_ptr<IZelLog>& log) -> typename Factory::result_type
{
    try {
        return make ? make(log) : nullptr;
    } catch (...) {
        LogSite{*log, kFile, kConstructor}.Error(Cpp::Common::CurrentFailure().fullText, __LINE__);
        return nullptr;
    }
}

template <class T, class Retriever>
CollectionList<T> Collect(const std::unique_ptr<Retriever>& retriever, const ItemId& itemId, IZelLog& log,
                          const CancellationToken* ct)
{
    // Intentional: a missing retriever fails here, before the wrapper, so the host sees it raw and nothing is logged.
    if (retriever == nullptr) {
        throw NullReferenceException();
    }
    const ItemHandlerDelegate<CollectionList<T>> delegate = [&retriever](const ItemId& id) { return retriever->CollectData(id); };
    return ItemHandler<CollectionList<T>>::ExecuteHandlingException(delegate, itemId,
                                                                    NotSupportedExceptionBehaviour::WrapInZelException, log, ct);
}

}  // namespace

StorageCollectorPlugin::StorageCollectorPlugin(Lumo::Interfaces::IAgent* /*agent*/, const RetrieverFactories& make)
    : BaseCollectorPlugin(LogId),
      m_PhysicalDiskDynamicInfoRetriever(Create(make.physicalDiskDynamicInfo, _log)),
      m_PhysicalDiskStaticInfoRetriever(Create(make.physicalDiskStaticInfo, _log)),
      m_SmartDynamicInfoRetriever(Create(make.smartDynamicInfo, _log)),
      m_SmartNvmeInfoRetriever(Create(make.smartNvmeInfo, _log)),
      m_SmartStaticInfoRetriever(Create(make.smartStaticInfo, _log)),
      m_NvmeIdentifyControllerDataRetriever(Create(make.nvmeIdentifyControllerData, _log))
{}

CollectionList<datatypes::PhysicalDiskDynamicInfo> StorageCollectorPlugin::CollectPhysicalDiskDynamicInfo(
    const ItemId& itemId, const CancellationToken* cancellationToken)
{
    return Collect<datatypes::PhysicalDiskDynamicInfo>(m_PhysicalDiskDynamicInfoRetriever, itemId, *_log, cancellationToken);
}

CollectionList<datatypes::PhysicalDiskStaticInfo> StorageCollectorPlugin::CollectPhysicalDiskStaticInfo(
    const ItemId& itemId, const CancellationToken* cancellationToken)
{
    return Collect<datatypes::PhysicalDiskStaticInfo>(m_PhysicalDiskStaticInfoRetriever, itemId, *_log, cancellationToken);
}

CollectionList<datatypes::SmartDynamicInfo> StorageCollectorPlugin::CollectSmartDynamicInfo(
    const ItemId& itemId, const CancellationToken* cancellationToken)
{
    return Collect<datatypes::SmartDynamicInfo>(m_SmartDynamicInfoRetriever, itemId, *_log, cancellationToken);
}

CollectionList<datatypes::SmartNvmeInfo> StorageCollectorPlugin::CollectSmartNvmeInfo(const ItemId& itemId,
                                                                                      const CancellationToken* cancellationToken)
{
    return Collect<datatypes::SmartNvmeInfo>(m_SmartNvmeInfoRetriever, itemId, *_log, cancellationToken);
}

CollectionList<datatypes::SmartStaticInfo> StorageCollectorPlugin::CollectSmartStaticInfo(
    const ItemId& itemId, const CancellationToken* cancellationToken)
{
    return Collect<datatypes::SmartStaticInfo>(m_SmartStaticInfoRetriever, itemId, *_log, cancellationToken);
}

CollectionList<datatypes::NvmeIdentifyControllerData> StorageCollectorPlugin::CollectNvmeIdentifyControllerData(
    const ItemId& itemId, const CancellationToken* cancellationToken)
{
    return Collect<datatypes::NvmeIdentifyControllerData>(m_NvmeIdentifyControllerDataRetriever, itemId, *_log, cancellationToken);
}

}  // namespace Veyra::Orbis::Plugins
