#pragma once

#include "sondix/sondix.h"

namespace Veyra::Orbis::Plugins {

// The maker's own interface of a vendor object, or null when the object has none. The device-query library is a file of its own,
// and a maker may build it with another compiler: `dynamic_cast` calls into the type information of the object, which each compiler
// lays out its own way. This reads that information as data, in the layout of the Itanium C++ ABI or of the Microsoft one,
// whichever stands before the virtual table. Memory that cannot be read, or that holds neither, means an object without the
// interface.
[[nodiscard]] const veyra::sondix::nvme::ICustomizedControllerData* CustomizedControllerDataOf(
    const veyra::sondix::nvme::IIdentifyControllerData::IVendorSpecificInfo* object);

}  // namespace Veyra::Orbis::Plugins
