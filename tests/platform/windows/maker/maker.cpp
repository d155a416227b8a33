#include "Maker.h"

using namespace veyra::sondix::nvme;
using veyra::Carray;
using VendorInfo = IIdentifyControllerData::IVendorSpecificInfo;

// What the compiler expects of its runtime library: the table of std::type_info, at which its type descriptors point.
extern "C" {
extern const void* const g_TypeInfoTable[1] __asm__("??_7type_info@@6B@");
const void* const g_TypeInfoTable[1] = {nullptr};
int _purecall() { return 0; }
}

namespace {

class Category final : public ICustomizedControllerData::IDeviceCategory {
public:
    void Destroy() noexcept override {}
    std::uint16_t Class0() const override { return 10; }
    std::uint16_t Class1() const override { return 11; }
    std::uint16_t Class2() const override { return 12; }
    std::uint16_t Class11() const override { return 13; }
};
constinit Category g_Category;

class Makers final : public VendorInfo, public ICustomizedControllerData {
public:
    void Destroy() noexcept override {}
    const Carray<32>& EPPID() const override { return m_Eppid; }
    NominalFormFactor FormFactor() const override { return static_cast<NominalFormFactor>(7); }
    IDeviceCategory* DeviceCategory() const override { return &g_Category; }
    bool SupportsSystemCrashProtection() const override { return true; }
    bool SupportsHostMetadataLog() const override { return false; }
    const Carray<16>& Guid() const override { return m_Guid; }
    const Carray<8>& ComponentId() const override { return m_Component; }

private:
    Carray<32> m_Eppid{'E', 'P'};
    Carray<16> m_Guid{'G'};
    Carray<8> m_Component{'C'};
};
constinit Makers g_Makers;

class Others final : public VendorInfo {
public:
    void Destroy() noexcept override {}
};
constinit Others g_Others;

}  // namespace

extern "C" __declspec(dllexport) VendorInfo* MakersObject() { return &g_Makers; }
extern "C" __declspec(dllexport) VendorInfo* OthersObject() { return &g_Others; }
