#include "PhysicalDiskWalk.h"

#include <exception>
#include <string>
#include <utility>
#include <vector>

#include "Common/PhysicalDiskInfoFetcher.h"
#include "platform/Text.h"

namespace Veyra::Orbis::Plugins {

using Cpp::Common::PhysicalDiskInfo;
using Cpp::Common::PhysicalDiskInfoProvider;
using Cpp::Common::HardwareAccessLib::MediaTypeList;
using Sdk::Common::Identifiers::ItemId;

namespace {

MediaTypeList FetchMediaTypes(const PhysicalDiskInfoProvider& provider, Common::IZelLog& log, const WalkLogSite& site)
{
    try {
        return provider.FetchMediaTypes();
    } catch (const std::exception& failure) {
        log.Debug(std::string(site.operation) +
                      "(): occur exception in FetchMediaTypes(): " + orbis::platform::DefaultToUtf8(failure.what()),
                  __LINE__, site.file, site.function);
        return {};
    }
}

}  // namespace

void WalkPhysicalDisks(Common::IZelLog& log, const WalkLogSite& site, const std::function<void(WalkedDisk& disk)>& visit)
{
    const std::vector<DiskDeviceInfo> devices = StorageHelper::getDeviceInfo();
    const PhysicalDiskInfoProvider provider;
    for (const auto& basic : provider.GetAllBasicDiskInfo(FetchMediaTypes(provider, log, site))) {
        PhysicalDiskInfo info = provider.GetPhysicalDiskInfo(basic);
        DiskDeviceInfo device = StorageHelper::findDeviceIdByPhysicalDriveNumber(devices, info.diskNumber);
        ItemId itemId = StorageHelper::itemIdOf(device);
        const bool isInvalid = provider.IsInvalidDisk(info);
        if (isInvalid) {
            log.Debug("Skip " + itemId.ToString() + ": due to zero size, unknown media type, and GUID is empty.", __LINE__,
                      site.file, site.function);
        }
        WalkedDisk disk{std::move(info), std::move(device), std::move(itemId), isInvalid};
        visit(disk);
    }
}

}  // namespace Veyra::Orbis::Plugins
