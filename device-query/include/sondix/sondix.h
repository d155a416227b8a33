#pragma once

#include <cstdint>

#include "sondix/Enums.h"
#include "sondix/Export.h"
#include "sondix/ICustomizedControllerData.h"
#include "sondix/ICustomizedHealthInfo.h"
#include "sondix/IHealthInfo.h"
#include "sondix/IIdentifyControllerData.h"
#include "sondix/Types.h"

// Device-query library: the physical drives, their bus types, and the data of their NVMe controllers.
//
// Drive n is \\.\PhysicalDrive<n>. Every function may be called on several threads at once, for the same drive or for different
// ones; an object may be used by one thread at a time. Functions block until the drive answers.
//
// Every pointer returned, by a function here or by an accessor, is a new object owned by the caller and freed with SXDelete.
//
// When memory is exhausted, the three SXNvmNew functions and the accessors that return an object return null. SXGetPhysicalDrives
// and SXQueryStorageBusType cannot report this and throw std::bad_alloc, which only a caller built with the same compiler can
// catch. SXDelete needs no memory and throws nothing.

namespace veyra::sondix::nvme {

// Reserved names of the interface. No function returns one, because the access to drives is internal to the library.
class IScanner;
class ICommunicator;

}  // namespace veyra::sondix::nvme

extern "C" {

// Bit n set: physical drive n exists, whether it may be opened or not. Drives above 31 cannot be reported.
SX_EXPORT std::uint32_t SX_CALL SXGetPhysicalDrives();

// The bus type that the operating system reports for the drive; BusTypeUnknown when it reports none.
SX_EXPORT veyra::sondix::StorageBusType SX_CALL SXQueryStorageBusType(std::int32_t drive);

// Identify, CNS 01h. Null when the drive is not NVMe, the command fails or memory is short.
SX_EXPORT veyra::sondix::nvme::IIdentifyControllerData* SX_CALL SXNvmNewIdentifyControllerData(std::int32_t drive);

// Log page 02h of the controller. Null when the drive is not NVMe, the command fails or memory is short.
SX_EXPORT veyra::sondix::nvme::IHealthInfo* SX_CALL SXNvmNewHealthInfo(std::int32_t drive);

// The maker's health log. Null when the drive does not carry it, the command fails or memory is short.
SX_EXPORT veyra::sondix::nvme::ICustomizedHealthInfo* SX_CALL SXNvmNewCustomizedHealthInfo(std::int32_t drive);

// Frees any object that the library returned; null is ignored. An ICustomizedControllerData is a view and not such an object.
SX_EXPORT void SX_CALL SXDelete(void* object);
}
