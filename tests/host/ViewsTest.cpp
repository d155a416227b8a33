#include <gtest/gtest.h>

#include <limits>

#include "Disks.h"
#include "ExitStatus.h"
#include "Formats.h"
#include "Metrics.h"
#include "SmartAttributes.h"
#include "Table.h"
#include "Text.h"
#include "insight/Explanation.h"
#include "orbis/host/collected_item.pb.h"
#include "views/HealthView.h"
#include "views/LiveView.h"
#include "views/Units.h"

namespace orbis::host {
namespace {

TEST(TableTest, CutsTextInTheMiddleWrapsWordsAndBecomesBlocksBelowThat)
{
    const auto render = [](const Style& style) {
        Table table(style);
        table.AddColumn("Disk");
        table.AddColumn("Read\nMB/s", Table::Align::Right);
        table.AddColumn("Blank");
        table.AddRow({"DISK0 \u6570\u636E\u76D8 with a long name 1TB", "1000.25"});
        table.AddRow({"DISK1", "1"});
        return table.Render(2);
    };
    EXPECT_EQ(render({.width = 30}),
              "                          Read\n"
              "  Disk                    MB/s\n"
              "  DISK0 \u6570\u2026 name 1TB   1000.25\n"
              "  DISK1                      1\n");
    EXPECT_EQ(render({.width = 20, .isAscii = true}),
              "  DISK0\n"
              "  \\u6570\\u636E\\u76D8\n"
              "  with a long name\n"
              "  1TB\n"
              "    Read MB/s  1000.25\n"
              "  DISK1\n"
              "    Read MB/s  1\n");
    EXPECT_NE(render({}).find("with a long name 1TB  1000.25\n"), std::string::npos) << "piped output is whole";
    Table words({.width = 20});
    words.AddColumn("Id", Table::Align::Right);
    words.AddColumn("Flags", Table::Align::Words);
    words.AddRow({"1", "boot page-file dump"});
    EXPECT_EQ(words.Render(2), "  Id  Flags\n   1  boot page-file\n      dump\n");
}

TEST(TextTest, ShowsWhatWouldDriveTheTerminalAndKnowsItsWidth)
{
    using namespace std::string_literals;
    EXPECT_EQ(Printable("a\x1B[2J\0b\x7F\n\xC2\x9B"
                        "1m\u00E4\xFF\u202Ex\u2028"s),
              "a\\x1B[2J\\x00b\\x7F\\x0A\\x9B1m\u00E4\\xFF\\u202Ex\\u2028");
    EXPECT_EQ(Ascii("45 \u00B0C \u2026 \u2588 \u00E4 \U0001F4BE"), "45 C ~ # \\xE4 \\U0001F4BE");
    EXPECT_EQ(DisplayWidth("a\u0308\u0340\u036F\u2026\u6570"), 4U) << "a combining mark takes no column, a Chinese character two";
    EXPECT_EQ(Fit("\u00E4\u00F6\u00FCa\u0308", 2), "\u00E4\u2026");
    EXPECT_EQ(Fit("\u6570\u636E\u76D8", 3), "\u2026") << "half a character is none";
}

TEST(UnitsTest, ReadAsPeopleWriteThem)
{
    EXPECT_EQ(Mebibytes(953869), "1.00 TB");
    EXPECT_EQ(Mebibytes(1024) + ", " + Bytes(1000), "1.07 GB, 1.00 kB");
    EXPECT_EQ(Bytes(512110190592.0), "512.11 GB");
    EXPECT_EQ(Bytes(999), "999 B");
    EXPECT_EQ(Grouped(std::numeric_limits<std::uint64_t>::max()), "18,446,744,073,709,551,615");
    EXPECT_EQ(Grouped(999.0), "999");
    EXPECT_EQ(Times(1) + ", " + Times(1234), "once, 1,234 times");
    EXPECT_EQ(LittleEndian(std::string("\x01\x02\0\0", 4)), 513.0);
}

TEST(DisksTest, FindsDiskByEveryName)
{
    Disks disks;
    disks.Learn({"Disk_B", 12, "VEYRA IRON 4T", "7", {{"D:", "1234ABCD"}, {"E:", ""}}, false, {}});
    disks.Learn({"Disk_A", 3, "", "s/n 1", {}, false, {}});
    disks.Learn({"Disk_A", 4, "VEYRA PX8", "", {{"C:", "1234ABCD"}}, false, {}});  // what is known already stays
    const std::vector<std::pair<const char*, std::vector<std::string>>> cases{
        {"Disk_A", {"Disk_A"}},
        {"a", {"Disk_A"}},
        {"disk3 VEYRA PX8", {"Disk_A"}},
        {"DISK3", {"Disk_A"}},
        {"disk12", {"Disk_B"}},
        {"3", {"Disk_A"}},
        {"4", {}},
        {R"(\\.\PhysicalDrive12)", {"Disk_B"}},
        {"C:", {"Disk_A"}},
        {"e", {"Disk_B"}},
        {"d:\\", {"Disk_B"}},
        {"S/N 1", {"Disk_A"}},
        {"7", {"Disk_B"}},
        {"", {}},
        {"DISK", {}},
        {"DISK1", {}},
        {"99999999999", {}},
    };
    for (const auto& [selector, expected] : cases) {
        EXPECT_EQ(disks.Select(selector), expected) << selector;
    }
    EXPECT_EQ(disks.NameOf("Disk_A"), "DISK3 VEYRA PX8");
    EXPECT_EQ(disks.NameOf("Disk_"), "(no id)");
    EXPECT_EQ(disks.LetterOf("Disk_B", "1234ABCD") + disks.LetterOf("Disk_B", ""), "D:");
    EXPECT_EQ(disks.All().front().itemId, "Disk_A") << "ordered by number";
}

TEST(ExitStatusTest, TheFirstThatAppliesCounts)
{
    EXPECT_EQ(Graver(kExitIncomplete, kExitCollectionFailed), kExitCollectionFailed);
    EXPECT_EQ(Graver(kExitOutputLost, kExitCollectionFailed), kExitOutputLost);
    EXPECT_EQ(Graver(kExitUsage, kExitOutputLost), kExitUsage);
    EXPECT_EQ(Graver(kExitOk, kExitIncomplete), kExitIncomplete);
}

TEST(MetricsTest, KeepsNumbersExactAndSeriesUnique)
{
    EXPECT_EQ(Decimal(std::string(16, '\xFF'), 512000), "174224571863520493293247799005065324264960000");
    EXPECT_EQ(Decimal(std::string("\0\0\x01\0", 4), 1), "65536");
    EXPECT_EQ(Decimal({}, 7), "0");
    MetricsText text;
    text.Add({"a_total", "Help."}, {{"name", "q\"b\\n\n\u00E4"}}, "1");
    text.Add({"b", "Other."}, {}, "2");
    text.Add({"a_total", "Help."}, {{"name", "q\"b\\n\n\u00E4"}}, "3");
    text.Add({"a_total", "Help."}, {{"name", ""}}, "4");
    EXPECT_EQ(text.Text(),
              "# HELP a_total Help.\n# TYPE a_total counter\na_total{name=\"q\\\"b\\\\n\\n\u00E4\"} 1\na_total{name=\"\"} 4\n"
              "# HELP b Other.\n# TYPE b gauge\nb 2\n");
}

datatypes::PhysicalDiskDynamicInfo Idle(float percent)
{
    datatypes::PhysicalDiskDynamicInfo info;
    info.mutable_idle_time_percentage()->set_value(percent);
    return info;
}

TEST(LiveViewTest, KeepsALineForADiskThatIsGoneWhileItsHistoryLasts)
{
    LiveView live;
    const auto busy = Idle(0);
    const auto idle = Idle(100);
    live.Add({{"Disk_A", &busy}, {"Disk_B", &idle}});
    live.Add({{"Disk_B", &busy}});
    const std::string text = live.Render({}, {.width = 80});
    EXPECT_NE(text.find("  A      gone"), std::string::npos) << text;
    EXPECT_NE(text.find("\u2581\u2588"), std::string::npos) << "B was idle, then busy:\n" << text;
    for (int pass = 0; pass < 24; ++pass) {
        live.Add({{"Disk_B", &idle}});
    }
    EXPECT_EQ(live.Render({}, {}).find("gone"), std::string::npos);
    EXPECT_EQ(Sparkline({std::numeric_limits<float>::quiet_NaN(), -1, 250}, 100), "  \u2588");
}

// The views have the numbers of their own: reading the table of sources would cost every table of attributes some milliseconds.
TEST(SmartAttributesTest, HaveTheNumbersOfTheTableOfSources)
{
    for (const SmartAttribute& attribute : kSmartAttributes) {
        const auto* row = insight::SourceOf("SmartDynamicInfo." + std::string(attribute.field));
        ASSERT_NE(row, nullptr) << attribute.field;
        EXPECT_EQ(static_cast<int>(row->from(0).attribute()), attribute.id) << attribute.field;
    }
}

TEST(ExplanationViewTest, LeavesNothingOutHoweverNarrow)
{
    insight::ExplanationReport report;
    insight::MessageExplanation& sent = *report.add_message();
    sent.set_datatype("SmartNvmeInfo");
    sent.set_name("DISK0");
    insight::FieldExplanation& field = *sent.add_field();
    field.set_field("spare");
    field.set_state(insight::FieldExplanation::EMPTY);
    field.set_source("NVMe log 02h byte 3");
    field.set_raw("00 = 0");
    field.set_rule("0 is empty");
    field.set_reason("it is 0");
    insight::MessageExplanation& unsent = *report.add_message();
    unsent.set_datatype("SmartNvmeInfo");
    unsent.set_name("DISK1");
    unsent.set_reason("access denied");
    EXPECT_EQ(Render(report, {.width = 30}),
              "SmartNvmeInfo  DISK0\n"
              "  spare  (empty)\n"
              "      NVMe log 02h byte 3: 00\n"
              "      = 0; 0 is empty\n"
              "\n"
              "SmartNvmeInfo  DISK1\n"
              "  not sent: access denied\n");
}

TEST(FormatsTest, AnItemWithoutAMessageIsNoEmptyMessage)
{
    std::vector<CollectedDatatype> results(1);
    results[0].datatype = "PhysicalDiskStaticInfo";
    results[0].items.push_back({"Disk_\"1\"\n", std::chrono::system_clock::time_point(std::chrono::milliseconds(1500)), nullptr});
    results[0].items.push_back({"Disk_2", {}, NewMessage("veyra.orbis.datatypes.PhysicalDiskStaticInfo")});
    const Disks disks;
    const std::vector<Finding> findings;
    const Context context{.disks = disks, .findings = findings};
    EXPECT_EQ(
        Render(results, Format::Json, context),
        "[\n"
        R"({"datatype":"PhysicalDiskStaticInfo","itemId":"Disk_\"1\"\n","collectionTime":"1970-01-01T00:00:01.500Z","data":null})"
        ",\n"
        R"({"datatype":"PhysicalDiskStaticInfo","itemId":"Disk_2","collectionTime":"1970-01-01T00:00:00Z","data":{}})"
        "\n]\n");
    EXPECT_NE(Render(results, Format::Table, context).find("(no data)"), std::string::npos);
    const std::string binary = Render(results, Format::Binary, context);
    CollectedItem first;  // behind its length
    ASSERT_TRUE(first.ParseFromArray(binary.data() + 1, binary[0]));
    EXPECT_EQ(first.collection_time().nanos(), 500'000'000);
    EXPECT_EQ(NewMessage("veyra.orbis.datatypes.None"), nullptr);
}

}  // namespace
}  // namespace orbis::host
