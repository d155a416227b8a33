// The border as a host in C uses it: what it refuses, and how it reports functions that throw.
#include <cstring>
#include <functional>
#include <new>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "HostBorder/orbis_border.h"

namespace orbis::border {
namespace {

constexpr std::size_t kSmartNvmeInfo = 3;

const OrbisRegistration& Table() { return *OrbisPluginRegistration(); }

// A host whose functions are set by a test.
struct Host {
    std::function<void()> onLog = [] {};
    std::function<std::int32_t()> onCancellation = [] { return 0; };

    static void ORBIS_CALL Log(void* context, const OrbisLogLine*) { static_cast<Host*>(context)->onLog(); }
    static std::int32_t ORBIS_CALL IsCancelled(void* context) { return static_cast<Host*>(context)->onCancellation(); }

    OrbisHost host{sizeof(OrbisHost), &Log, this};
    OrbisCancellation cancellation{sizeof(OrbisCancellation), &IsCancelled, this};
};

class BorderTest : public ::testing::Test {
protected:
    BorderTest() { Table().free(Table().create(&m_Host.host, &m_Plugin)); }
    ~BorderTest() override { Table().destroy(m_Plugin); }

    // The kind of a failure, 0 for none; the answer is freed.
    static std::int32_t KindOf(const OrbisResult* result)
    {
        EXPECT_NE(result, nullptr);
        EXPECT_EQ(result->structSize, sizeof(OrbisResult));
        EXPECT_EQ(result->itemSize, sizeof(OrbisItem));
        const std::int32_t kind = result->failure != nullptr ? result->failure->kind : 0;
        if (kind != 0) {
            EXPECT_EQ(result->hasList, 0);
            EXPECT_GT(result->failure->message.length, 0U);
            const std::string typeName(result->failure->typeName.data, result->failure->typeName.length);
            EXPECT_TRUE(kind == ORBIS_FAILURE_NATIVE ? typeName == "std::runtime_error" : !typeName.empty()) << typeName;
        }
        Table().free(result);
        return kind;
    }

    std::int32_t Collect(const OrbisText* id = nullptr)
    {
        return KindOf(Table().collect(m_Plugin, kSmartNvmeInfo, id, &m_Host.cancellation));
    }

    Host m_Host;
    OrbisPlugin* m_Plugin = nullptr;
};

TEST_F(BorderTest, RefusesWhatTheHeaderForbids)
{
    EXPECT_EQ(KindOf(Table().create(&m_Host.host, nullptr)), ORBIS_FAILURE_INVALID_CALL);
    EXPECT_EQ(KindOf(Table().collect(nullptr, kSmartNvmeInfo, nullptr, nullptr)), ORBIS_FAILURE_INVALID_CALL);
    EXPECT_EQ(KindOf(Table().collect(m_Plugin, Table().operationCount, nullptr, nullptr)), ORBIS_FAILURE_INVALID_CALL);
    const OrbisText nowhere{nullptr, 1};
    EXPECT_EQ(Collect(&nowhere), ORBIS_FAILURE_INVALID_CALL);
    const OrbisText malformed{"echo \xC3", 6};
    EXPECT_EQ(Collect(&malformed), ORBIS_FAILURE_INVALID_CALL);

    OrbisCancellation cancellation = m_Host.cancellation;
    --cancellation.structSize;
    EXPECT_EQ(KindOf(Table().collect(m_Plugin, kSmartNvmeInfo, nullptr, &cancellation)), ORBIS_FAILURE_INVALID_CALL);
    cancellation = m_Host.cancellation;
    cancellation.isCancellationRequested = nullptr;
    EXPECT_EQ(KindOf(Table().collect(m_Plugin, kSmartNvmeInfo, nullptr, &cancellation)), ORBIS_FAILURE_INVALID_CALL);

    OrbisHost host = m_Host.host;
    --host.structSize;
    OrbisPlugin* plugin = m_Plugin;
    EXPECT_EQ(KindOf(Table().create(&host, &plugin)), ORBIS_FAILURE_INVALID_CALL);
    EXPECT_EQ(plugin, nullptr);
}

TEST_F(BorderTest, TakesNothingForAnAnswer)
{
    OrbisPlugin* plugin = nullptr;
    EXPECT_EQ(KindOf(Table().create(nullptr, &plugin)), 0);
    EXPECT_EQ(KindOf(Table().collect(plugin, kSmartNvmeInfo, nullptr, nullptr)), 0);
    const OrbisText empty{nullptr, 0};
    EXPECT_EQ(KindOf(Table().collect(plugin, kSmartNvmeInfo, &empty, nullptr)), ORBIS_FAILURE_ZEL);
    Table().destroy(plugin);
    Table().destroy(nullptr);
    Table().free(nullptr);
}

TEST_F(BorderTest, AnswersOutliveTheirObject)
{
    OrbisPlugin* plugin = nullptr;
    Table().free(Table().create(nullptr, &plugin));
    const OrbisResult* result = Table().collect(plugin, kSmartNvmeInfo, nullptr, nullptr);
    Table().destroy(plugin);
    ASSERT_EQ(result->itemCount, 3U);
    EXPECT_EQ(std::string(result->items[0].itemId.data, result->items[0].itemId.length), "first");
    EXPECT_EQ(result->items[0].collectionTime, 1'936'753'200'000'000'000);
    EXPECT_EQ(result->items[1].hasMessage, 1);
    EXPECT_EQ(result->items[2].hasMessage, 0);
    Table().free(result);
}

TEST_F(BorderTest, ALogThatThrowsChangesNothing)
{
    int lines = 0;
    m_Host.onLog = [&lines] {
        ++lines;
        throw std::runtime_error("disk full");
    };
    const OrbisText id{"log", 3};
    EXPECT_EQ(Collect(&id), 0);
    EXPECT_EQ(lines, 5);
    OrbisPlugin* plugin = nullptr;
    EXPECT_EQ(KindOf(Table().create(&m_Host.host, &plugin)), 0);
    EXPECT_EQ(lines, 6);
    Table().destroy(plugin);
}

TEST_F(BorderTest, ACancellationThatThrowsFailsTheCollection)
{
    m_Host.onCancellation = []() -> std::int32_t { throw std::runtime_error("no answer"); };
    EXPECT_EQ(Collect(), ORBIS_FAILURE_NATIVE);
    m_Host.onCancellation = []() -> std::int32_t { throw 42; };
    EXPECT_EQ(Collect(), ORBIS_FAILURE_UNKNOWN);
    m_Host.onCancellation = []() -> std::int32_t { throw std::bad_alloc(); };
    EXPECT_EQ(Collect(), ORBIS_FAILURE_OUT_OF_MEMORY);
    m_Host.onCancellation = [] { return -1; };
    EXPECT_EQ(Collect(), ORBIS_FAILURE_CANCELED);
}

}  // namespace
}  // namespace orbis::border
