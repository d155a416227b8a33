// Performance counters of this Windows. Wine counts a few things of the system and nothing of its disks.
#include <string>

#include <gmock/gmock.h>

#include "platform/Pdh.h"
#include "windows/Wine.h"

namespace orbis::platform {
namespace {

class WindowsPdh : public ::testing::Test {
protected:
    WindowsPdh() { EXPECT_EQ(m_Pdh.OpenQuery(nullptr, 0, &m_Query), pdh::kOk); }
    ~WindowsPdh() override { EXPECT_EQ(m_Pdh.CloseQuery(m_Query), pdh::kOk); }

    Pdh& m_Pdh = Pdh::Current();
    PdhQueryObject* m_Query = nullptr;
};

TEST_F(WindowsPdh, ReadsACounterByItsEnglishName)
{
    PdhCounterObject* upTime = nullptr;
    ASSERT_EQ(m_Pdh.AddEnglishCounter(m_Query, u"\\System\\System Up Time", 0, &upTime), pdh::kOk);
    ASSERT_EQ(m_Pdh.CollectQueryData(m_Query), pdh::kOk);
    PdhCounterValue value;
    ASSERT_EQ(m_Pdh.FormattedValue(upTime, pdh::kFormatDouble, &value), pdh::kOk);
    EXPECT_THAT(value.status, ::testing::AnyOf(pdh::kValidData, pdh::kNewData));
    EXPECT_GE(value.value, 0);
}

TEST_F(WindowsPdh, ReportsUnknownNames)
{
    PdhCounterObject* counter = nullptr;
    EXPECT_THAT(m_Pdh.AddEnglishCounter(m_Query, u"\\No Such Object(*)\\No Such Counter", 0, &counter),
                ::testing::AnyOf(pdh::kNoObject, pdh::kNoCounter));
    EXPECT_THAT(m_Pdh.AddEnglishCounter(m_Query, u"no path", 0, &counter), ::testing::Ne(pdh::kOk));
    EXPECT_EQ(m_Pdh.CollectQueryData(m_Query), pdh::kNoData) << "a query without counters";

    // Wine enumerates no object at all.
    constexpr PdhStatus kNotImplemented = 0xC0000BD3;  // PDH_NOT_IMPLEMENTED
    std::uint32_t characters = 0;
    EXPECT_EQ(m_Pdh.EnumInstances(u"No Such Object", nullptr, &characters), tests::OnWine() ? kNotImplemented : pdh::kNoObject);
}

}  // namespace
}  // namespace orbis::platform
