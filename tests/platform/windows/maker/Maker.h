#pragma once

#include "sondix/sondix.h"

// What maker.dll exports: vendor objects as a device-query library of the Microsoft compiler hands them out. The DLL is made for
// that compiler's ABI, without its runtime library.
using MakerFunction = veyra::sondix::nvme::IIdentifyControllerData::IVendorSpecificInfo*();
