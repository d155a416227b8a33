#include "VendorCast.h"

#include <cstdint>
#include <map>
#include <mutex>
#include <optional>

#include "TypeLayout.h"
#include "platform/Memory.h"

namespace Veyra::Orbis::Plugins {
namespace {

// The offset of the maker's interface in the objects of each virtual table seen so far; empty when they do not have it. A table
// belongs to one class, and libraries are never unloaded, so its type information is read only once.
class KnownTables {
public:
    // The distance from an object with this table.
    std::optional<std::uintptr_t> DistanceOf(std::uintptr_t object, std::uintptr_t table)
    {
        const std::scoped_lock lock(m_Lock);
        if (const auto known = m_Distances.find(table); known != m_Distances.end()) {
            return known->second;
        }
        const std::uintptr_t found = TypeLayout::FindBase(
            object, {"N5veyra6sondix4nvme25ICustomizedControllerDataE", ".?AVICustomizedControllerData@nvme@sondix@veyra@@"});
        const auto distance = found != 0 ? std::optional(found - object) : std::nullopt;
        m_Distances.emplace(table, distance);
        return distance;
    }

private:
    std::mutex m_Lock;
    std::map<std::uintptr_t, std::optional<std::uintptr_t>> m_Distances;
};

}  // namespace

const veyra::sondix::nvme::ICustomizedControllerData* CustomizedControllerDataOf(
    const veyra::sondix::nvme::IIdentifyControllerData::IVendorSpecificInfo* object)
{
    static KnownTables known;
    const auto address = reinterpret_cast<std::uintptr_t>(object);
    std::uintptr_t table = 0;
    if (!orbis::platform::Memory::Read(object, &table, sizeof table)) {
        return nullptr;
    }
    const auto distance = known.DistanceOf(address, table);
    return distance ? reinterpret_cast<const veyra::sondix::nvme::ICustomizedControllerData*>(address + *distance) : nullptr;
}

}  // namespace Veyra::Orbis::Plugins
