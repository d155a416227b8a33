#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

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

// Tables for people, no line longer than `width` (0: no limit).
[[nodiscard]] std::string Render(const ViewItems<datatypes::PhysicalDiskStaticInfo>& items, std::size_t width);
[[nodiscard]] std::string Render(const ViewItems<datatypes::PhysicalDiskDynamicInfo>& items, std::size_t width);
[[nodiscard]] std::string Render(const ViewItems<datatypes::SmartStaticInfo>& items, std::size_t width);
[[nodiscard]] std::string Render(const ViewItems<datatypes::SmartDynamicInfo>& items, std::size_t width);
[[nodiscard]] std::string Render(const ViewItems<datatypes::SmartNvmeInfo>& items, std::size_t width);
[[nodiscard]] std::string Render(const ViewItems<datatypes::NvmeIdentifyControllerData>& items, std::size_t width);

// An item id as a title: without the "Disk_" that all have.
[[nodiscard]] std::string DiskTitle(const std::string& itemId);

}  // namespace orbis::host
