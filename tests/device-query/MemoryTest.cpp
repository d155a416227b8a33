// Every object is freed once, and a failed allocation gives null. This program replaces the allocation functions.
#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <new>

#include "IdentifyControllerData.h"

#include "CustomizedHealthInfo.h"
#include "HealthInfo.h"

namespace {

long g_Live = 0;  // allocations not freed
bool g_IsShort = false;

void* Allocate(std::size_t size) noexcept
{
    void* memory = g_IsShort ? nullptr : std::malloc(size != 0 ? size : 1);
    g_Live += memory != nullptr ? 1 : 0;
    return memory;
}

void Free(void* memory) noexcept
{
    g_Live -= memory != nullptr ? 1 : 0;
    std::free(memory);
}

}  // namespace

void* operator new(std::size_t size)
{
    if (void* memory = Allocate(size)) {
        return memory;
    }
    throw std::bad_alloc();
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void operator delete(void* memory) noexcept { Free(memory); }
void operator delete(void* memory, std::size_t) noexcept { Free(memory); }
void operator delete(void* memory, const std::nothrow_t&) noexcept { Free(memory); }

namespace {

using namespace veyra::sondix;
using namespace veyra::sondix::nvme;

// Frees an object as SXDelete does, through its slot 0; true when there was an object.
template <class T>
bool Release(T* object)
{
    if (object == nullptr) {
        return false;
    }
    static_cast<IObject*>(static_cast<void*>(object))->Destroy();
    return true;
}

// Number of nested objects that were freed.
int ReleaseNested(const IIdentifyControllerData& identify)
{
    int count = 0;
    for (const bool isThere :
         {Release(identify.CMIC()),  Release(identify.VER()),     Release(identify.OAES()),          Release(identify.CTRATT()),
          Release(identify.RRLS()),  Release(identify.OACS()),    Release(identify.FRMW()),          Release(identify.LPA()),
          Release(identify.AVSCC()), Release(identify.APSTA()),   Release(identify.RPMBS()),         Release(identify.DSTO()),
          Release(identify.HCTMA()), Release(identify.SANICAP()), Release(identify.ANACAP()),        Release(identify.SQES()),
          Release(identify.CQES()),  Release(identify.ONCS()),    Release(identify.FUSES()),         Release(identify.FNA()),
          Release(identify.VWC()),   Release(identify.NVSCC()),   Release(identify.NWPC()),          Release(identify.SGLS()),
          Release(identify.PSD(0)),  Release(identify.PSD(31)),   Release(identify.VendorSpecific())}) {
        count += isThere ? 1 : 0;
    }
    return count;
}

TEST(MemoryTest, EveryObjectIsFreedOnceAndNullWhenMemoryIsShort)
{
    const std::array<std::uint8_t, 4096> page{};
    const std::array<std::uint8_t, 512> log{};
    const Page<4096> whole{std::span(page)};
    const maker::VendorArea area(whole);
    const maker::VendorHealthLog makersLog{std::span(log)};

    const auto before = g_Live;
    auto* identify = New<IdentifyControllerData>(std::span(page));
    auto* health = New<HealthInfo>(std::span(log));
    auto* customized = New<CustomizedControllerData>(area);
    auto* customizedHealth = New<CustomizedHealthInfo>(makersLog);
    EXPECT_EQ(g_Live, before + 4);
    EXPECT_EQ(ReleaseNested(*identify), 27);
    EXPECT_TRUE(Release(health->CriticalWarning()));
    EXPECT_TRUE(Release(health->EnduranceGroupCriticalWarningSummary()));
    EXPECT_TRUE(Release(customized->DeviceCategory()));
    EXPECT_EQ(g_Live, before + 4);

    g_IsShort = true;
    const auto nested = ReleaseNested(*identify);
    const bool others = Release(health->CriticalWarning()) || Release(health->EnduranceGroupCriticalWarningSummary()) ||
                        Release(customized->DeviceCategory()) || Release(New<HealthInfo>(std::span(log)));
    g_IsShort = false;
    EXPECT_EQ(nested, 0);
    EXPECT_FALSE(others);

    Release(identify);
    Release(health);
    Release(customized);
    Release(customizedHealth);
    EXPECT_EQ(g_Live, before);
}

}  // namespace
