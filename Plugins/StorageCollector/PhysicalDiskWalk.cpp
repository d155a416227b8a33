#include "PhysicalDiskWalk.h"

#include <exception>
#include <string>
#include <utility>
#include <vector>

#include "Common/PhysicalDiskInfoFetcher.h"
#include "CommonCLI/NativeException.h"

namespace Veyra::Orbis::Plugins {

using Cpp::Common::PhysicalDiskInfo;
using Cpp::Common::PhysicalDiskInfoProvider;
using Cpp::Common::HardwareAccessLib::MediaTypeList;
using Sdk::Common::Identifiers::ItemId;

namespace {

using Debug = std::function<void(std::string_view text)>;

MediaTypeList FetchMediaTypes(const PhysicalDiskInfoProvider& provider, std::string_view operation, const Debug& debug)
{
    try {
        return provider.FetchMediaTypes();
    } catch (const std::exception& failure) {
        debug(std::string(operation) + "(): occur exception in FetchMediaTypes(): " + Cpp::Common::DescriptionOf(failure));
        return {};
    }
}

}  // namespace

void WalkPhysicalDisks(std::string_view operation, const Debug& debug, const std::function<void(WalkedDisk& disk)>& visit)
{
    const std::vector<DiskDeviceInfo> devices = StorageHelper::getDeviceInfo();
    const PhysicalDiskInfoProvider provider;
    for (const auto& basic : provider.GetAllBasicDiskInfo(FetchMediaTypes(provider, operation, debug))) {
        PhysicalDiskInfo info = provider.GetPhysicalDiskInfo(basic);
        DiskDeviceInfo device = StorageHelper::findDeviceIdByPhysicalDriveNumber(devices, info.diskNumber);
        ItemId itemId = StorageHelper::itemIdOf(device);
        const bool isInvalid = provider.IsInvalidDisk(info);
        if (isInvalid) {
            debug("Skip " + itemId.ToString() + ": due to zero size, unknown media type, and GUID is empty.");
        }
        WalkedDisk disk{std::move(info), std::move(device), std::move(itemId), isInvalid};
        visit(disk);
    }
}

}  // namespace Veyra::Orbis::Plugins
