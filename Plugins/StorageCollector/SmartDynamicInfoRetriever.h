#pragma once

#include <memory>

#include "HostSdk/IZelLog.h"
#include "IStorageRetriever.h"
#include "orbis/datatypes/smart.pb.h"

namespace Veyra::Orbis::Plugins {

class SmartDynamicInfoRetriever final : public IStorageRetriever<veyra::orbis::datatypes::SmartDynamicInfo> {
public:
    // `log` is not null.
    explicit SmartDynamicInfoRetriever(std::shared_ptr<Common::IZelLog> log);

    // Without any disk it returns no list; the static collection returns an empty one. Of the exceptions only NotSupportedException
    // is caught: it is logged and gives an empty list.
    [[nodiscard]] Common::CollectionList<veyra::orbis::datatypes::SmartDynamicInfo> CollectData(
        const Sdk::Common::Identifiers::ItemId& itemId) override;

private:
    std::shared_ptr<Common::IZelLog> m_Log;
};

}  // namespace Veyra::Orbis::Plugins
