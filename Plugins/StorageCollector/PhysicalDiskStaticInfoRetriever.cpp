#include "PhysicalDiskStaticInfoRetriever.h"

#include <initializer_list>
#include <string_view>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "CollectedItems.h"
#include "Common/SmBiosTable.h"
#include "LogSite.h"
#include "PhysicalDiskWalk.h"
#include "platform/Text.h"
#include "platform/Time.h"

namespace Veyra::Orbis::Plugins {

namespace datatypes = ::veyra::orbis::datatypes;

using Cpp::Common::PartitionInfo;
using Cpp::Common::PhysicalDiskInfo;
using Cpp::Common::SmBiosTable;
using Cpp::Common::HardwareAccessLib::DiskDriveMediaType;
using orbis::platform::DefaultToUtf8;
using Sdk::Common::Identifiers::ItemId;

namespace {

constexpr std::string_view kStaticFile = "Plugins\\StorageCollector\\PhysicalDiskStaticInfoRetriever";
constexpr std::string_view kGetStaticDiskData = "Veyra::Orbis::Plugins::PhysicalDiskStaticInfoRetriever::GetStaticDiskData";
constexpr std::string_view kCollectStaticData = "Veyra::Orbis::Plugins::PhysicalDiskStaticInfoRetriever::CollectData";

void SetMedia(datatypes::PhysicalDiskStaticInfo& message, datatypes::DiskType type, std::initializer_list<const char*> capability)
{
    message.set_type(type);
    for (const char* word : capability) {
        message.add_capability(word);
    }
}

void SetMedia(datatypes::PhysicalDiskStaticInfo& message, DiskDriveMediaType mediaType)
{
    switch (mediaType) {
        case DiskDriveMediaType::HardDisk:
            return SetMedia(message, datatypes::DISK_TYPE_HDD, {"HardDrive", "HDD"});
        case DiskDriveMediaType::SolidState:
            return SetMedia(message, datatypes::DISK_TYPE_SSD, {"HardDrive", "SSD"});
        case DiskDriveMediaType::StorageClassMemory:
            return SetMedia(message, datatypes::DISK_TYPE_SCM, {"HardDrive", "SCM"});
        case DiskDriveMediaType::Unspecified:
            break;
    }
    SetMedia(message, datatypes::DISK_TYPE_UNKNOWN, {"Unknown"});
}

std::shared_ptr<datatypes::PhysicalDiskStaticInfo> ToMessage(const PhysicalDiskInfo& disk)
{
    auto message = std::make_shared<datatypes::PhysicalDiskStaticInfo>();
    message->set_name(DefaultToUtf8(disk.name));
    message->set_description("Storage");
    message->set_make_model(DefaultToUtf8(disk.model.value_or("")));
    message->mutable_size()->set_value(disk.size);
    SetMedia(*message, disk.mediaType);
    message->set_eppid(DefaultToUtf8(disk.eppid.value_or("")));
    message->set_guid(DefaultToUtf8(disk.guid));
    return message;
}

void SetPartition(datatypes::PhysicalDiskPartitionInfo& message, const PartitionInfo& partition)
{
    message.set_name(partition.name);  // UTF-8 from the disk's own UTF-16; the code page is not used
    message.mutable_size()->set_value(partition.size);
    message.mutable_index()->set_value(partition.index);
    message.set_guid(DefaultToUtf8(partition.guid));
    if (!partition.serial.empty()) {
        message.set_serial_number(DefaultToUtf8(partition.serial));
    }
    message.mutable_is_boot_volume()->set_value(partition.isBootVolume);
    message.mutable_is_page_file_present()->set_value(partition.isPageFilePresent);
    message.mutable_is_crash_dump()->set_value(partition.isCrashDump);
}

// Decimal gigabytes of a size in units of 2^20 bytes, truncated.
std::uint64_t MarketedSize(std::uint64_t size)
{
    constexpr double kGigabytesPerUnit = 0.001048576;  // 2^20 / 10^9
    return static_cast<std::uint64_t>(static_cast<double>(size) * kGigabytesPerUnit);
}

// `text` without any occurrence of `part`. An occurrence that a removal creates stays.
std::string Without(const std::string& text, std::string_view part)
{
    std::string result;
    std::size_t from = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, from)) {
        result.append(text, from, at - from);
        from = at + part.size();
    }
    return result.append(text, from);
}

}  // namespace

PhysicalDiskStaticInfoRetriever::PhysicalDiskStaticInfoRetriever(std::shared_ptr<Common::IZelLog> log) : m_Log(std::move(log)) {}

Common::CollectionList<datatypes::PhysicalDiskStaticInfo> PhysicalDiskStaticInfoRetriever::CollectData(const ItemId& itemId)
{
    const std::scoped_lock lock(m_lockObject);
    const LogSite log{*m_Log, kStaticFile, kCollectStaticData};
    const Common::CollectionTime now = orbis::platform::Time::Current().UtcNow();
    const MessageMap disks = GetStaticDiskData();
    if (disks.IsEmpty()) {
        log.Debug("No disk data been reached out", __LINE__);
        return std::vector<Common::CollectionDatatypeItem<Message>>{};
    }
    if (!itemId.IsAll()) {
        log.Trace(fmt::format("Specific data for PhysicalDiskStaticInfoCollector, itemId : {0}", itemId.ToString()), __LINE__);
    }
    auto items = CollectedItems(disks, itemId, now, LookUp::Reversed);
    log.Trace(fmt::format("Got total info for PhysicalDiskStaticInfoCollector: {0}", items.size()), __LINE__);
    return items;
}

PhysicalDiskStaticInfoRetriever::MessageMap PhysicalDiskStaticInfoRetriever::GetStaticDiskData()
{
    MessageMap disks;
    const LogSite log{*m_Log, kStaticFile, kGetStaticDiskData};
    const auto debug = [&log](std::string_view text) { log.Debug(text, __LINE__); };
    WalkPhysicalDisks("GetStaticDiskData", debug, [&](WalkedDisk& disk) {
        if (disk.isInvalid) {
            return;
        }
        if (!disk.info.model) {
            disk.info.model = disk.device.model;
        }
        const auto message = ToMessage(disk.info);
        for (const PartitionInfo& partition : disk.info.partitions) {
            SetPartition(*message->add_partitions(), partition);
            // Intentional: these three belong to the disk and yet are set once per partition, so that a disk without partitions has
            // none of them. The firmware's table is read each time.
            message->set_firmware_revision(DefaultToUtf8(disk.device.firmwareRevision));
            message->mutable_namespace_marketed_size_in_gb()->set_value(MarketedSize(disk.info.size));
            message->set_oem_type208_system_id(GetOEMStringsfromBIOS());
        }
        message->set_device_instance_id(disk.itemId.ToString());
        log.Debug(fmt::format("got disk index: '{0}', name: '{1}'", disk.info.diskNumber, message->name()), __LINE__);
        disks.Add(disk.itemId, message);
    });
    return disks;
}

std::string PhysicalDiskStaticInfoRetriever::GetOEMStringsfromBIOS()
{
    // The entries outlive the table.
    const SmBiosTable::EntryList entries = SmBiosTable().GetEntryList(Smbios_Type_OEMStrings);
    for (const auto& entry : entries) {
        std::uint8_t count = 0;
        if (!entry->GetU8(OEMStringsCount, count) || count <= 1) {
            continue;
        }
        // A structure may count more strings than it stores.
        const std::string text = entry->strings.size() < 2 ? std::string() : DefaultToUtf8(entry->strings[1]);
        return Without(Without(text, "1["), "]");
    }
    return {};
}

}  // namespace Veyra::Orbis::Plugins
