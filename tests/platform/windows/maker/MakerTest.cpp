// The maker's interface in objects of a library in the Microsoft compiler's ABI.
#include <windows.h>

#include <gtest/gtest.h>

#include "Maker.h"
#include "VendorCast.h"

namespace {

using Veyra::Orbis::Plugins::CustomizedControllerDataOf;

auto* ObjectOf(const char* function)
{
    const auto create =
        reinterpret_cast<MakerFunction*>(reinterpret_cast<void*>(GetProcAddress(LoadLibraryW(L"maker.dll"), function)));
    return create != nullptr ? create() : nullptr;
}

TEST(WindowsMakersLibrary, OfAnotherCompilerIsUnderstood)
{
    auto* const makers = ObjectOf("MakersObject");
    ASSERT_NE(makers, nullptr);
    const auto* const data = CustomizedControllerDataOf(makers);
    ASSERT_NE(data, nullptr);
    EXPECT_EQ(data->EPPID().bytes[1], 'P');
    EXPECT_EQ(static_cast<int>(data->FormFactor()), 7);
    EXPECT_EQ(data->DeviceCategory()->Class11(), 13);
    EXPECT_TRUE(data->SupportsSystemCrashProtection());
    EXPECT_FALSE(data->SupportsHostMetadataLog());
    EXPECT_EQ(data->Guid().bytes[0], 'G');
    EXPECT_EQ(data->ComponentId().bytes[0], 'C');

    for (const char* function : {"OthersObject", "UntypedObject"}) {
        auto* const object = ObjectOf(function);
        ASSERT_NE(object, nullptr) << function;
        EXPECT_EQ(CustomizedControllerDataOf(object), nullptr) << function;
    }
}

}  // namespace
