#include <gtest/gtest.h>

#include <array>
#include <fstream>

#include "simulated/MachineFile.h"
#include "simulated/orbis_simulated.h"

namespace orbis::simulated {
namespace {

struct Case {
    const char* text;
    Finding::Severity severity;
    int line;
    int column;
    const char* field;
    const char* message;  // a part of it
};
constexpr auto kError = Finding::Severity::Error;
constexpr auto kWarning = Finding::Severity::Warning;

// Errors of syntax, then descriptions that make no machine, then warnings about unusual machines.
const std::array kCases{
    Case{"disk {\n  nmuber: 1\n}", kError, 2, 3, "disk[0].nmuber", "no field named \"nmuber\""},
    Case{"disk { number: 1 }\ndisk {\n  number: -1\n}", kError, 3, 3, "disk[1].number", "Expected integer"},
    Case{"disk { nvme { log_page {} log_page {\n identifier: \"x\" } } }", kError, 2, 2, "disk[0].nvme[0].log_page[1].identifier",
         "Expected integer"},
    Case{"title: \"a\ndisk {", kError, 1, 1, "title", "String literals cannot cross line boundaries"},
    Case{"disk { kind: NVME", kError, 1, 8, "disk[0].kind", "Expected"},
    Case{"disk {\n  kind: FLOPPY  # the parser stops at the brace\n}", kError, 2, 3, "disk[0].kind", "FLOPPY"},
    Case{"disk {} 5", kError, 1, 9, "", "Expected identifier"},

    Case{"code_page: 932", kError, 1, 1, "code_page", "unknown code page 932"},
    Case{"start: \"2024-02-30T00:00:00Z\"", kError, 1, 1, "start", "not a UTC time"},
    Case{"disk { kind: NVME size: 512 nvme {\n  identify { hex: \"0\" } } }", kError, 2, 14, "disk[0].nvme.identify[0].hex",
         "not pairs"},
    Case{"firmware_table { provider: \"RSMB\" content {\n size: 99999999 } }", kError, 2, 2, "firmware_table[0].content.size",
         "more than"},
    Case{"disk { number: 1 kind: NVME size: 512 }\ndisk { kind: NVME size: 512\nnumber: 1 }", kError, 3, 1, "disk[1].number",
         "described already in disk[0]"},
    Case{"volume { letter: \"C\" }\nvolume { letter: \"c\" }", kError, 2, 10, "volume[1].letter",
         "letter C is used already in volume[0]"},
    Case{"volume {\n}", kError, 1, 1, "volume[0].letter", "is empty"},
    Case{"disk { kind: SCM size: 512 gpt {\n disk_id: \"x\" } }", kError, 2, 2, "disk[0].gpt.disk_id", "no GUID"},
    Case{"disk { kind: SATA_HDD size: 512\n ata { attribute { id: 256 } } }", kError, 2, 20, "disk[0].ata.attribute[0].id",
         "does not fit"},
    Case{"disk { kind: NVME size: 512 sector_size: 520 }", kError, 1, 29, "disk[0].sector_size", "sectors of 520"},
    Case{"disk { kind: NVME size: 512 activity { from: 5 }\nactivity { from: 4 } }", kError, 2, 12, "disk[0].activity[1].from",
         "one after the other"},
    Case{"disk { kind: NVME size: 512 activity { reads_per_second: -1 } }", kError, 1, 29, "disk[0].activity[0].from", "negative"},
    Case{"wmi_class { name: \"X\" row { property { name: \"P\" } } }", kError, 1, 40, "wmi_class[0].row[0].property[0].name",
         "no value"},
    Case{"wmi_class { name: \"X\" row {\n property { name: \"P\" variant { type: 8 } } } }", kError, 2, 33,
         "wmi_class[0].row[0].property[0].variant.type", "holds a pointer"},
    Case{"wmi_class { name: \"X\" error: 2 }", kError, 1, 23, "wmi_class[0].error", "no failure"},
    Case{"wmi_class { name: \"X\" }\nwmi_class { name: \"x\" }", kError, 2, 13, "wmi_class[1].name", "described already"},
    Case{"smbios { version: \"three\" }", kError, 1, 10, "smbios.version", "no version"},

    Case{"disk { size: 512 }", kWarning, 1, 1, "disk[0].kind", "no kind"},
    Case{"disk { kind: NVME size: 513 }", kWarning, 1, 19, "disk[0].size", "not a multiple"},
    Case{"disk { kind: SATA_HDD size: 512\n nvme {} }", kWarning, 2, 2, "disk[0].nvme", "SATA_HDD has no NVMe controller"},
    Case{"disk { kind: NVME size: 512 serial: \"123456789012345678901\" }", kWarning, 1, 29, "disk[0].serial", "only 20 fit"},
    Case{"disk { kind: NVME size: 512 nvme {\n identify { offset: 4095 hex: \"0102\" } } }", kWarning, 2, 2,
         "disk[0].nvme.identify[0]", "byte 4097 of a page of 4096"},
    Case{"disk { kind: NVME size: 512 nvme {\n log_page { identifier: 3 content { raw: \"123\" } } } }", kWarning, 2, 2,
         "disk[0].nvme.log_page[0]", "log page of 3 bytes"},
    Case{"disk { kind: NVME size: 4194304 mbr {\n partition { size: 4194304 } } }", kWarning, 2, 14,
         "disk[0].mbr.partition[0].size", "past the disk's"},
    Case{"disk { kind: NVME size: 9437184 mbr { partition { size: 2097152 }\n partition { offset: 2097152 size: 512 } } }",
         kWarning, 2, 14, "disk[0].mbr.partition[1].offset", "overlaps partition 1"},
    Case{"disk { kind: NVME size: 9437184 gpt {\n partition { size: 512 } } }", kWarning, 2, 2, "disk[0].gpt.partition[0].id",
         "without an identifier"},
    Case{"disk { kind: NVME size: 512 arrives_at: 2\n leaves_at: 1 }", kWarning, 2, 2, "disk[0].leaves_at", "before it arrives"},
};

TEST(MachineFile, FindingsNamePlaceFieldAndWayOut)
{
    for (const Case& expected : kCases) {
        SCOPED_TRACE(expected.text);
        const std::vector<Finding> findings = ValidateMachine(expected.text, "m.txtpb");
        ASSERT_EQ(findings.size(), 1U) << findings.back().Text();
        const Finding& finding = findings.front();
        EXPECT_EQ(finding.severity, expected.severity);
        EXPECT_EQ(finding.file, "m.txtpb");
        EXPECT_EQ(std::pair(finding.line, finding.column), std::pair(expected.line, expected.column)) << finding.Text();
        EXPECT_EQ(finding.field, expected.field);
        EXPECT_NE(finding.message.find(expected.message), std::string::npos) << finding.message;
        EXPECT_FALSE(finding.hint.empty());
        if (expected.severity == kWarning) {
            EXPECT_NO_THROW(static_cast<void>(ParseMachine(expected.text)));
            continue;
        }
        try {
            static_cast<void>(ParseMachine(expected.text, "m.txtpb"));
            ADD_FAILURE() << "a machine was made";
        } catch (const MachineFileError& error) {
            EXPECT_EQ(error.what(), finding.Text());
            EXPECT_EQ(std::tuple(error.What().file, error.What().line, error.What().column, error.What().field),
                      std::tuple(finding.file, finding.line, finding.column, finding.field));
        }
    }
}

TEST(MachineFile, TheTextOfAFindingIsOneLineThatEditorsUnderstand)
{
    const auto findings = ValidateMachine("\n  code_page: 1", "machines/x.txtpb");
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0].Text(),
              "machines/x.txtpb:2:3: error: code_page: unknown code page 1; use 65001, 1252, 437, 28591 or 20127");
    EXPECT_EQ(
        ValidateMachineFile("no-such-file.txtpb").at(0).Text(),
        "no-such-file.txtpb: error: the machine file cannot be read: No such file or directory; name a readable *.txtpb file");
}

TEST(MachineFile, OrdinaryExamplesHaveNoFindingsAndTheHostileOneNoErrors)
{
    for (const char* machine : {"empty", "laptop-arm64", "office-pc", "raid-server", "workstation"}) {
        const auto findings = ValidateMachineFile("machines/" + std::string(machine) + ".txtpb");
        EXPECT_TRUE(findings.empty()) << findings.front().Text();
    }
    for (const Finding& finding : ValidateMachineFile("machines/hostile.txtpb")) {
        EXPECT_EQ(finding.severity, kWarning) << finding.Text();
    }
}

TEST(MachineFile, TheSummaryShowsDisksPartitionsAndVolumes)
{
    const std::string shown = ShowMachineFile("machines/workstation.txtpb");
    for (const char* part : {"Workstation with six disks\n", "disk 2: NVMe behind RAID, 1.8 TiB, VEYRA PX8 2TB\n",
                             "  C: System NTFS, boot, page file\n", "MBR 4D2F91A6, partitions: 2\n", "SMART attributes: 20\n",
                             "log page D1h, 512 bytes\n"}) {
        EXPECT_NE(shown.find(part), std::string::npos) << part << "\n" << shown;
    }
    EXPECT_EQ(ShowMachine(R"(title: "\033[31mred" disk { kind: SCM size: 512 model: "\302\203\377" })").find('\033'),
              std::string::npos);
}

TEST(MachineFile, HostsInOtherLanguagesPutAMachineInForceByItsFile)
{
    std::array<char, 24> error{};
    EXPECT_EQ(OrbisSimulatedUseMachineFile("no-such-\xC3\xA9-file.txtpb", error.data(), error.size()), 1);
    EXPECT_STREQ(error.data(), "no-such-\xC3\xA9-file.txtpb: ");
    EXPECT_EQ(OrbisSimulatedUseMachineFile("no-such-\xC3\xA9-file.txtpb", error.data(), 10), 1);
    EXPECT_STREQ(error.data(), "no-such-") << "half a character is none";
    EXPECT_EQ(OrbisSimulatedUseMachineFile("no-such-file", nullptr, 0), 1);
    EXPECT_EQ(&platform::Platform::Current(), &platform::Platform::System());

    EXPECT_EQ(OrbisSimulatedUseMachineFile("machines/empty.txtpb", error.data(), error.size()), 0);
    EXPECT_NE(&platform::Platform::Current(), &platform::Platform::System());
    EXPECT_EQ(OrbisSimulatedUseMachineFile(nullptr, nullptr, 0), 0);
    EXPECT_EQ(&platform::Platform::Current(), &platform::Platform::System());
}

}  // namespace
}  // namespace orbis::simulated
