#pragma once

#include <string>
#include <vector>

#include "Disks.h"
#include "Style.h"
#include "orbis/datatypes/nvme_health.pb.h"
#include "orbis/datatypes/nvme_identify.pb.h"
#include "orbis/datatypes/physical_disk.pb.h"
#include "orbis/datatypes/smart.pb.h"

namespace orbis::host {

namespace datatypes = ::veyra::orbis::datatypes;

// One item as a table shows it; the message is null for an item without data.
template <class T>
struct ViewItem {
    std::string itemId;
    const T* message;
};
template <class T>
using ViewItems = std::vector<ViewItem<T>>;

// The complete item ids of disks beside their names, or below them where there is no room.
[[nodiscard]] std::string RenderItemIds(const std::vector<std::string>& ids, const Disks& disks, const Style& style);

// Tables for people. Every one names a disk as `disks` does.
[[nodiscard]] std::string Render(const ViewItems<datatypes::PhysicalDiskStaticInfo>& items, const Disks& disks, const Style& style);
[[nodiscard]] std::string Render(const ViewItems<datatypes::PhysicalDiskDynamicInfo>& items, const Disks& disks,
                                 const Style& style);
[[nodiscard]] std::string Render(const ViewItems<datatypes::SmartStaticInfo>& items, const Disks& disks, const Style& style);
[[nodiscard]] std::string Render(const ViewItems<datatypes::SmartDynamicInfo>& items, const Disks& disks, const Style& style);
[[nodiscard]] std::string Render(const ViewItems<datatypes::SmartNvmeInfo>& items, const Disks& disks, const Style& style);
[[nodiscard]] std::string Render(const ViewItems<datatypes::NvmeIdentifyControllerData>& items, const Disks& disks,
                                 const Style& style);

}  // namespace orbis::host
