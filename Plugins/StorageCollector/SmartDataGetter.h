#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <google/protobuf/arena.h>

#include "Common/SmartData.h"
#include "HostSdk/Dictionary.h"
#include "HostSdk/IZelLog.h"
#include "HostSdk/ItemId.h"
#include "orbis/datatypes/smart.pb.h"

namespace Veyra::Orbis::Cpp::Common::HardwareAccessLib {
struct BasicDiskInfo;
}

namespace Veyra::Orbis::Plugins {

namespace datatypes = ::veyra::orbis::datatypes;

// Joins the native library's data of each disk with WMI and the disk inventory, and maps it to the host's messages.
//
// The messages of one collection live on one arena; every entry of a map keeps the whole arena alive. The mappers create their
// message on the given arena.
class SmartDataGetter {
public:
    using Arena = google::protobuf::Arena;
    template <class T>
    using MessageMap = Common::Dictionary<Sdk::Common::Identifiers::ItemId, std::shared_ptr<const T>>;

    // One row of MSStorageDriver_ATAPISmartData.
    struct WmiSmartDiskData {
        std::u16string InstanceName;               // the disk's instance path and a suffix such as "_0"
        std::vector<std::uint8_t> VendorSpecific;  // the SMART data block, normally 362 bytes
    };
    // Disk index and model of each Win32_DiskDrive, the model as UTF-8.
    using ModelList = std::vector<std::pair<std::uint32_t, std::string>>;

    SmartDataGetter() = delete;

    // One message for each disk in the order of the device walk, also for a disk that answers nothing: it has its name alone.
    // Defined beside their retrievers, in whose name they log. Throws ResultException when the inventory cannot be queried, and
    // ArgumentException for two disks with the same item id (both without an inventory record, for example).
    [[nodiscard]] static MessageMap<datatypes::SmartStaticInfo> GetStaticDiskData(Common::IZelLog& log);
    [[nodiscard]] static MessageMap<datatypes::SmartDynamicInfo> GetDynamicDiskData(Common::IZelLog& log);

    // The data of WMI. A row that cannot be read is left out; a query that fails, even after some rows, gives an empty list.
    [[nodiscard]] static std::vector<WmiSmartDiskData> GetWmiSmartData();
    [[nodiscard]] static ModelList EnumDiskModels();

    // The block of the first row whose instance name contains `path`, ignoring case, or an empty one. The row is removed from the
    // list, so that it is used for one disk only. Intentional: an empty path is contained in every name and takes the first row.
    [[nodiscard]] static std::vector<std::uint8_t> getSmartDataByPath(std::u16string_view path,
                                                                      std::vector<WmiSmartDiskData>& list);
    // The model of the first pair with the index; the pair is removed from the list.
    [[nodiscard]] static std::optional<std::string> getModelNameByIndex(std::uint32_t index, ModelList& models);

    // Null for an attribute without any value.
    [[nodiscard]] static datatypes::SmartAttributeDetail* toSmartAttributeDetail(const Cpp::Common::SmartAttribute& slot,
                                                                                 Arena& arena);
    // The log line for a disk.
    [[nodiscard]] static std::string DescribeDisk(const Cpp::Common::HardwareAccessLib::BasicDiskInfo& disk);

    // The message for one of the two datatypes.
    template <class Message>
    [[nodiscard]] static Message* parseCacheToIMessage(const Cpp::Common::SmartDataCollection& collection, Arena& arena);
};

template <>
datatypes::SmartStaticInfo* SmartDataGetter::parseCacheToIMessage(const Cpp::Common::SmartDataCollection& collection, Arena& arena);
template <>
datatypes::SmartDynamicInfo* SmartDataGetter::parseCacheToIMessage(const Cpp::Common::SmartDataCollection& collection,
                                                                   Arena& arena);

}  // namespace Veyra::Orbis::Plugins
