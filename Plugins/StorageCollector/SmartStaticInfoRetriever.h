#pragma once

#include <memory>

#include "HostSdk/IZelLog.h"
#include "IStorageRetriever.h"
#include "orbis/datatypes/smart.pb.h"

namespace Veyra::Orbis::Plugins {

class SmartStaticInfoRetriever final : public IStorageRetriever<veyra::orbis::datatypes::SmartStaticInfo> {
public:
    // `log` is not null.
    explicit SmartStaticInfoRetriever(std::shared_ptr<Common::IZelLog> log);

    // No disk at all gives an empty list. Exceptions of a collection are not caught.
    [[nodiscard]] Common::CollectionList<veyra::orbis::datatypes::SmartStaticInfo> CollectData(
        const Sdk::Common::Identifiers::ItemId& itemId) override;

private:
    std::shared_ptr<Common::IZelLog> m_Log;
};

}  // namespace Veyra::Orbis::Plugins
