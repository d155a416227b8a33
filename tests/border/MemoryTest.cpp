// Makes every allocation of a call over the border fail in turn: each time the answer is a failure record, and nothing leaks.
#include <algorithm>
#include <array>
#include <cstdlib>
#include <new>
#include <span>
#include <string_view>

#include <gtest/gtest.h>

#include "HostBorder/orbis_border.h"
#include "platform/Platform.h"

namespace {

// Allocations of this thread until one fails; negative: none does.
thread_local int t_Left = -1;
thread_local bool t_Failed = false;

// Blocks allocated during a watched call and not freed yet. Other memory may come from another module's allocator.
thread_local bool t_Watching = false;
thread_local std::size_t t_LiveCount = 0;
thread_local std::array<void*, 4096> t_Live;

}  // namespace

void* operator new(std::size_t size)
{
    if (t_Left >= 0 && t_Left-- == 0) {
        t_Failed = true;
        throw std::bad_alloc();
    }
    void* memory = std::malloc(size != 0 ? size : 1);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    if (t_Watching && t_LiveCount < t_Live.size()) {
        t_Live[t_LiveCount++] = memory;
    }
    return memory;
}

void operator delete(void* memory) noexcept
{
    const auto live = std::span(t_Live).first(t_LiveCount);
    if (const auto found = std::ranges::find(live, memory); memory != nullptr && found != live.end()) {
        *found = live.back();
        --t_LiveCount;
    }
    std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept { operator delete(memory); }

namespace orbis::border {
namespace {

constexpr std::size_t kSmartNvmeInfo = 3;

const OrbisRegistration& Table() { return *OrbisPluginRegistration(); }

// Calls with the first allocation failing, then the second, and so on until a call succeeds. Returns the number of failures.
template <class Call>
int Sweep(Call call)
{
    int failures = 0;
    for (int allocation = 0;; ++allocation) {
        t_Failed = false;
        t_Left = allocation;
        t_LiveCount = 0;
        t_Watching = true;
        const OrbisResult* result = call();
        t_Watching = false;
        t_Left = -1;
        EXPECT_NE(result, nullptr);
        const bool failed = result->failure != nullptr;
        if (failed && result->failure->kind == ORBIS_FAILURE_OUT_OF_MEMORY) {
            EXPECT_TRUE(t_Failed);
            ++failures;
        }
        Table().free(result);
        EXPECT_EQ(t_LiveCount, 0U) << "allocation " << allocation;
        if (!t_Failed) {
            return failures;
        }
    }
}

class MemoryTest : public ::testing::Test {
protected:
    MemoryTest()
    {
        static_cast<void>(platform::Platform::System());  // made once for the process, and kept
        Table().free(Table().create(nullptr, &m_Plugin));
    }
    ~MemoryTest() override { Table().destroy(m_Plugin); }

    [[nodiscard]] const OrbisResult* Collect(std::string_view id) const
    {
        const OrbisText text{id.data(), id.size()};
        return Table().collect(m_Plugin, kSmartNvmeInfo, &text, nullptr);
    }

    OrbisPlugin* m_Plugin = nullptr;
};

TEST_F(MemoryTest, CreateLeavesNoObjectBehind)
{
    EXPECT_GT(Sweep([] {
                  OrbisPlugin* plugin = nullptr;
                  const OrbisResult* result = Table().create(nullptr, &plugin);
                  EXPECT_EQ(plugin == nullptr, result->failure != nullptr);
                  Table().destroy(plugin);
                  return result;
              }),
              0);
}

TEST_F(MemoryTest, CollectAnswersAlways)
{
    EXPECT_GT(Sweep([this] { return Table().collect(m_Plugin, kSmartNvmeInfo, nullptr, nullptr); }), 0);
    for (const std::string_view failing : {"zel", "not supported", "native", "no memory", "int", "some item that is not there"}) {
        EXPECT_GT(Sweep([this, failing] { return Collect(failing); }), 0) << failing;
    }
}

}  // namespace
}  // namespace orbis::border
