#include "StorageHelper.h"

#include <algorithm>
#include <exception>
#include <optional>
#include <utility>

#include "Common/WmiCommonLib.h"
#include "platform/Text.h"

namespace Veyra::Orbis::Plugins {

using Cpp::Common::WmiCommonLib;
using Cpp::Common::WmiNamespace;

namespace {

std::optional<DiskDeviceInfo> ReadRow(const WmiCommonLib& row)
{
    try {
        DiskDeviceInfo device;
        device.index = row.GetUint32ByField(u"Index");
        device.scsiPort = row.GetUint32ByField(u"SCSIPort");
        device.model = row.GetStringByField(u"Model");
        device.pnpDeviceId = row.GetStringByField(u"PNPDeviceID");
        device.firmwareRevision = row.GetStringByField(u"FirmwareRevision");
        return device;
    } catch (const std::exception&) {
        return std::nullopt;  // Intentional: a row that cannot be read whole is left out without a log line.
    }
}

}  // namespace

std::vector<DiskDeviceInfo> StorageHelper::getDeviceInfo()
{
    std::vector<DiskDeviceInfo> devices;
    for (WmiCommonLib rows(u"SELECT * FROM Win32_DiskDrive", WmiNamespace::CimV2); !rows.IsEnd(); rows.Next()) {
        if (auto device = ReadRow(rows)) {
            devices.push_back(std::move(*device));
        }
    }
    return devices;
}

DiskDeviceInfo StorageHelper::findDeviceIdByPhysicalDriveNumber(std::span<const DiskDeviceInfo> devices,
                                                                std::uint32_t physicalDriveNumber)
{
    const auto found = std::ranges::find(devices, physicalDriveNumber, &DiskDeviceInfo::index);
    return found != devices.end() ? *found : DiskDeviceInfo{};
}

Sdk::Common::Identifiers::ItemId StorageHelper::itemIdOf(const DiskDeviceInfo& device)
{
    return Sdk::Common::Identifiers::ItemId("Disk_" + orbis::platform::DefaultToUtf8(device.pnpDeviceId));
}

Sdk::Common::Identifiers::ItemId StorageHelper::itemIdOf(std::span<const DiskDeviceInfo> devices, std::uint32_t physicalDriveNumber)
{
    return itemIdOf(findDeviceIdByPhysicalDriveNumber(devices, physicalDriveNumber));
}

}  // namespace Veyra::Orbis::Plugins
