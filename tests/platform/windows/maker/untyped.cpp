// Compiled without type information.
#include "Maker.h"

using VendorInfo = veyra::sondix::nvme::IIdentifyControllerData::IVendorSpecificInfo;

namespace {

class Untyped final : public VendorInfo {
public:
    void Destroy() noexcept override {}
};
constinit Untyped g_Untyped;

}  // namespace

extern "C" __declspec(dllexport) VendorInfo* UntypedObject() { return &g_Untyped; }
