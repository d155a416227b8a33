#include "VendorCast.h"

#include <cstdint>

#include "TypeLayout.h"

namespace Veyra::Orbis::Plugins {

const veyra::sondix::nvme::ICustomizedControllerData* CustomizedControllerDataOf(
    const veyra::sondix::nvme::IIdentifyControllerData::IVendorSpecificInfo* object)
{
    const auto address = reinterpret_cast<std::uintptr_t>(object);
    const TypeLayout::TypeName name{"N5veyra6sondix4nvme25ICustomizedControllerDataE",
                                    ".?AVICustomizedControllerData@nvme@sondix@veyra@@"};
    return reinterpret_cast<const veyra::sondix::nvme::ICustomizedControllerData*>(TypeLayout::FindBase(address, name));
}

}  // namespace Veyra::Orbis::Plugins
