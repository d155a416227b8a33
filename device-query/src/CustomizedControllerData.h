#pragma once

#include <cstdint>

#include "MakerArea.h"
#include "Object.h"
#include "sondix/ICustomizedControllerData.h"
#include "sondix/IIdentifyControllerData.h"

namespace veyra::sondix::nvme {

class DeviceCategory final : public Destroyable<DeviceCategory, ICustomizedControllerData::IDeviceCategory> {
public:
    explicit DeviceCategory(const maker::MakerArea& area) noexcept : m_Area(area) {}
    std::uint16_t Class0() const noexcept override { return m_Area.Class0(); }
    std::uint16_t Class1() const noexcept override { return m_Area.Class1(); }
    std::uint16_t Class2() const noexcept override { return m_Area.Class2(); }
    std::uint16_t Class11() const noexcept override { return m_Area.Class11(); }

private:
    maker::MakerArea m_Area;
};

// A vendor area in the maker's layout: it is freed through its first interface and read through its second.
class CustomizedControllerData final : public Destroyable<CustomizedControllerData, IIdentifyControllerData::IVendorSpecificInfo>,
                                       public ICustomizedControllerData {
public:
    explicit CustomizedControllerData(const maker::MakerArea& area) noexcept : m_Area(area) {}
    const Carray<32>& EPPID() const noexcept override { return m_Area.Eppid(); }
    NominalFormFactor FormFactor() const noexcept override { return m_Area.FormFactor(); }
    IDeviceCategory* DeviceCategory() const noexcept override { return New<nvme::DeviceCategory>(m_Area); }
    bool SupportsSystemCrashProtection() const noexcept override { return m_Area.SystemCrashProtection(); }
    bool SupportsHostMetadataLog() const noexcept override { return m_Area.HostMetadataLog(); }
    const Carray<16>& Guid() const noexcept override { return m_Area.Guid(); }
    const Carray<8>& ComponentId() const noexcept override { return m_Area.ComponentId(); }

private:
    maker::MakerArea m_Area;
};

// A vendor area in an unknown layout, without accessors.
class UnknownVendorSpecificInfo final
    : public Destroyable<UnknownVendorSpecificInfo, IIdentifyControllerData::IVendorSpecificInfo> {};

}  // namespace veyra::sondix::nvme
