#pragma once

#include <functional>
#include <memory>

#include "HostSdk/IZelLog.h"
#include "IStorageRetriever.h"
#include "orbis/datatypes/nvme_health.pb.h"
#include "orbis/datatypes/nvme_identify.pb.h"
#include "orbis/datatypes/physical_disk.pb.h"
#include "orbis/datatypes/smart.pb.h"

namespace Veyra::Orbis::Plugins {

namespace datatypes = ::veyra::orbis::datatypes;

// Functions that create the plug-in's retrievers, one for each datatype, in the order of the calls. If a factory throws or is
// empty, the plug-in has no retriever for that datatype.
struct RetrieverFactories {
    template <class T>
    using Factory = std::function<std::unique_ptr<IStorageRetriever<T>>(const std::shared_ptr<Common::IZelLog>& log)>;

    Factory<datatypes::PhysicalDiskDynamicInfo> physicalDiskDynamicInfo;
    Factory<datatypes::PhysicalDiskStaticInfo> physicalDiskStaticInfo;
    Factory<datatypes::SmartDynamicInfo> smartDynamicInfo;
    Factory<datatypes::SmartNvmeInfo> smartNvmeInfo;
    Factory<datatypes::SmartStaticInfo> smartStaticInfo;
    Factory<datatypes::NvmeIdentifyControllerData> nvmeIdentifyControllerData;

    // The retrievers of this plug-in. Only this function names their classes, so a program that links its own definition of it runs
    // the plug-in with its own retrievers.
    [[nodiscard]] static RetrieverFactories Default();
};

}  // namespace Veyra::Orbis::Plugins
