#include "RetrieverFactories.h"

#include "NvmeIdentifyControllerDataRetriever.h"
#include "PhysicalDiskDynamicInfoRetriever.h"
#include "PhysicalDiskStaticInfoRetriever.h"
#include "SmartDynamicInfoRetriever.h"
#include "SmartNvmeInfoRetriever.h"
#include "SmartStaticInfoRetriever.h"

namespace Veyra::Orbis::Plugins {
namespace {

template <class Retriever>
std::unique_ptr<Retriever> Make(const std::shared_ptr<Common::IZelLog>& log)
{
    return std::make_unique<Retriever>(log);
}

}  // namespace

RetrieverFactories RetrieverFactories::Default()
{
    RetrieverFactories own;
    own.physicalDiskDynamicInfo = Make<PhysicalDiskDynamicInfoRetriever>;
    own.physicalDiskStaticInfo = Make<PhysicalDiskStaticInfoRetriever>;
    own.smartDynamicInfo = Make<SmartDynamicInfoRetriever>;
    own.smartNvmeInfo = Make<SmartNvmeInfoRetriever>;
    own.smartStaticInfo = Make<SmartStaticInfoRetriever>;
    own.nvmeIdentifyControllerData = Make<NvmeIdentifyControllerDataRetriever>;
    return own;
}

}  // namespace Veyra::Orbis::Plugins
