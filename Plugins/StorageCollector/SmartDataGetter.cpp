#include "SmartDataGetter.h"

#include <algorithm>
#include <exception>

#include <fmt/format.h>

#include "Common/HardwareAccess.h"
#include "Common/Utilities.h"
#include "Common/WmiCommonLib.h"
#include "platform/Text.h"

// The data of WMI for both SMART datatypes.
namespace Veyra::Orbis::Plugins {
namespace {

using Cpp::Common::GetLower;
using Cpp::Common::WmiCommonLib;
using Cpp::Common::WmiNamespace;
using Cpp::Common::HardwareAccessLib::BasicDiskInfo;

// The rows of a query, each converted by `read`.
template <class Read>
auto ReadRows(const std::u16string& query, WmiNamespace wmiNamespace, Read read)
{
    using Rows = std::vector<decltype(read(std::declval<const WmiCommonLib&>()))>;
    try {
        Rows rows;
        for (WmiCommonLib cursor(query, wmiNamespace); !cursor.IsEnd(); cursor.Next()) {
            try {
                rows.push_back(read(cursor));
            } catch (const std::exception&) {
                // Intentional: this row is left out without a log line.
            }
        }
        return rows;
    } catch (const std::exception&) {
        return Rows{};  // Intentional: the rows read before the failure are dropped too.
    }
}

}  // namespace

std::vector<SmartDataGetter::WmiSmartDiskData> SmartDataGetter::GetWmiSmartData()
{
    return ReadRows(u"SELECT * FROM MSStorageDriver_ATAPISmartData", WmiNamespace::Wmi, [](const WmiCommonLib& row) {
        WmiSmartDiskData data;
        data.VendorSpecific = row.GetUint8ArrayByField(u"VendorSpecific");
        data.InstanceName = row.GetWstringByField(u"InstanceName");
        return data;
    });
}

SmartDataGetter::ModelList SmartDataGetter::EnumDiskModels()
{
    return ReadRows(u"SELECT * FROM Win32_DiskDrive", WmiNamespace::CimV2, [](const WmiCommonLib& row) {
        ModelList::value_type model;
        model.second = row.GetStringByField(u"Model");
        model.first = row.GetUint32ByField(u"Index");
        return model;
    });
}

std::vector<std::uint8_t> SmartDataGetter::getSmartDataByPath(std::u16string_view path, std::vector<WmiSmartDiskData>& list)
{
    const auto row = std::ranges::find_if(list, [lowerPath = GetLower(path)](const WmiSmartDiskData& candidate) {
        return GetLower(candidate.InstanceName).find(lowerPath) != std::u16string::npos;
    });
    if (row == list.end()) {
        return {};
    }
    std::vector<std::uint8_t> block = std::move(row->VendorSpecific);
    list.erase(row);
    return block;
}

std::string SmartDataGetter::DescribeDisk(const BasicDiskInfo& disk)
{
    using orbis::platform::Utf16ToUtf8;
    return fmt::format(
        "PhysicalDriveNumber: {0}, DeviceName: {1}, InterfacePath: {2}, InstancePath: {3}, DiIndex: {4}, MediaType: {5}",
        disk.physicalDriveNumber, Utf16ToUtf8(disk.physicalDrivePath), Utf16ToUtf8(disk.devicePath), Utf16ToUtf8(disk.instanceId),
        disk.index, static_cast<unsigned>(disk.mediaType));
}

std::optional<std::string> SmartDataGetter::getModelNameByIndex(std::uint32_t index, ModelList& models)
{
    const auto found = std::ranges::find(models, index, &ModelList::value_type::first);
    if (found == models.end()) {
        return std::nullopt;
    }
    std::string model = std::move(found->second);
    models.erase(found);
    return model;
}

}  // namespace Veyra::Orbis::Plugins
