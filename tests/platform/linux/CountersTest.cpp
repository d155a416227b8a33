// The PhysicalDisk counters, from what the kernel counted between two samples, and SMBIOS as Windows hands it out.
#include <gtest/gtest.h>

#include <fmt/format.h>

#include <map>
#include <string>
#include <vector>

#include "CapturedMachine.h"
#include "PortHelpers.h"
#include "platform/Text.h"

namespace orbis::tests {
namespace {

using namespace platform;

const std::vector<const char*> kCounters{"% Idle Time",          "% Disk Read Time",   "% Disk Write Time",  "Disk Read Bytes/sec",
                                         "Disk Write Bytes/sec", "Avg. Disk sec/Read", "Avg. Disk sec/Write"};

class LinuxCounters : public testing::Test {
protected:
    LinuxCounters()
    {
        tree.Add(
            "sys/devices/pci0/ata1/host0/0:0:0:0/block/sda/sda1 | <- sys/class/block/sda1 | <- sys/dev/block/8:1 | partition = 1\n"
            "proc/self/mountinfo = 1 0 8:1 / / rw - ext4 /dev/sda1 rw\\x0a\n");
        SetStats({100, 0, 2000, 500, 50, 0, 1000, 300, 1, 600}, {0, 0, 0, 0, 0, 0, 0, 0, 0, 0});
        EXPECT_EQ(pdh.OpenQuery(nullptr, 0, &query), pdh::kOk);
    }
    ~LinuxCounters() override { pdh.CloseQuery(query); }

    void SetStats(const std::vector<std::uint64_t>& sda, const std::vector<std::uint64_t>& sdb)
    {
        tree.Write("proc/diskstats", fmt::format("8 0 sda {}\n8 1 sda1 1 1 1 1 1 1 1 1 1 1\n8 16 sdb {}\n", fmt::join(sda, " "),
                                                 fmt::join(sdb, " ")));
    }

    std::map<std::string, PdhCounterObject*> Add(const std::string& instance)
    {
        std::map<std::string, PdhCounterObject*> counters;
        for (const char* name : kCounters) {
            const std::u16string path = Utf8ToUtf16(fmt::format("\\PhysicalDisk({})\\{}", instance, name));
            EXPECT_EQ(pdh.AddEnglishCounter(query, path.c_str(), 0, &counters[name]), pdh::kOk);
        }
        return counters;
    }

    void SampleAfter(std::chrono::milliseconds time)
    {
        drives.now += time;
        EXPECT_EQ(pdh.CollectQueryData(query), pdh::kOk);
    }

    std::vector<double> Values(const std::map<std::string, PdhCounterObject*>& counters, std::uint32_t format = pdh::kFormatDouble)
    {
        std::vector<double> values;
        for (const char* name : kCounters) {
            PdhCounterValue value;
            EXPECT_EQ(pdh.FormattedValue(counters.at(name), format, &value), pdh::kOk) << name;
            values.push_back(value.value);
        }
        return values;
    }

    PdhStatus StatusOf(PdhCounterObject* counter)
    {
        PdhCounterValue value;
        EXPECT_EQ(pdh.FormattedValue(counter, pdh::kFormatDouble, &value), pdh::kNotValidYet);
        return value.status;
    }

    PlayedDrives drives;
    CapturedTree tree{ScsiDiskLines("sda", "pci0/ata1/host0/0:0:0:0", "ONE", "S1", 1 << 30) +
                      ScsiDiskLines("sdb", "pci0/ata2/host1/1:0:0:0", "TWO", "S2", 1 << 30)};
    linux_system::Platform machine{tree.Roots(), drives.Calls()};
    Pdh& pdh = machine.PdhPort();
    PdhQueryObject* query = nullptr;
};

void ExpectNear(const std::vector<double>& values, const std::vector<double>& expected)
{
    ASSERT_EQ(values.size(), expected.size());
    for (std::size_t i = 0; i < values.size(); ++i) {
        EXPECT_NEAR(values[i], expected[i], 1e-9) << kCounters[i];
    }
}

}  // namespace

TEST_F(LinuxCounters, InstancesAreNumbersAndLetters)
{
    std::u16string names(100, u'#');
    std::uint32_t characters = 100;
    ASSERT_EQ(pdh.EnumInstances(u"physicaldisk", names.data(), &characters), pdh::kOk);
    EXPECT_EQ(names.substr(0, characters), std::u16string(u"0 C:\0"
                                                          u"1\0"
                                                          u"_Total\0",
                                                          15));
    const WmiResult rows =
        Query(machine.WmiPort(), u"root\\cimv2", u"SELECT * FROM Win32_PerfFormattedData_PerfDisk_PhysicalDisk", {u"Name"});
    ASSERT_EQ(rows.rows.size(), 3U);
    EXPECT_EQ(rows.rows[0][0].text, u"0 C:");
}

TEST_F(LinuxCounters, ValuesAreWhatMovedOverTheInterval)
{
    const auto disk = Add("0 c:");
    const auto total = Add("_total");
    SampleAfter(std::chrono::seconds(1));
    EXPECT_EQ(StatusOf(disk.at("% Idle Time")), pdh::kInvalidData) << "one sample is no interval";
    // sda: 10 reads of 4096 sectors in 400 ms, 4 writes of 1024 sectors in 6000 ms (queued), busy 1500 of 2000 ms.
    SetStats({110, 0, 6096, 900, 54, 0, 2024, 6300, 0, 2100}, {0, 0, 0, 0, 0, 0, 0, 0, 0, 0});
    SampleAfter(std::chrono::seconds(2));
    ExpectNear(Values(disk), {25, 20, 100, 4096 * 512 / 2.0, 1024 * 512 / 2.0, 0.04, 1.5});
    EXPECT_NEAR(Values(disk, pdh::kFormatDouble | pdh::kFormatNoCap100)[2], 300, 1e-9);
    ExpectNear(Values(total), {62.5, 10, 100, 4096 * 512 / 2.0, 1024 * 512 / 2.0, 0.04, 1.5});
    // Nothing moves.
    SampleAfter(std::chrono::milliseconds(500));
    ExpectNear(Values(disk), {100, 0, 0, 0, 0, 0, 0});
    // Busy for longer than the interval: the kernel rounds.
    SetStats({110, 0, 6096, 900, 54, 0, 2024, 6300, 0, 2700}, {0, 0, 0, 0, 0, 0, 0, 0, 0, 0});
    SampleAfter(std::chrono::milliseconds(500));
    EXPECT_EQ(Values(disk)[0], 0);
}

TEST_F(LinuxCounters, TimesWrapAndReplacedDisksAreInvalid)
{
    SetStats({100, 0, 2000, 4294967290, 50, 0, 1000, 300, 0, 4294967000}, {5, 0, 5, 5, 5, 0, 5, 5, 5, 5});
    const auto disk = Add("0 C:");
    const auto other = Add("1");
    SampleAfter(std::chrono::seconds(1));
    SetStats({102, 0, 2000, 94, 50, 0, 1000, 300, 0, 204}, {1, 0, 1, 1, 1, 0, 1, 1, 1, 1});
    SampleAfter(std::chrono::seconds(1));
    ExpectNear(Values(disk), {50, 10, 0, 0, 0, 0.05, 0});
    EXPECT_EQ(StatusOf(other.at("% Idle Time")), pdh::kInvalidData) << "it counts less than before";
}

TEST_F(LinuxCounters, CountersFollowTheNameOfTheirInstance)
{
    const auto disk = Add("0 C:");
    const auto leaving = Add("1");
    const auto renamed = Add("0");
    SampleAfter(std::chrono::seconds(1));
    EXPECT_EQ(StatusOf(renamed.at("% Idle Time")), pdh::kNoInstance) << "it may appear later";
    tree.Remove("sys/block/sdb");
    tree.Write("proc/self/mountinfo", "");
    SampleAfter(std::chrono::seconds(1));
    EXPECT_EQ(StatusOf(leaving.at("% Idle Time")), pdh::kNoInstance);
    EXPECT_EQ(StatusOf(disk.at("% Idle Time")), pdh::kNoInstance) << "the instance is called otherwise now";
    EXPECT_EQ(StatusOf(renamed.at("% Idle Time")), pdh::kInvalidData);
    // A counter that joins late needs two samples of its own.
    const auto late = Add("0");
    EXPECT_EQ(StatusOf(late.at("% Idle Time")), pdh::kInvalidData);
    SampleAfter(std::chrono::seconds(1));
    EXPECT_NEAR(Values(renamed)[0], 100, 1e-9);
    EXPECT_EQ(StatusOf(late.at("% Idle Time")), pdh::kInvalidData);
    SampleAfter(std::chrono::seconds(1));
    EXPECT_NEAR(Values(late)[0], 100, 1e-9);
}

// Before Linux 6.4 the paths of a multipath namespace count, and the namespace does not.
TEST(LinuxMultipath, APathsActivityIsItsNamespaces)
{
    CapturedTree tree = CapturedTree::Named("every-transport.tree");
    PlayedDrives drives;
    linux_system::Platform machine(tree.Roots(), drives.Calls());
    Pdh& pdh = machine.PdhPort();
    PdhQueryObject* query = nullptr;
    PdhCounterObject* counter = nullptr;
    ASSERT_EQ(pdh.OpenQuery(nullptr, 0, &query), pdh::kOk);
    ASSERT_EQ(pdh.AddEnglishCounter(query, u"\\PhysicalDisk(2)\\Disk Read Bytes/sec", 0, &counter), pdh::kOk);
    const auto sample = [&](int sectors) {
        drives.now += std::chrono::seconds(1);
        // The second namespace, its two paths, and a path of another subsystem and of another namespace.
        tree.Write("proc/diskstats", fmt::format("259 2 nvme1n2 0 0 0 0 0 0 0 0 0 0\n259 3 nvme1c0n2 1 0 {0} 0 0 0 0 0 0 0\n"
                                                 "259 4 nvme1c1n2 1 0 {0} 0 0 0 0 0 0 0\n259 5 nvme11c1n2 1 0 {1} 0 0 0 0 0 0 0\n"
                                                 "259 6 nvme1c1n22 1 0 {1} 0 0 0 0 0 0 0\n",
                                                 sectors, 1000 * sectors));
        EXPECT_EQ(pdh.CollectQueryData(query), pdh::kOk);
    };
    sample(0);
    sample(8);
    PdhCounterValue value;
    EXPECT_EQ(pdh.FormattedValue(counter, pdh::kFormatDouble, &value), pdh::kOk);
    EXPECT_NEAR(value.value, 2 * 8 * 512, 1e-9);
    // Later the namespace counts too, and its paths no longer do.
    for (const auto& [own, path] : {std::pair{20, 99}, std::pair{30, 500}}) {
        drives.now += std::chrono::seconds(1);
        tree.Write("proc/diskstats",
                   fmt::format("259 2 nvme1n2 9 0 {} 0 0 0 0 0 0 0\n259 3 nvme1c0n2 9 0 {} 0 0 0 0 0 0 0\n", own, path));
        EXPECT_EQ(pdh.CollectQueryData(query), pdh::kOk);
    }
    EXPECT_EQ(pdh.FormattedValue(counter, pdh::kFormatDouble, &value), pdh::kOk);
    EXPECT_NEAR(value.value, 10 * 512, 1e-9);
    pdh.CloseQuery(query);
}

TEST(LinuxFirmware, TablesHaveTheHeaderOfRawSmbiosData)
{
    CapturedTree tree = CapturedTree::Named("every-transport.tree");
    linux_system::Platform machine(tree.Roots());
    Firmware& firmware = machine.FirmwarePort();
    const auto read = [&] {
        std::vector<std::uint8_t> bytes(firmware.SystemFirmwareTable(kFirmwareProviderSmbios, 0, nullptr, 0));
        (void)firmware.SystemFirmwareTable(kFirmwareProviderSmbios, 0, bytes.data(), static_cast<std::uint32_t>(bytes.size()));
        return bytes;
    };
    const std::vector<std::uint8_t> table = read();
    const std::size_t length = std::filesystem::file_size(tree.Path("sys/firmware/dmi/tables/DMI"));
    ASSERT_EQ(table.size(), 8 + length);
    EXPECT_EQ((std::vector<std::uint8_t>(table.begin(), table.begin() + 4)), (std::vector<std::uint8_t>{0, 2, 8, 0x28}));
    EXPECT_EQ(table[4] | table[5] << 8, static_cast<int>(length));
    EXPECT_EQ(table[8], 0) << "BIOS information comes first";

    tree.Add(
        "sys/firmware/dmi/tables/smbios_entry_point = "
        "_SM3_\\x00\\x18\\x03\\x02\\x01\\x01\\x00\\x00\\x00\\x00\\x00\\x00\\x00\\x00\\x00\\x00\\x00\\x00\\x00\n");
    const std::vector<std::uint8_t> modern = read();
    EXPECT_EQ((std::vector<std::uint8_t>(modern.begin(), modern.begin() + 4)), (std::vector<std::uint8_t>{0, 3, 2, 1}));
    tree.Add("sys/firmware/dmi/tables/smbios_entry_point = _SM3_\\x00\\x18\n");
    EXPECT_TRUE(read().empty());
    EXPECT_EQ(firmware.LastError(), win32::kInvalidData);
    tree.Remove("sys/firmware");
    EXPECT_TRUE(read().empty());
    EXPECT_EQ(firmware.LastError(), win32::kNotFound);
}

}  // namespace orbis::tests
