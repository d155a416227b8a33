#include <google/protobuf/util/time_util.h>
#include <gtest/gtest.h>
#include <fstream>
#include <functional>
#include <numeric>
#include <sstream>

#include "HexFile.h"
#include "health/Unsigned128.h"
#include "insight/Health.h"

namespace orbis::insight {
namespace {

using Page = std::vector<std::uint8_t>;

PageAnswer Answered(Page bytes)
{
    PageAnswer answer;
    answer.state = PageAnswer::State::Answered;
    answer.bytes = std::move(bytes);
    return answer;
}

PageAnswer Refused(std::uint32_t error)
{
    PageAnswer answer;
    answer.state = PageAnswer::State::Refused;
    answer.error = error;
    return answer;
}

void Seal(Page& sector)
{
    sector[511] = 0;
    unsigned sum = 0;
    for (const std::uint8_t byte : sector) {
        sum += byte;
    }
    sector[511] = static_cast<std::uint8_t>(0U - sum);
}

// A healthy NVMe drive: 27 degrees, WCTEMP 80 degrees, spare 100 % of 10 %, 5 % used.
struct Nvme {
    Page log = Page(512);
    Page identify = Page(4096);

    Nvme()
    {
        Word(log, 1, 300);
        log[3] = 100;
        log[4] = 10;
        log[5] = 5;
        Word(identify, 266, 353);
    }
    static void Word(Page& page, std::size_t at, unsigned value)
    {
        page[at] = static_cast<std::uint8_t>(value);
        page[at + 1] = static_cast<std::uint8_t>(value >> 8U);
    }
    [[nodiscard]] DiskEvidence Evidence() const
    {
        DiskEvidence disk;
        disk.serialNumber = "N1";
        disk.busType = 17;
        disk.nvmeHealth = Answered(log);
        disk.nvmeIdentify = Answered(identify);
        return disk;
    }
};

// An ATA disk that reports one attribute, id 202, with the flags of a pre-failure attribute.
struct Ata {
    Page data = Page(512);
    Page thresholds = Page(512);

    Ata() { Attribute(0, 202, true, 100, 0, 20); }
    void Attribute(std::size_t slot, std::uint8_t id, bool isPreFailure, std::uint8_t value, std::uint64_t raw,
                   std::uint8_t threshold)
    {
        const std::size_t at = 2 + slot * 12;
        data[at] = id;
        data[at + 1] = isPreFailure ? 3 : 2;
        data[at + 3] = value;
        for (std::size_t byte = 0; byte < 6; ++byte) {
            data[at + 5 + byte] = static_cast<std::uint8_t>(raw >> (8 * byte));
        }
        thresholds[at] = id;
        thresholds[at + 1] = threshold;
    }
    [[nodiscard]] DiskEvidence Evidence()
    {
        Seal(data);
        DiskEvidence disk;
        disk.serialNumber = "A1";
        disk.smartData = Answered(data);
        disk.smartThresholds = Answered(thresholds);
        return disk;
    }
};

// A healthy NVMe drive with the maker's log: reserved blocks used, and all of them.
DiskEvidence Maker(std::uint8_t used, std::uint8_t all, std::uint8_t spoiled = 0)
{
    Page log(512);
    constexpr std::string_view kHead("VEYRA-HL\x01\0\x40", 11);
    std::copy(kHead.begin(), kHead.end(), log.begin());
    log[14] = used;
    log[16] = all;
    log[11] = static_cast<std::uint8_t>(spoiled - std::accumulate(log.begin(), log.begin() + 64, 0U));
    DiskEvidence disk = Nvme().Evidence();
    disk.makerHealth = Answered(std::move(log));
    return disk;
}

std::string Rules(const DiskHealth& disk)
{
    std::string text;
    for (const Reason& reason : disk.reason()) {
        text += (text.empty() ? "" : " ") + reason.rule();
    }
    return text;
}

struct Case {
    const char* name;
    std::function<DiskEvidence()> disk;
    Verdict verdict;
    const char* rules;
};

DiskEvidence With(const std::function<void(Nvme&)>& change)
{
    Nvme nvme;
    change(nvme);
    return nvme.Evidence();
}

DiskEvidence With(const std::function<void(Ata&)>& change)
{
    Ata ata;
    change(ata);
    return ata.Evidence();
}

// Each rule just below, at and above its limit; counters whose low byte is zero; several faults at once; missing pages.
TEST(Health, Verdicts)
{
    const auto nvme = [](const std::function<void(Nvme&)>& change) { return [change] { return With(change); }; };
    const auto ata = [](const std::function<void(Ata&)>& change) { return [change] { return With(change); }; };
    const Case cases[] = {
        {"healthy NVMe", nvme([](Nvme&) {}), OK, ""},
        {"spare bit", nvme([](Nvme& n) { n.log[0] = 1; }), FAIL, "nvme.spare-warning"},
        {"temperature bit", nvme([](Nvme& n) { n.log[0] = 2; }), WARN, "nvme.temperature-warning"},
        {"reliability bit", nvme([](Nvme& n) { n.log[0] = 4; }), FAIL, "nvme.reliability"},
        {"read-only bit", nvme([](Nvme& n) { n.log[0] = 8; }), FAIL, "nvme.read-only"},
        {"backup bit", nvme([](Nvme& n) { n.log[0] = 16; }), FAIL, "nvme.backup"},
        {"memory region bit", nvme([](Nvme& n) { n.log[0] = 32; }), FAIL, "nvme.persistent-memory"},
        {"reserved warning bits", nvme([](Nvme& n) { n.log[0] = 0xC0; }), OK, ""},
        {"spare above", nvme([](Nvme& n) { n.log[3] = 11; }), OK, ""},
        {"spare at", nvme([](Nvme& n) { n.log[3] = 10; }), OK, ""},
        {"spare below", nvme([](Nvme& n) { n.log[3] = 9; }), FAIL, "nvme.spare"},
        {"used 89", nvme([](Nvme& n) { n.log[5] = 89; }), OK, ""},
        {"used 90", nvme([](Nvme& n) { n.log[5] = 90; }), OK, "nvme.nearly-used"},
        {"used 99", nvme([](Nvme& n) { n.log[5] = 99; }), OK, "nvme.nearly-used"},
        {"used 100", nvme([](Nvme& n) { n.log[5] = 100; }), WARN, "nvme.used"},
        {"used 255", nvme([](Nvme& n) { n.log[5] = 255; }), WARN, "nvme.used"},
        {"below WCTEMP", nvme([](Nvme& n) { Nvme::Word(n.log, 1, 352); }), OK, ""},
        {"at WCTEMP", nvme([](Nvme& n) { Nvme::Word(n.log, 1, 353); }), WARN, "nvme.temperature"},
        {"above WCTEMP", nvme([](Nvme& n) { Nvme::Word(n.log, 1, 354); }), WARN, "nvme.temperature"},
        {"no WCTEMP", nvme([](Nvme& n) { Nvme::Word(n.identify, 266, 0), Nvme::Word(n.log, 1, 999); }), OK, ""},
        {"temperature not reported", nvme([](Nvme& n) { Nvme::Word(n.log, 1, 0); }), OK, ""},
        {"one media error", nvme([](Nvme& n) { n.log[160] = 1; }), WARN, "nvme.media-errors"},
        {"768 media errors", nvme([](Nvme& n) { n.log[161] = 3; }), WARN, "nvme.media-errors"},
        {"media errors in the top byte", nvme([](Nvme& n) { n.log[175] = 1; }), WARN, "nvme.media-errors"},
        {"endurance group bits", nvme([](Nvme& n) { n.log[6] = 0x0D; }), WARN,
         "nvme.endurance-group nvme.endurance-group nvme.endurance-group"},
        {"reserved endurance group bits", nvme([](Nvme& n) { n.log[6] = 0xF2; }), OK, ""},
        {"unsafe shutdowns without a baseline", nvme([](Nvme& n) { n.log[145] = 1; }), OK, ""},
        {"reserved blocks below", [] { return Maker(89, 100); }, OK, ""},
        {"reserved blocks at", [] { return Maker(90, 100); }, WARN, "maker.reserved-blocks"},
        {"reserved blocks above", [] { return Maker(91, 100); }, WARN, "maker.reserved-blocks"},
        {"reserved blocks at, rounded", [] { return Maker(3, 3); }, WARN, "maker.reserved-blocks"},
        {"no reserved blocks", [] { return Maker(0, 0); }, OK, ""},
        {"another maker's log", [] { return Maker(100, 100, 1); }, OK, ""},
        {"two faults, the heavier first", nvme([](Nvme& n) { n.log[0] = 8, n.log[161] = 3, n.log[5] = 95; }), FAIL,
         "nvme.read-only nvme.media-errors nvme.nearly-used"},

        {"healthy ATA", ata([](Ata&) {}), OK, ""},
        {"pre-failure above", ata([](Ata& a) { a.Attribute(0, 202, true, 21, 0, 20); }), OK, ""},
        {"pre-failure at", ata([](Ata& a) { a.Attribute(0, 202, true, 20, 0, 20); }), FAIL, "ata.pre-failure"},
        {"pre-failure below", ata([](Ata& a) { a.Attribute(29, 231, true, 19, 0, 20); }), FAIL, "ata.pre-failure"},
        {"old age above", ata([](Ata& a) { a.Attribute(0, 9, false, 21, 0, 20); }), OK, ""},
        {"old age at", ata([](Ata& a) { a.Attribute(0, 9, false, 20, 0, 20); }), WARN, "ata.old-age"},
        {"value 0 is none", ata([](Ata& a) { a.Attribute(0, 202, true, 0, 0, 20); }), OK, ""},
        {"value 254 is none", ata([](Ata& a) { a.Attribute(0, 202, true, 254, 0, 255); }), OK, ""},
        {"threshold 0 never fails", ata([](Ata& a) { a.Attribute(0, 202, true, 1, 0, 0); }), OK, ""},
        {"reallocated", ata([](Ata& a) { a.Attribute(1, 5, true, 100, 1, 10); }), WARN, "ata.reallocated"},
        {"256 pending", ata([](Ata& a) { a.Attribute(1, 197, false, 100, 256, 0); }), WARN, "ata.pending"},
        {"uncorrectable, both", ata([](Ata& a) { a.Attribute(1, 187, false, 100, 2, 0), a.Attribute(2, 198, false, 100, 2, 0); }),
         WARN, "ata.reported-uncorrectable ata.offline-uncorrectable"},
        {"timeouts pack counters", ata([](Ata& a) { a.Attribute(1, 188, false, 100, 0x000100010001, 0); }), OK, ""},
        {"CRC errors without a baseline", ata([](Ata& a) { a.Attribute(1, 199, false, 100, 5, 0); }), OK, ""},
        {"wrong checksum",
         [] {
             auto disk = Ata().Evidence();
             disk.smartData.bytes[511] ^= 1U;
             return disk;
         },
         UNKNOWN, "unknown.checksum"},
        {"no thresholds",
         [] {
             auto disk = Ata().Evidence();
             disk.smartThresholds = Refused(31);
             return disk;
         },
         UNKNOWN, "unknown.thresholds"},
        {"no thresholds, but pending sectors",
         [] {
             Ata drive;
             drive.Attribute(1, 197, false, 100, 1, 0);
             auto disk = drive.Evidence();
             disk.smartThresholds = {};
             return disk;
         },
         WARN, "ata.pending unknown.thresholds"},
        {"health log refused",
         [] {
             auto disk = Nvme().Evidence();
             disk.nvmeHealth = Refused(1);
             return disk;
         },
         UNKNOWN, "unknown.refused"},
        {"Identify refused",
         [] {
             auto disk = Nvme().Evidence();
             disk.nvmeIdentify = Refused(1117);
             return disk;
         },
         UNKNOWN, "unknown.refused"},
        {"short health log",
         [] {
             auto disk = Nvme().Evidence();
             disk.nvmeHealth.bytes.resize(511);
             return disk;
         },
         UNKNOWN, "unknown.short-page"},
        {"nothing asked", [] { return DiskEvidence{}; }, UNKNOWN, "unknown.not-asked"},
        {"no rights",
         [] {
             DiskEvidence disk;
             disk.openError = 5;
             return disk;
         },
         UNKNOWN, "unknown.open"},
    };
    for (const Case& test : cases) {
        const DiskHealth health = Judge(test.disk());
        EXPECT_EQ(Verdict_Name(health.verdict()), Verdict_Name(test.verdict)) << test.name;
        EXPECT_EQ(Rules(health), test.rules) << test.name;
    }
}

// Pages of real, healthy drives.
TEST(Health, RealDrivesGiveNoWarning)
{
    const auto page = [](const char* name) {
        const auto bytes = tests::ReadHex(name);
        return Answered(Page(bytes.begin(), bytes.end()));
    };
    DiskEvidence nvme;
    nvme.nvmeIdentify = page("nvme-4tb-identify-controller.hex");
    nvme.nvmeHealth = page("nvme-4tb-health-log.hex");
    EXPECT_EQ(Judge(nvme).verdict(), OK) << Judge(nvme).DebugString();
    DiskEvidence sata;
    sata.ataIdentify = page("sata-ssd-4tb-identify.hex");
    sata.smartData = page("sata-ssd-4tb-smart-data.hex");
    sata.smartThresholds = page("sata-ssd-4tb-smart-thresholds.hex");
    EXPECT_EQ(Judge(sata).verdict(), OK) << Judge(sata).DebugString();
}

HealthReport ReportOf(std::vector<DiskEvidence> disks, int minute)
{
    return MakeReport(disks, "pc", std::chrono::system_clock::time_point{std::chrono::minutes{minute}});
}

TEST(Health, BaselineShowsRises)
{
    Nvme before;
    before.log[160] = 255;
    before.log[144] = 255;
    Nvme now = before;
    now.log[160] = 4;
    now.log[161] = 1;
    now.log[144] = 0;
    now.log[145] = 1;
    now.log[192] = now.log[196] = 1;
    HealthReport report = ReportOf({now.Evidence()}, 5);
    Compare(report, ReportOf({before.Evidence()}, 1));
    const DiskHealth& disk = report.disk(0);
    EXPECT_EQ(disk.change(), SAME_PLACE);
    ASSERT_EQ(Rules(disk), "nvme.media-errors nvme.unsafe-shutdowns nvme.warning-temperature-time nvme.critical-temperature-time");
    EXPECT_EQ(disk.reason(0).value(), "260");
    EXPECT_EQ(disk.reason(0).rise(), "5");
    EXPECT_EQ(disk.reason(1).rise(), "1");
    EXPECT_EQ(google::protobuf::util::TimeUtil::ToString(disk.reason(0).since()), "1970-01-01T00:01:00Z");

    // A rule can be configured to weigh less when its value does not rise.
    const std::string quiet[] = {"nvme.media-errors"};
    HealthReport same = ReportOf({now.Evidence()}, 6);
    Compare(same, ReportOf({now.Evidence()}, 5), quiet);
    EXPECT_EQ(same.disk(0).verdict(), OK);
    EXPECT_EQ(Rules(same.disk(0)), "nvme.media-errors");

    // The bits above the low 32 bits of a raw value are another counter.
    Ata packed;
    packed.Attribute(1, 5, true, 100, 0x000100000003, 10);
    Ata later = packed;
    packed.Attribute(2, 199, false, 100, 7, 0);
    later.Attribute(1, 5, true, 100, 0x000200000003, 10);
    later.Attribute(2, 199, false, 100, 8, 0);
    HealthReport ata = ReportOf({later.Evidence()}, 6);
    Compare(ata, ReportOf({packed.Evidence()}, 5));
    EXPECT_EQ(Rules(ata.disk(0)), "ata.reallocated ata.crc-errors");
    EXPECT_EQ(ata.disk(0).reason(0).rise(), "");
}

TEST(Health, BaselineKnowsDisksBySerialNumber)
{
    const auto disk = [](const char* serial, std::uint32_t number, std::uint8_t hours) {
        Nvme nvme;
        nvme.log[128] = hours;
        DiskEvidence evidence = nvme.Evidence();
        evidence.serialNumber = serial;
        evidence.number = number;
        return evidence;
    };
    HealthReport report = ReportOf({disk("A", 1, 9), disk("B", 0, 9), disk("C", 2, 9), disk("E", 4, 1), disk("", 5, 9),
                                    disk("two", 7, 9), disk("two", 8, 9), disk("two", 9, 9)},
                                   5);
    Compare(report, ReportOf({disk("A", 0, 9), disk("B", 0, 9), disk("D", 2, 9), disk("E", 4, 9), disk("", 6, 9), disk("two", 8, 9),
                              disk("two", 7, 9)},
                             1));
    std::string changes;
    for (const DiskHealth& judged : report.disk()) {
        changes += judged.serial_number() + ":" + Change_Name(judged.change()) + " ";
    }
    EXPECT_EQ(changes, "B:SAME_PLACE A:MOVED C:NEW E:RESET :NEW two:SAME_PLACE two:SAME_PLACE two:NEW ");
    ASSERT_EQ(report.gone_size(), 2);
    EXPECT_EQ(report.gone(0).serial_number(), "D");
}

TEST(Health, CountersAreExactTo128Bits)
{
    constexpr const char* kLargest = "340282366920938463463374607431768211455";
    const auto largest = Unsigned128::FromDecimal(kLargest);
    ASSERT_TRUE(largest);
    EXPECT_EQ(largest->ToDecimal(), kLargest);
    EXPECT_FALSE(Unsigned128::FromDecimal("340282366920938463463374607431768211456"));
    EXPECT_FALSE(Unsigned128::FromDecimal("12a"));
    EXPECT_FALSE(Unsigned128::FromDecimal(""));
    EXPECT_EQ((Unsigned128{1, 0} - Unsigned128{0, 1}).ToDecimal(), "18446744073709551615");

    Nvme nvme;
    nvme.log[175] = 0x80;
    EXPECT_EQ(Judge(nvme.Evidence()).reason(0).value(), "170141183460469231731687303715884105728");
}

// The document's table is the code's.
TEST(Health, DocumentListsTheRules)
{
    std::ifstream file("testdata/HEALTH.md");
    std::stringstream text;
    text << file.rdbuf();
    EXPECT_NE(text.str().find(HealthRulesAsMarkdown()), std::string::npos) << HealthRulesAsMarkdown();
}

}  // namespace
}  // namespace orbis::insight
