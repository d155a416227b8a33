#include <gtest/gtest.h>

#include <limits>

#include "Output.h"
#include "Table.h"
#include "views/LiveView.h"
#include "views/Units.h"

namespace orbis::host {
namespace {

TEST(TableTest, FitsTheWidthAndKeepsNumbersRight)
{
    Table table;
    table.AddColumn("Disk");
    table.AddColumn("Size", Table::Align::Right);
    table.AddRow({"a disk with a name that is far too long for a narrow terminal", "1"});
    table.AddRow({"short", "1000"});
    EXPECT_EQ(table.Render(20, 2),
              "  Disk          Size\n"
              "  a disk with\u2026     1\n"
              "  short         1000\n");
    EXPECT_NE(table.Render(0).find("narrow terminal"), std::string::npos) << "piped output is whole";
}

TEST(TableTest, ShowsWhatWouldDriveTheTerminal)
{
    using namespace std::string_literals;
    EXPECT_EQ(Printable("a\x1B[2J\0b\x7F\n\xC2\x9B"s + "1m\u00E4"), "a\\x1B[2J\\x00b\\x7F\\x0A\\x9B1m\u00E4");
    EXPECT_EQ(DisplayWidth("a\u0308\u2026"), 2U) << "a combining mark takes no column";
    EXPECT_EQ(Fit("\u00E4\u00F6\u00FC", 2), "\u00E4\u2026");
}

TEST(UnitsTest, ReadAsPeopleWriteThem)
{
    EXPECT_EQ(Mebibytes(0), "0 MiB");
    EXPECT_EQ(Mebibytes(953869), "931.5 GiB");
    EXPECT_EQ(Mebibytes(std::numeric_limits<std::uint64_t>::max() >> 20U), "16.0 EiB");
    EXPECT_EQ(Bytes(512110190592.0), "512.11 GB");
    EXPECT_EQ(Grouped(1234567), "1,234,567");
    EXPECT_EQ(Grouped(999), "999");
    EXPECT_EQ(LittleEndian(std::string("\x01\x02\0\0", 4)), 513.0);
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
    const std::string text = live.Render(80);
    EXPECT_NE(text.find("  A       gone"), std::string::npos) << text;
    EXPECT_NE(text.find("\u2581\u2588"), std::string::npos) << "B was idle, then busy:\n" << text;
    for (int pass = 0; pass < 24; ++pass) {
        live.Add({{"Disk_B", &idle}});
    }
    EXPECT_EQ(live.Render(80).find("gone"), std::string::npos);
    EXPECT_EQ(Sparkline({std::numeric_limits<float>::quiet_NaN(), -1, 250}, 100), "  \u2588");
}

TEST(OutputTest, AnItemWithoutAMessageIsNoEmptyMessage)
{
    std::vector<Pass> passes(1);
    passes[0].datatype = "PhysicalDiskStaticInfo";
    passes[0].items.push_back({"Disk_\"1\"\n", std::chrono::system_clock::time_point(std::chrono::milliseconds(1500)), nullptr});
    passes[0].items.push_back({"Disk_2", {}, NewMessage("veyra.orbis.datatypes.PhysicalDiskStaticInfo")});
    EXPECT_EQ(
        Render(passes, Format::Json, 0),
        "[\n"
        R"({"datatype":"PhysicalDiskStaticInfo","itemId":"Disk_\"1\"\n","collectionTime":"1970-01-01T00:00:01.500Z","data":null})"
        ",\n"
        R"({"datatype":"PhysicalDiskStaticInfo","itemId":"Disk_2","collectionTime":"1970-01-01T00:00:00Z","data":{}})"
        "\n]\n");
    EXPECT_NE(Render(passes, Format::Table, 0).find("(no data)"), std::string::npos);
    EXPECT_EQ(NewMessage("veyra.orbis.datatypes.None"), nullptr);
}

}  // namespace
}  // namespace orbis::host
