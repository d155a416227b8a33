#include <gtest/gtest.h>

#include <vector>

#include "Collections.h"
#include "StorageHelper.h"
#include "insight/Findings.h"
#include "simulated/MachineFile.h"

namespace orbis::insight {
namespace {

using proof::Datatype;

// A plug-in on a machine that is observed.
class Observed {
public:
    explicit Observed(const std::string& machine) : m_Plugin(simulated::ParseMachine(machine)), m_Journal(m_Plugin.Faults())
    {
        platform::Platform::Replace(&m_Journal);
        m_Plugin.Construct();
    }

    ~Observed() { EXPECT_EQ(m_Plugin.Finish(), proof::PluginOnMachine::kNothingOpen); }
    Observed(const Observed&) = delete;
    Observed& operator=(const Observed&) = delete;

    // Collects and gives "kind subject" of each new finding.
    std::vector<std::string> Collect(const std::vector<Datatype>& datatypes = {proof::kDatatypes.begin(), proof::kDatatypes.end()})
    {
        for (const Datatype datatype : datatypes) {
            static_cast<void>(m_Plugin.CollectNext(datatype));
            m_Findings.Read(m_Journal.Take());
        }
        std::vector<std::string> found;
        for (const Finding& finding : m_Findings.EndPass()) {
            EXPECT_FALSE(finding.text.empty());
            EXPECT_FALSE(finding.remedy.empty()) << finding.text;
            found.push_back(finding.kind + " " + finding.subject);
        }
        return found;
    }

    simulated::FaultingPlatform& Faults() { return m_Plugin.Faults(); }

private:
    proof::PluginOnMachine m_Plugin;
    Journal m_Journal;
    Findings m_Findings;
};

std::string Ssd(const std::string& more)
{
    return "disk { number: 0 kind: SATA_SSD model: \"M\" size: 1000204886016 " + more + " }\n";
}
std::string Nvme(const std::string& more) { return "disk { number: 0 size: 1000204886016 " + more + " }\n"; }

struct Case {
    const char* name;
    std::string machine;
    std::vector<std::string> found;
};

const std::vector<Case>& Cases()
{
    static const std::string kRefusal = "exchange { nvme_log_page: 2 error: 1 }";
    static const std::vector<Case> kCases{
        {"laptop", proof::MachineText("laptop-arm64"), {}},
        {"hostile",
         proof::MachineText("hostile"),
         {"access-denied DISK10", "access-denied DISK3",
          "access-denied \\\\?\\scsi#disk&ven_nvme&prod_closed#5&1a2b3c0a&0&000000#{53f56307-b6bf-11d0-94f2-00a0c91efb8b}",
          "counters-without-instance  1 blank first:", "counters-without-instance : first", "counters-without-instance no number:",
          "disk-walk-ended ", "drive-number-above-31 DISK40", "instance-id-unreadable DISK7", "inventory-record-unreadable ",
          "inventory-record-unreadable DISK3", "nvme-query-failed DISK3"}},
        {"optical", proof::MachineText("office-pc"), {"letter-ended-collection D:"}},
        {"raid server", proof::MachineText("raid-server"), {"item-id-shared ", "nvme-query-refused DISK0"}},
        {"card reader", Ssd("no_medium: true"), {"disk-ended-collection DISK0"}},
        {"left out", Ssd("open_error: 21"), {"disk-walk-ended ", "drive-without-medium DISK0"}},
        {"renamed", Ssd("counter_change { at: 1 name: '0 X:' }") + "sample_step_ms: 1000", {"counters-without-instance 0"}},
        {"32", Ssd("") + "disk { number: 32 kind: NVME model: \"N\" size: 1000204886016 }", {"drive-number-above-31 DISK32"}},
        {"above 31", Ssd("") + "disk { number: 40 kind: SATA_SSD model: \"N\" size: 1000204886016 }", {}},
        {"letter", Ssd("") + "volume { letter: \"Z\" drive_type: 4 }", {"letter-ended-collection Z:"}},
        {"geometry", Ssd("exchange { control_code: 0x70000 error: 1117 }"), {"disk-ended-collection DISK0"}},
        {"activity",
         Ssd("gpt { disk_id: \"11111111-0000-0000-0000-000000000001\" partition { size: 1073741824 "
             "id: \"11111111-0000-0000-0000-0000000000c0\" "
             "volume { letter: \"C\" exchange { control_code: 0x70020 error: 1 } } } }"),
         {"letter-without-activity C:"}},
        {"nvme", Nvme("kind: NVME " + kRefusal), {"nvme-query-refused DISK0"}},
        {"ata behind raid", Ssd("bus_type: 8"), {}},
        {"thresholds", Ssd("exchange { ata_command: 0xB0 ata_features: 0xD1 error: 1117 }"), {"smart-thresholds-refused DISK0"}},
    };
    return kCases;
}

TEST(FindingsTest, WhatTheCollectorsDoNotReportIsFound)
{
    for (const Case& one : Cases()) {
        SCOPED_TRACE(one.name);
        EXPECT_EQ(Observed(one.machine).Collect(), one.found);
    }
}

TEST(FindingsTest, FindingIsGivenOnceAndAgainWhenItWentAndCameBack)
{
    const std::string error = "exchange { control_code: 0x70000 error: 1117 uses: 2 } ";
    Observed machine(Ssd(error + "exchange { control_code: 0x70000 usual: true uses: 1 } " + error));
    const std::vector<Datatype> only{Datatype::Static};
    const std::vector<std::string> found{"disk-ended-collection DISK0"};
    EXPECT_EQ(machine.Collect(only), found);
    EXPECT_EQ(machine.Collect(only), std::vector<std::string>{});
    EXPECT_EQ(machine.Collect({Datatype::Identify}), std::vector<std::string>{}) << "not asked: it still holds";
    EXPECT_EQ(machine.Collect(only), std::vector<std::string>{}) << "it went";
    EXPECT_EQ(machine.Collect(only), found);
}

// A library that does not use the ports leaves a collection that reads only the inventory.
TEST(FindingsTest, ForeignDeviceQueryLibraryIsNoticed)
{
    const auto machine = simulated::ParseMachine(Nvme("kind: NVME model: \"M\""));
    Journal journal(*machine);
    platform::Platform::Replace(&journal);
    EXPECT_EQ(Veyra::Orbis::Plugins::StorageHelper::getDeviceInfo().size(), 1U);
    platform::Platform::Replace(nullptr);
    Findings findings;
    findings.Read(journal.Take());
    const std::vector<Finding> found = findings.EndPass();
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].kind, "foreign-device-query-library");
}

}  // namespace
}  // namespace orbis::insight
