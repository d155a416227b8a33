// The border as a host in C++ uses it.
#include <functional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <google/protobuf/descriptor.h>

#include "HostBorder/PluginHost.h"
#include "RecordingLog.h"
#include "ScriptedRetrievers.h"
#include "orbis/datatypes/nvme_health.pb.h"
#include "orbis/datatypes/nvme_identify.pb.h"
#include "orbis/datatypes/physical_disk.pb.h"
#include "orbis/datatypes/smart.pb.h"

namespace orbis::border {
namespace {

using namespace std::string_literals;
using namespace Veyra::Orbis::Sdk::Exceptions;
namespace datatypes = veyra::orbis::datatypes;
using datatypes::SmartNvmeInfo;
using fakes::LogLine;
using fakes::RecordingLog;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

int g_Answers = 0;  // that the host has not freed

// The plug-in, with its answers counted.
const OrbisRegistration& Counted()
{
    static const OrbisRegistration kCounted = [] {
        OrbisRegistration table = *OrbisPluginRegistration();
        table.create = [](const OrbisHost* host, OrbisPlugin** plugin) noexcept {
            ++g_Answers;
            return OrbisPluginRegistration()->create(host, plugin);
        };
        table.collect = [](OrbisPlugin* plugin, std::size_t operation, const OrbisText* id,
                           const OrbisCancellation* cancel) noexcept {
            ++g_Answers;
            return OrbisPluginRegistration()->collect(plugin, operation, id, cancel);
        };
        table.free = [](const OrbisResult* result) noexcept {
            --g_Answers;
            OrbisPluginRegistration()->free(result);
        };
        return table;
    }();
    return kCounted;
}

class PluginHostTest : public ::testing::Test {
protected:
    PluginHostTest() { m_Log->lines.clear(); }
    ~PluginHostTest() override { EXPECT_EQ(g_Answers, 0); }

    // The full text of what a collection throws.
    std::string FailureOf(const ItemId& id)
    {
        try {
            static_cast<void>(m_Plugin.Collect<SmartNvmeInfo>(id));
        } catch (const HostException& exception) {
            return exception.ToString();
        }
        return "nothing was thrown";
    }

    PluginHost m_Host{Counted()};
    std::shared_ptr<RecordingLog> m_Log = std::make_shared<RecordingLog>();
    PluginObject m_Plugin = m_Host.Create(m_Log);
};

TEST_F(PluginHostTest, DescribesThePlugin)
{
    EXPECT_EQ(m_Host.Id(), "{77517a8f-8645-40c4-9e41-215e96e7dcfc}");
    EXPECT_EQ(m_Host.Name(), "Storage Info Collector");
    EXPECT_EQ(m_Host.Description(), "Enables collection of Physical Disk and Storage datatypes");
    EXPECT_EQ(m_Host.LogId(), "StrgColl");
}

TEST_F(PluginHostTest, ListsSixOperationsWithTheirDatatypes)
{
    std::vector<std::string> listed;
    for (const Operation& operation : m_Host.Operations()) {
        listed.push_back(operation.name + " " + operation.datatype);
        EXPECT_EQ(operation.index + 1, listed.size());
        EXPECT_THAT(operation.description, ::testing::Not(IsEmpty()));
    }
    const auto row = [](const google::protobuf::Descriptor* datatype) {
        return "Collect" + datatype->name() + " " + datatype->full_name();
    };
    EXPECT_THAT(
        listed,
        ElementsAre(row(datatypes::PhysicalDiskDynamicInfo::descriptor()), row(datatypes::PhysicalDiskStaticInfo::descriptor()),
                    row(datatypes::SmartDynamicInfo::descriptor()), row(datatypes::SmartNvmeInfo::descriptor()),
                    row(datatypes::SmartStaticInfo::descriptor()), row(datatypes::NvmeIdentifyControllerData::descriptor())));
}

TEST_F(PluginHostTest, GivesMessagesIdsAndTimesBack)
{
    const auto items = m_Plugin.Collect<SmartNvmeInfo>(ItemId::All());
    ASSERT_TRUE(items);
    ASSERT_EQ(items->size(), 3U);
    EXPECT_EQ((*items)[0].ItemId(), ItemId("first"));
    EXPECT_EQ((*items)[0].Time(), scripted::kTime);
    EXPECT_EQ((*items)[0].Value()->health_info().available_spare().value(), 97U);
    ASSERT_NE((*items)[1].Value(), nullptr);
    EXPECT_EQ((*items)[1].Value()->ByteSizeLong(), 0U);
    EXPECT_EQ((*items)[2].Value(), nullptr);
}

TEST_F(PluginHostTest, KeepsNoListApartFromAnEmptyOne)
{
    EXPECT_FALSE(m_Plugin.Collect<SmartNvmeInfo>(ItemId("no list")));
    const auto empty = m_Plugin.Collect<SmartNvmeInfo>(ItemId("empty list"));
    ASSERT_TRUE(empty);
    EXPECT_THAT(*empty, IsEmpty());
}

TEST_F(PluginHostTest, IdsCrossWhole)
{
    for (const std::string& text : {"echo"s, "echo \0 \0"s, "echo \xF0\x9F\x92\xBE"s}) {
        const auto items = m_Plugin.Collect<SmartNvmeInfo>(ItemId(text));
        EXPECT_EQ(items.value().at(0).ItemId(), ItemId(text));
    }
    // A text that looks like "all" still names one item.
    EXPECT_THAT(FailureOf(ItemId("*")), HasSubstr("cannot find data with specific ID: *"));
    EXPECT_THAT(FailureOf(ItemId("")), HasSubstr("cannot find data with specific ID: "));
}

TEST_F(PluginHostTest, FailuresComeBackWithKindAndInnerChain)
{
    const std::string zel = "Veyra.Orbis.Sdk.Exceptions.ZelException: ";
    EXPECT_EQ(FailureOf(ItemId("native")), zel + "a native failure");
    EXPECT_EQ(FailureOf(ItemId("zel")),
              zel + "outer ---> System.ArgumentException: middle ---> System.Exception: inner \xEF\xBF\xBD");
    EXPECT_EQ(FailureOf(ItemId("not supported")), zel + "no such feature ---> System.NotSupportedException: no such feature");
    EXPECT_EQ(
        FailureOf(ItemId("x")),
        zel + "cannot find data with specific ID: x ---> System.ArgumentOutOfRangeException: cannot find data with specific ID: x");
    EXPECT_EQ(FailureOf(ItemId("int")), zel + "Unknown exception");
    EXPECT_EQ(FailureOf(ItemId("no memory")), zel + std::bad_alloc().what());

    try {
        static_cast<void>(m_Plugin.Collect<SmartNvmeInfo>(ItemId("x")));
        FAIL() << "nothing was thrown";
    } catch (const ZelException& exception) {
        EXPECT_NE(dynamic_cast<const ArgumentOutOfRangeException*>(exception.InnerException().get()), nullptr);
    }
    EXPECT_THROW(static_cast<void>(m_Plugin.Collect<datatypes::PhysicalDiskDynamicInfo>(ItemId::All())), NullReferenceException);
    EXPECT_THROW(static_cast<void>(m_Plugin.Collect<datatypes::NvmeHealthInfo>(ItemId::All())), PluginFailure);
    EXPECT_THROW(static_cast<void>(m_Plugin.Collect(6, ItemId::All())), PluginFailure);
}

TEST_F(PluginHostTest, CancelsBeforeTheCollectionBegins)
{
    const int before = scripted::g_Asked;
    const common::CancellationToken cancelled([] { return true; });
    EXPECT_THROW(static_cast<void>(m_Plugin.Collect<SmartNvmeInfo>(ItemId::All(), &cancelled)), OperationCanceledException);
    EXPECT_EQ(scripted::g_Asked, before);
    EXPECT_THAT(m_Log->lines, IsEmpty());

    const common::CancellationToken going([] { return false; });
    EXPECT_TRUE(m_Plugin.Collect<SmartNvmeInfo>(ItemId::All(), &going));
    const common::CancellationToken broken([]() -> bool { throw 42; });
    EXPECT_TRUE(m_Plugin.Collect<SmartNvmeInfo>(ItemId::All(), &broken));
}

TEST_F(PluginHostTest, LogLinesReachTheHostsLog)
{
    static_cast<void>(m_Plugin.Collect<SmartNvmeInfo>(ItemId("log")));
    EXPECT_THAT(m_Log->lines,
                ElementsAre(LogLine{"Error", "error \0 {0}"s, "File", "Function"},
                            LogLine{"Error", "System.ArgumentException: whole ---> System.Exception: inner", "File", "Function"},
                            LogLine{"Warning", "warning", "File", "Function"}, LogLine{"Debug", "", "File", "Function"},
                            LogLine{"Trace", "bytes \xEF\xBF\xBD(", "File", "Function"}));
    EXPECT_THAT(std::vector(m_Log->sourceLines.end() - 5, m_Log->sourceLines.end()), ElementsAre(1, 2, 3, 4, 5));
}

TEST_F(PluginHostTest, ObjectsAreMovedAndKeepTheirOwnLog)
{
    const auto otherLog = std::make_shared<RecordingLog>();
    PluginObject other = m_Host.Create(otherLog);
    EXPECT_THAT(otherLog->lines, ElementsAre(::testing::Field(&LogLine::message, "System.NotSupportedException: no counters")));
    {
        PluginObject moved = std::move(m_Plugin);
        other = std::move(moved);
    }  // with what `other` had before
    ASSERT_EQ(m_Log.use_count(), 2) << "the log belongs to the object that was moved";
    static_cast<void>(other.Collect<SmartNvmeInfo>(ItemId("log")));
    EXPECT_EQ(m_Log->lines.size(), 5U);
    EXPECT_EQ(otherLog.use_count(), 1);
    EXPECT_FALSE(m_Host.Create(nullptr).Collect<SmartNvmeInfo>(ItemId("log")));
}

// ---- Loading ----

std::string LoadErrorOf(const std::filesystem::path& library)
{
    try {
        static_cast<void>(PluginHost::Load(library));
    } catch (const PluginLoadError& error) {
        return error.what();
    }
    return "loaded";
}

TEST(PluginHostLoadTest, LoadsThePluginItself) { EXPECT_EQ(PluginHost::Load(ORBIS_PLUGIN_FILE).Name(), "Storage Info Collector"); }

TEST(PluginHostLoadTest, ReportsWhyALibraryCannotBeLoaded)
{
    EXPECT_THAT(LoadErrorOf("no-such-plugin"), HasSubstr("no-such-plugin"));
    EXPECT_THAT(LoadErrorOf(ORBIS_NO_PLUGIN_FILE), HasSubstr("is no plug-in"));
}

TEST(PluginHostLoadTest, RefusesTablesThatItDoesNotKnow)
{
    OrbisRegistration newer = *OrbisPluginRegistration();
    ++newer.version;
    EXPECT_THROW(PluginHost{newer}, PluginLoadError);
    OrbisRegistration shorter = *OrbisPluginRegistration();
    --shorter.structSize;
    EXPECT_THROW(PluginHost{shorter}, PluginLoadError);
}

// A later plug-in: its elements are longer than this host's header says.
TEST(PluginHostLoadTest, StepsByTheSizeThatATableStates)
{
    struct LongerOperation {
        OrbisOperation known;
        int more;
    };
    const LongerOperation operations[] = {{{{"a", 1}, {"A", 1}, {"", 0}}, 1}, {{{"b", 1}, {"B", 1}, {nullptr, 0}}, 2}};
    OrbisRegistration table = *OrbisPluginRegistration();
    table.operations = &operations[0].known;
    table.operationCount = 2;
    table.operationSize = sizeof(LongerOperation);
    const PluginHost host(table);
    EXPECT_EQ(host.Operations().at(0).datatype, "A");
    EXPECT_EQ(host.Operations().at(1).datatype, "B");
}

}  // namespace
}  // namespace orbis::border
