#pragma once

#include <memory>

#include "HostSdk/IZelLog.h"
#include "IStorageRetriever.h"
#include "orbis/datatypes/nvme_identify.pb.h"

namespace Veyra::Orbis::Plugins {

class NvmeIdentifyControllerDataRetriever final : public IStorageRetriever<veyra::orbis::datatypes::NvmeIdentifyControllerData> {
public:
    // `log` is not null.
    explicit NvmeIdentifyControllerDataRetriever(std::shared_ptr<Common::IZelLog> log);

    // A native failure of the pass is logged and gives an empty list; a host exception (two drives with one item id) leaves.
    [[nodiscard]] Common::CollectionList<veyra::orbis::datatypes::NvmeIdentifyControllerData> CollectData(
        const Sdk::Common::Identifiers::ItemId& itemId) override;

private:
    std::shared_ptr<Common::IZelLog> m_Log;
};

}  // namespace Veyra::Orbis::Plugins
