#pragma once

#include "sondix/sondix.h"

namespace Veyra::Orbis::Plugins {

// The maker's own interface of a vendor object, or null when the object has none. The device-query library is a separate file that
// a maker may build with another compiler, and `dynamic_cast` depends on the compiler's layout of type information. This function
// reads the type information as data, in the layout of the Itanium C++ ABI or of the Microsoft one, whichever is found in front of
// the virtual table. Memory that cannot be read, or that contains neither, means an object without the interface.
[[nodiscard]] const veyra::sondix::nvme::ICustomizedControllerData* CustomizedControllerDataOf(
    const veyra::sondix::nvme::IIdentifyControllerData::IVendorSpecificInfo* object);

}  // namespace Veyra::Orbis::Plugins
