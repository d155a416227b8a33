#include "FakeSondix.h"

#include <cassert>
#include <utility>

#include "FakeObject.h"

namespace orbis::fakes {
namespace {

FakeSondix* g_Current = nullptr;

}  // namespace

FakeSondix::FakeSondix()
{
    assert(g_Current == nullptr);
    g_Current = this;
}

FakeSondix::~FakeSondix() { g_Current = nullptr; }

FakeSondix& FakeSondix::Current()
{
    assert(g_Current != nullptr && "a test that reaches the device-query library makes a FakeSondix first");
    return *g_Current;
}

void FakeSondix::ThrowAtCall(std::size_t n, std::function<void()> raise)
{
    m_ThrowAtCall = n;
    m_RaiseAtCall = std::move(raise);
}

void FakeSondix::Call(const std::string& name)
{
    calls.push_back(name);
    if (m_ThrowAtCall == m_CallCount++) {
        m_RaiseAtCall();
    }
}

const FakeDrive& FakeSondix::Drive(std::int32_t number) const
{
    static const FakeDrive kAbsent{veyra::sondix::StorageBusType::BusTypeUnknown,
                                   false,
                                   {},
                                   {},
                                   {"SXNvmNewIdentifyControllerData", "SXNvmNewHealthInfo", "SXNvmNewCustomizedHealthInfo"}};
    const auto found = drives.find(number);
    return found == drives.end() ? kAbsent : found->second;
}

void FakeSondix::Created(void* object, const void* parent, std::string name)
{
    m_Live.emplace(object, LiveObject{parent, std::move(name)});
    ++m_Created;
}

void FakeSondix::Release(void* object)
{
    if (object == nullptr) {
        calls.emplace_back("SXDelete(null)");
        return;
    }
    const auto found = m_Live.find(object);
    if (found == m_Live.end()) {
        faults.emplace_back("released twice or never given out");
        return;
    }
    for (const auto& [other, live] : m_Live) {
        if (live.parent == object) {
            faults.push_back(live.name + " outlived " + found->second.name);
        }
    }
    calls.push_back("SXDelete(" + found->second.name + ")");
    m_Live.erase(found);
    ++m_Released;
    static_cast<veyra::sondix::IObject*>(object)->Destroy();
}

std::vector<std::string> FakeSondix::Live() const
{
    std::vector<std::string> names;
    for (const auto& [object, live] : m_Live) {
        names.push_back(live.name);
    }
    return names;
}

}  // namespace orbis::fakes

namespace orbis::fakes {
namespace {

using namespace veyra;
using namespace veyra::sondix;
using namespace veyra::sondix::nvme;

#include "Fakes.inc"

// The vendor area in the maker's layout: freed through its first interface, read through its second.
class FakeMakerVendorSpecificInfo final : public FakeCustomizedControllerData {
public:
    FakeMakerVendorSpecificInfo(std::int32_t drive, const std::string&)
        : FakeCustomizedControllerData(drive, "ICustomizedControllerData")
    {}
};

class FakeIdentify final : public FakeIdentifyControllerData {
public:
    using FakeIdentifyControllerData::FakeIdentifyControllerData;
    IVendorSpecificInfo* VendorSpecific() const override
    {
        if (Drive().makerLayout) {
            return New<FakeMakerVendorSpecificInfo>(__func__, "IVendorSpecificInfo");
        }
        return FakeIdentifyControllerData::VendorSpecific();
    }
};

template <class Object>
Object* NewTopLevel(const std::string& call, std::int32_t drive, const char* name)
{
    auto& library = FakeSondix::Current();
    library.Call(call);
    if (library.Drive(drive).nulls.contains(call)) {
        return nullptr;
    }
    auto* object = new Object(drive, name);
    library.Created(object, nullptr, name);
    return object;
}

}  // namespace
}  // namespace orbis::fakes

using namespace orbis::fakes;

extern "C" {

std::uint32_t SX_CALL SXGetPhysicalDrives()
{
    auto& library = FakeSondix::Current();
    library.Call("SXGetPhysicalDrives");
    std::uint32_t mask = 0;
    for (const auto& [number, drive] : library.drives) {
        mask |= 1U << static_cast<std::uint32_t>(number);
    }
    return mask;
}

veyra::sondix::StorageBusType SX_CALL SXQueryStorageBusType(std::int32_t drive)
{
    auto& library = FakeSondix::Current();
    library.Call("SXQueryStorageBusType");
    return library.Drive(drive).busType;
}

veyra::sondix::nvme::IIdentifyControllerData* SX_CALL SXNvmNewIdentifyControllerData(std::int32_t drive)
{
    return NewTopLevel<FakeIdentify>(__func__, drive, "IIdentifyControllerData");
}

veyra::sondix::nvme::IHealthInfo* SX_CALL SXNvmNewHealthInfo(std::int32_t drive)
{
    return NewTopLevel<FakeHealthInfo>(__func__, drive, "IHealthInfo");
}

veyra::sondix::nvme::ICustomizedHealthInfo* SX_CALL SXNvmNewCustomizedHealthInfo(std::int32_t drive)
{
    return NewTopLevel<FakeCustomizedHealthInfo>(__func__, drive, "ICustomizedHealthInfo");
}

void SX_CALL SXDelete(void* object) { FakeSondix::Current().Release(object); }
}
