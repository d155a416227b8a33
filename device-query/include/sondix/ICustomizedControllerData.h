#pragma once

#include <cstdint>

#include "sondix/Enums.h"
#include "sondix/Types.h"

namespace veyra::sondix::nvme {

// The maker's own part of the Identify vendor area.
//
// The only interface whose accessors begin at slot 0: it has no Destroy and must not be passed to SXDelete. It is a view of an
// object that is freed through its IVendorSpecificInfo pointer.
class ICustomizedControllerData {
public:
    class IDeviceCategory;

    // Slots 0 to 6, in this order.
    virtual const Carray<32>& EPPID() const = 0;       // electronic part identifier, text
    virtual NominalFormFactor FormFactor() const = 0;  // as the drive reports it, unlisted values too
    // A new object, freed by the caller with SXDelete; null when memory is short.
    virtual IDeviceCategory* DeviceCategory() const = 0;
    virtual bool SupportsSystemCrashProtection() const = 0;
    virtual bool SupportsHostMetadataLog() const = 0;
    virtual const Carray<16>& Guid() const = 0;        // raw bytes as on the drive
    virtual const Carray<8>& ComponentId() const = 0;  // text

protected:
    ~ICustomizedControllerData() = default;
};

class ICustomizedControllerData::IDeviceCategory : public IObject {
public:
    // Slots 1 to 4, in this order.
    virtual std::uint16_t Class0() const = 0;
    virtual std::uint16_t Class1() const = 0;
    virtual std::uint16_t Class2() const = 0;
    virtual std::uint16_t Class11() const = 0;

protected:
    ~IDeviceCategory() = default;
};

}  // namespace veyra::sondix::nvme
