#include "PhysicalDiskDynamicInfoRetriever.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <exception>
#include <limits>
#include <stdexcept>

#include <fmt/format.h>

#include "CollectedItems.h"
#include "Common/PhysicalDiskInfoFetcher.h"
#include "Common/WmiCommonLib.h"
#include "CommonCLI/NativeException.h"
#include "LogSite.h"
#include "PhysicalDiskWalk.h"
#include "StorageHelper.h"
#include "platform/Text.h"
#include "platform/Time.h"

namespace Veyra::Orbis::Plugins {
namespace {

using Common::Utilities::IPdhCounter;
using Common::Utilities::PdhQuery;
using Cpp::Common::CurrentFailure;
using Cpp::Common::DescriptionOf;
using Cpp::Common::WmiCommonLib;
using Cpp::Common::WmiNamespace;
using Sdk::Common::Identifiers::ItemId;

constexpr std::string_view kDynamicFile = R"(Plugins\StorageCollector\PhysicalDiskDynamicInfoRetriever)";
constexpr std::string_view kSelect = "Veyra::Orbis::Plugins::SelectItemIdsIfDiskGuidIsEmpty";
constexpr std::string_view kRefresh = "Veyra::Orbis::Plugins::PhysicalDiskDynamicInfoRetriever::RefreshPdhQuery";
constexpr std::string_view kQueryNames = "Veyra::Orbis::Plugins::PhysicalDiskDynamicInfoRetriever::QueryPhysicalDiskNameByWMI";
constexpr std::string_view kGetDynamicData = "Veyra::Orbis::Plugins::PhysicalDiskDynamicInfoRetriever::GetDynamicDiskData";
constexpr std::string_view kCollect = "Veyra::Orbis::Plugins::PhysicalDiskDynamicInfoRetriever::CollectData";

constexpr const char* kObject = "PhysicalDisk";
// In slot order; each slot feeds one field of the message.
constexpr std::array<const char*, 7> kCounterNames{
    "% Idle Time",          "% Disk Read Time",   "% Disk Write Time",   "Disk Read Bytes/sec",
    "Disk Write Bytes/sec", "Avg. Disk sec/Read", "Avg. Disk sec/Write",
};
enum Slot : std::size_t { Idle, ReadTime, WriteTime, ReadBytes, WriteBytes, SecondsPerRead, SecondsPerWrite };

constexpr float kMebibytesPerByte = 9.5367431640625e-07F;  // 2^-20
constexpr float kMillisecondsPerSecond = 1000.0F;
constexpr float kFullPercentage = 100.0F;
constexpr std::uint32_t kFreshCountersMilliseconds = 1000;

// Instance names contain drive numbers and letters, which are ASCII. Other characters are not changed.
std::string ToLower(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char letter) { return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter; });
    return text;
}

// Rounds toward zero. A value out of range becomes the nearest value in range, and NaN becomes 0.
std::uint64_t Truncate(float value)
{
    constexpr float kTooLarge = 18446744073709551616.0F;  // 2^64
    if (!(value > 0)) {
        return 0;
    }
    return value >= kTooLarge ? std::numeric_limits<std::uint64_t>::max() : static_cast<std::uint64_t>(value);
}

// The leading decimal number of a text, as read by std::stoi, with errors of the same types whose texts are the same on every
// system.
std::uint32_t LeadingNumber(const std::string& text)
{
    errno = 0;
    char* end = nullptr;
    const long number = std::strtol(text.c_str(), &end, 10);
    if (end == text.c_str()) {
        throw std::invalid_argument("invalid stoi argument");
    }
    if (errno == ERANGE || number < std::numeric_limits<int>::min() || number > std::numeric_limits<int>::max()) {
        throw std::out_of_range("stoi argument out of range");
    }
    return static_cast<std::uint32_t>(number);
}

void CapAtFull(google::protobuf::FloatValue& percentage)
{
    if (percentage.value() > kFullPercentage) {
        percentage.set_value(kFullPercentage);
    }
}

}  // namespace

struct PhysicalDiskDynamicInfoRetriever::Inventory {
    std::vector<DiskDeviceInfo> devices;
    std::vector<std::string> skipped;
};

std::vector<std::string> SelectItemIdsIfDiskGuidIsEmpty(Common::IZelLog& log)
{
    std::vector<std::string> itemIds;
    const auto debug = [site = LogSite{log, kDynamicFile, kSelect}](std::string_view text) { site.Debug(text, __LINE__); };
    WalkPhysicalDisks("SelectItemIdsIfDiskGuidIsEmpty", debug, [&](const WalkedDisk& disk) {
        if (disk.isInvalid) {
            itemIds.push_back(disk.itemId.ToString());
        }
    });
    return itemIds;
}

bool IsInSkippableList(const std::vector<std::string>& itemIds, std::string_view itemId)
{
    return std::find(itemIds.begin(), itemIds.end(), itemId) != itemIds.end();
}

PhysicalDiskDynamicInfoRetriever::PhysicalDiskDynamicInfoRetriever(std::shared_ptr<Common::IZelLog> log) : m_Log(std::move(log))
{
    RefreshPdhQuery();
}

void PhysicalDiskDynamicInfoRetriever::RefreshPdhQuery()
{
    const LogSite log{*m_Log, kDynamicFile, kRefresh};
    m_PdhCountersMap.clear();
    try {
        m_Query = PdhQuery::OpenQuery(std::nullopt, 0);
    } catch (...) {
        // The previous query, if any, stays in place without counters.
        log.Error("failed to create PDH query: " + CurrentFailure().message, __LINE__);
        return;
    }

    std::vector<std::string> instanceNames;
    try {
        instanceNames = m_Query->GetInstanceNames(kObject);
    } catch (...) {
        log.Error("failed to get the instance names of perf counters: " + CurrentFailure().fullText, __LINE__);
        m_Query = nullptr;
        QueryPhysicalDiskNameByWMI();
        return;
    }

    for (const std::string& instanceName : instanceNames) {
        if (ToLower(instanceName) == "_total") {
            continue;
        }
        Counters counters;
        for (std::size_t slot = 0; slot < kCounters; ++slot) {
            try {
                counters[slot] = m_Query->CreateCounter(kObject, kCounterNames[slot], instanceName);
            } catch (...) {
                // Intentional: two blanks, and a brace before the last apostrophe.
                log.Error(fmt::format("failed to create PDH counter '{0}' for instance '{1}':  {2}}}'", kCounterNames[slot],
                                      instanceName, CurrentFailure().message),
                          __LINE__);
            }
        }
        const auto known = std::find_if(m_PdhCountersMap.begin(), m_PdhCountersMap.end(),
                                        [&](const auto& entry) { return entry.first == instanceName; });
        if (known != m_PdhCountersMap.end()) {
            known->second = std::move(counters);
        } else {
            m_PdhCountersMap.emplace_back(instanceName, std::move(counters));
        }
    }

    try {
        m_Query->CollectData();
    } catch (...) {
        log.Error(fmt::format("GetDynamicDiskData: failed to sample the initial info via PDH query: {0}", CurrentFailure().message),
                  __LINE__);
    }
}

void PhysicalDiskDynamicInfoRetriever::QueryPhysicalDiskNameByWMI()
{
    const LogSite log{*m_Log, kDynamicFile, kQueryNames};
    try {
        std::vector<std::string> names;
        for (WmiCommonLib rows(u"SELECT * FROM Win32_PerfFormattedData_PerfDisk_PhysicalDisk", WmiNamespace::CimV2); !rows.IsEnd();
             rows.Next()) {
            names.push_back(orbis::platform::DefaultToUtf8(rows.GetStringByField(u"Name")));
        }
        log.Debug(fmt::format("all physical disk names from WMI: {0}", fmt::join(names, ", ")), __LINE__);
    } catch (const std::exception& exception) {
        log.Error(
            fmt::format("failed to query Win32_PerfFormattedData_PerfDisk_PhysicalDisk from WMI: {0}", DescriptionOf(exception)),
            __LINE__);
    }
}

PhysicalDiskDynamicInfoRetriever::Map PhysicalDiskDynamicInfoRetriever::GetDynamicDiskData()
{
    const LogSite log{*m_Log, kDynamicFile, kGetDynamicData};
    Map map;
    try {
        Inventory inventory;
        inventory.devices = StorageHelper::getDeviceInfo();
        inventory.skipped = SelectItemIdsIfDiskGuidIsEmpty(*m_Log);
        if (m_Query == nullptr) {
            throw std::runtime_error("PDH query is not available for retrieving PhysicalDiskDynamicInfo data");
        }
        // One instance name is "_Total". Fewer names than counters, after a disk was removed, cause no refresh.
        if (m_Query->GetInstanceNames(kObject).size() > m_PdhCountersMap.size() + 1) {
            log.Warning(
                "it seems the number of disk names is greater than the number of PDH counters, which means the disk might be "
                "inserted. Refresh PDH query now.",
                __LINE__);
            RefreshPdhQuery();
            orbis::platform::Time::Current().Sleep(kFreshCountersMilliseconds);
        }
        if (m_Query == nullptr) {
            // The refresh could not list the instances.
            throw Sdk::Exceptions::NullReferenceException();
        }
        m_Query->CollectData();
        for (const auto& [instanceName, counters] : m_PdhCountersMap) {
            try {
                CollectInstance(ToLower(instanceName), counters, inventory, map);
            } catch (const std::invalid_argument& exception) {
                // The description is the instance's name, which is UTF-8 unlike other narrow texts here, or plain ASCII.
                log.Warning(fmt::format("GetDynamicDiskData: the \"{0}\" name is invalid, skipping to the next one.",
                                        orbis::platform::ValidUtf8(exception.what())),
                            __LINE__);
            } catch (const std::exception& exception) {
                log.Error(fmt::format("GetDynamicDiskData: skipped as an exception was raised ({0}).", DescriptionOf(exception)),
                          __LINE__);
            } catch (...) {
                log.Error(fmt::format("GetDynamicDiskData: failed to collect info via PDH query: {0}", CurrentFailure().message),
                          __LINE__);
            }
        }
    } catch (...) {
        log.Error(fmt::format("GetDynamicDiskData: failed to collect info via PDH query: {0}", CurrentFailure().message), __LINE__);
    }
    return map;
}

void PhysicalDiskDynamicInfoRetriever::CollectInstance(const std::string& name, const Counters& counters,
                                                       const Inventory& inventory, Map& map)
{
    auto message = std::make_shared<Message>();
    const auto read = [&](Slot slot, auto&& set, float factor) {
        if (counters[slot] != nullptr) {
            set(counters[slot]->ReadValue<float>() * factor);
        }
    };
    read(
        Idle, [&](float value) { message->mutable_idle_time_percentage()->set_value(value); }, 1);
    read(
        ReadTime, [&](float value) { message->mutable_read_time_percentage()->set_value(value); }, 1);
    read(
        WriteTime, [&](float value) { message->mutable_write_time_percentage()->set_value(value); }, 1);
    read(
        ReadBytes, [&](float value) { message->mutable_byte_read_per_sec_in_mb()->set_value(value); }, kMebibytesPerByte);
    read(
        WriteBytes, [&](float value) { message->mutable_byte_write_per_sec_in_mb()->set_value(value); }, kMebibytesPerByte);
    read(
        SecondsPerRead, [&](float value) { message->mutable_avg_disk_ms_per_read()->set_value(value); }, kMillisecondsPerSecond);
    read(
        SecondsPerWrite, [&](float value) { message->mutable_avg_disk_ms_per_write()->set_value(value); }, kMillisecondsPerSecond);

    if (message->has_idle_time_percentage()) {
        CapAtFull(*message->mutable_idle_time_percentage());
        message->mutable_obsolete_idle_time_percentage()->set_value(Truncate(message->idle_time_percentage().value()));
    }
    if (message->has_read_time_percentage()) {
        CapAtFull(*message->mutable_read_time_percentage());
        message->mutable_obsolete_read_time_percentage()->set_value(Truncate(message->read_time_percentage().value()));
    }
    if (message->has_write_time_percentage()) {
        CapAtFull(*message->mutable_write_time_percentage());
        message->mutable_obsolete_write_time_percentage()->set_value(Truncate(message->write_time_percentage().value()));
    }
    if (message->has_byte_read_per_sec_in_mb()) {
        message->mutable_obsolete_byte_read_per_sec_in_mb()->set_value(Truncate(message->byte_read_per_sec_in_mb().value()));
    }
    if (message->has_byte_write_per_sec_in_mb()) {
        message->mutable_obsolete_byte_write_per_sec_in_mb()->set_value(Truncate(message->byte_write_per_sec_in_mb().value()));
    }

    // Names have the form "1 d: e:"; the letter before the last colon belongs to the last volume.
    const std::size_t colon = name.rfind(':');
    if (colon == std::string::npos || colon == 0) {
        throw std::invalid_argument(name);
    }
    const std::string driveLetter = name.substr(colon - 1, 1);
    std::int64_t megaBytesRead = 0;
    std::int64_t megaBytesWritten = 0;
    Cpp::Common::PhysicalDiskInfoProvider().GetMegaBytesTransferred(driveLetter, megaBytesRead, megaBytesWritten);
    const LogSite log{*m_Log, kDynamicFile, kGetDynamicData};
    log.Trace(fmt::format("name: {0}, mega_bytes_read: {1}, bytes_write: {2}", orbis::platform::ValidUtf8(driveLetter),
                          megaBytesRead, megaBytesWritten),
              __LINE__);
    message->mutable_byte_read_in_mb()->set_value(megaBytesRead);
    message->mutable_byte_write_in_mb()->set_value(megaBytesWritten);

    const std::size_t blank = name.find(' ');
    if (blank == std::string::npos || blank == 0) {
        throw std::invalid_argument(name);
    }
    const std::uint32_t driveNumber = LeadingNumber(name.substr(0, blank));
    ItemId itemId = StorageHelper::itemIdOf(inventory.devices, driveNumber);
    if (!IsInSkippableList(inventory.skipped, itemId.ToString())) {
        map.Add(std::move(itemId), std::move(message));
    }
}

Common::CollectionList<PhysicalDiskDynamicInfoRetriever::Message> PhysicalDiskDynamicInfoRetriever::CollectData(
    const ItemId& itemId)
{
    const LogSite log{*m_Log, kDynamicFile, kCollect};
    const auto collectionTime = orbis::platform::Time::Current().UtcNow();
    const Map map = GetDynamicDiskData();
    if (!itemId.IsAll()) {
        log.Trace(fmt::format("Specific data for PhysicalDiskDynamicInfoRetriever, itemId : {0}", itemId.ToString()), __LINE__);
    }
    auto items = CollectedItems(map, itemId, collectionTime);
    log.Trace(fmt::format("Got total info for PhysicalDiskDynamicInfoRetriever: {0}", items.size()), __LINE__);
    return items;
}

}  // namespace Veyra::Orbis::Plugins
