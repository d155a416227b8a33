#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

#include "HostSdk/Dictionary.h"
#include "HostSdk/IZelLog.h"
#include "HostSdk/ItemId.h"
#include "IStorageRetriever.h"
#include "orbis/datatypes/physical_disk.pb.h"

namespace Veyra::Orbis::Plugins {

// Identity, size, media and partitions of every physical disk. Keeps no state between collections.
class PhysicalDiskStaticInfoRetriever final : public IStorageRetriever<veyra::orbis::datatypes::PhysicalDiskStaticInfo> {
public:
    using Message = veyra::orbis::datatypes::PhysicalDiskStaticInfo;
    using MessageMap = Common::Dictionary<Sdk::Common::Identifiers::ItemId, std::shared_ptr<const Message>>;

    // `log` is not null.
    explicit PhysicalDiskStaticInfoRetriever(std::shared_ptr<Common::IZelLog> log);

    // One collection at a time; a second caller waits. Intentional: the look-up of one id is the reverse of every other
    // collector's. An id that exists raises ArgumentOutOfRangeException, one that does not is answered with an item without a
    // message.
    [[nodiscard]] Common::CollectionList<Message> CollectData(const Sdk::Common::Identifiers::ItemId& itemId) override;

    // Every valid disk by its item id.
    [[nodiscard]] MessageMap GetStaticDiskData();
    // The PC's system identifier: the second string of the first OEM Strings structure that reports two or more strings, without
    // its brackets. Empty when there is none.
    [[nodiscard]] std::string GetOEMStringsfromBIOS();

private:
    static constexpr std::uint8_t Smbios_Type_OEMStrings = 11;
    // Offset of the byte that counts the strings (DSP0134, 7.12).
    static constexpr std::int32_t OEMStringsCount = 4;

    std::mutex m_lockObject;
    std::shared_ptr<Common::IZelLog> m_Log;
};

}  // namespace Veyra::Orbis::Plugins
