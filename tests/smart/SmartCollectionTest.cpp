#include <gmock/gmock.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <sstream>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <google/protobuf/text_format.h>
#include <google/protobuf/util/message_differencer.h>

#include "Common/ResultException.h"
#include "Common/SmartDataFetcher.h"
#include "Common/Utilities.h"
#include "HexFile.h"
#include "HostSdk/Exceptions.h"
#include "RecordingLog.h"
#include "SmartDataGetter.h"
#include "SmartDynamicInfoRetriever.h"
#include "SmartStaticInfoRetriever.h"
#include "simulated/Machine.h"
#include "simulated/MachineFile.h"

// The results of the two SMART collections on a machine.
namespace orbis::tests {
namespace {

using fakes::LogLine;
using fakes::RecordingLog;
using Veyra::Orbis::Cpp::Common::GetLower;
using Veyra::Orbis::Cpp::Common::ResultException;
using Veyra::Orbis::Cpp::Common::SmartAttribute;
using Veyra::Orbis::Cpp::Common::SmartDataCollection;
using veyra::orbis::datatypes::SmartDynamicInfo;
using veyra::orbis::datatypes::SmartStaticInfo;
using Veyra::Orbis::Plugins::SmartDataGetter;
using Veyra::Orbis::Plugins::SmartDynamicInfoRetriever;
using Veyra::Orbis::Plugins::SmartStaticInfoRetriever;
using Veyra::Orbis::Sdk::Common::Identifiers::ItemId;
namespace HostExceptions = Veyra::Orbis::Sdk::Exceptions;

std::string HexOf(const std::string& file) { return fmt::format("{:02X}", fmt::join(ReadHex(file), "")); }

std::string Print(const google::protobuf::Message& message)
{
    google::protobuf::TextFormat::Printer printer;
    printer.SetSingleLineMode(true);
    std::string text;
    printer.PrintToString(message, &text);
    return text;
}

template <class Message>
testing::AssertionResult Is(const Message& message, const std::string& text)
{
    Message expected;
    if (!google::protobuf::TextFormat::ParseFromString(text, &expected)) {
        return testing::AssertionFailure() << "no message: " << text;
    }
    return google::protobuf::util::MessageDifferencer::Equals(message, expected) ? testing::AssertionSuccess()
                                                                                 : testing::AssertionFailure()
                                                                                       << Print(message) << "\ninstead of\n"
                                                                                       << Print(expected);
}

class SmartCollection : public testing::Test {
protected:
    void Use(const std::string& text)
    {
        m_Machine = simulated::ParseMachine(text);
        platform::Platform::Replace(m_Machine.get());
    }
    void TearDown() override
    {
        platform::Platform::Replace(nullptr);
        if (m_Machine != nullptr) {
            EXPECT_EQ(m_Machine->OpenObjects(), simulated::OpenCounts{});
            EXPECT_EQ(m_Machine->Misuses(), std::vector<std::string>{});
        }
    }
    auto CollectStatic(const ItemId& id = ItemId::All()) { return SmartStaticInfoRetriever(m_Log).CollectData(id); }
    auto CollectDynamic(const ItemId& id = ItemId::All()) { return SmartDynamicInfoRetriever(m_Log).CollectData(id); }
    std::vector<LogLine> TakeLines() { return std::exchange(m_Log->lines, {}); }

    std::unique_ptr<simulated::Machine> m_Machine;
    std::shared_ptr<RecordingLog> m_Log = std::make_shared<RecordingLog>();
};

// A real drive, its log lines and messages whole.
TEST_F(SmartCollection, ReportsARealDrive)
{
    Use(R"(start: "2024-05-17T08:30:00Z"
           disk { number: 4 kind: SATA_SSD pnp_device_id: "SCSI\\DISK&VEN_A\\5&1&0&000000" size: 4000787030016 ata {
               identify { hex: ")" +
        HexOf("sata-ssd-4tb-identify.hex") + R"(" } smart_data { hex: ")" + HexOf("sata-ssd-4tb-smart-data.hex") +
        R"(" } smart_thresholds { hex: ")" + HexOf("sata-ssd-4tb-smart-thresholds.hex") + R"(" } } })");
    const std::string site = "Veyra::Orbis::Plugins::";
    const std::string disk =
        R"(PhysicalDriveNumber: 4, DeviceName: \\.\PhysicalDrive4, InterfacePath: \\?\scsi#disk&ven_a#5&1&0&000000#{53f56307-b6bf-11d0-94f2-00a0c91efb8b}, InstancePath: SCSI\DISK&VEN_A\5&1&0&000000, DiIndex: 0, MediaType: 0)";
    const ItemId id(R"(Disk_SCSI\DISK&VEN_A\5&1&0&000000)");

    const auto all = CollectDynamic();
    ASSERT_TRUE(all && all->size() == 1);
    EXPECT_EQ(all->front().ItemId(), id);
    EXPECT_EQ(all->front().Time(), std::chrono::sys_days{std::chrono::year{2024} / 5 / 17} + std::chrono::minutes{510});
    EXPECT_TRUE(Is(*all->front().Value(), R"(name: "SSD"
        realloc_sector_count { raw_value {} normal { value: 100 } worst { value: 100 } threshold { value: 10 } }
        power_on_hour { raw_value { value: 1379 } normal { value: 99 } worst { value: 99 } threshold {} }
        power_cycle_count { raw_value { value: 196 } normal { value: 99 } worst { value: 99 } threshold {} }
        wear_leveling_count { raw_value { value: 4 } normal { value: 99 } worst { value: 99 } threshold {} }
        used_reserved_block_count_total { raw_value {} normal { value: 100 } worst { value: 100 } threshold { value: 10 } }
        program_fail_count_total { raw_value {} normal { value: 100 } worst { value: 100 } threshold { value: 10 } }
        erase_fail_count_total { raw_value {} normal { value: 100 } worst { value: 100 } threshold { value: 10 } }
        ecc_rate { raw_value {} normal { value: 200 } worst { value: 200 } threshold {} }
        CRC_error_count { raw_value {} normal { value: 100 } worst { value: 100 } threshold {} }
        total_blocks_written { raw_value { value: 24021863545 } normal { value: 99 } worst { value: 99 } threshold {} })"));
    const std::string dynamicFile = R"(Plugins\StorageCollector\SmartDynamicInfoRetriever)";
    EXPECT_EQ(TakeLines(), (std::vector<LogLine>{{"Debug", disk, dynamicFile, site + "SmartDataGetter::GetDynamicDiskData"},
                                                 {"Trace", "Got total info for SmartDynamicInfoCollector: 1", dynamicFile,
                                                  site + "SmartDynamicInfoRetriever::CollectData"}}));

    const auto one = CollectStatic(id);
    ASSERT_TRUE(one && one->size() == 1);
    EXPECT_TRUE(Is(*one->front().Value(), R"(name: "SSD" model_name: "Samsung SSD 870 QVO 4TB                 ")"));
    const std::string staticFile = R"(Plugins\StorageCollector\SmartStaticInfoRetriever)";
    const std::string collectStatic = site + "SmartStaticInfoRetriever::CollectData";
    EXPECT_EQ(TakeLines(),
              (std::vector<LogLine>{
                  {"Debug", disk, staticFile, site + "SmartDataGetter::GetStaticDiskData"},
                  {"Trace", "Specific data for SmartStaticInfoRetriever, itemId : " + id.ToString(), staticFile, collectStatic},
                  {"Trace", "Got total info for SmartStaticInfoCollector: 1", staticFile, collectStatic}}));

    // An id that is not there.
    const ItemId other("Disk_other");
    for (const bool isStatic : {true, false}) {
        using HostExceptions::ArgumentOutOfRangeException;
        EXPECT_THAT([&] { (void)(isStatic ? CollectStatic(other).has_value() : CollectDynamic(other).has_value()); },
                    ::testing::Throws<ArgumentOutOfRangeException>(::testing::Property(
                        &ArgumentOutOfRangeException::Message, "cannot find data with specific ID: Disk_other")));
    }
    EXPECT_EQ(TakeLines().back(), (LogLine{"Trace", "Specific data for SmartDynamicInfoRetriever, itemId : Disk_other", dynamicFile,
                                           site + "SmartDynamicInfoRetriever::CollectData"}));
}

TEST_F(SmartCollection, ReportsNoDisksInTwoWays)
{
    Use("");
    const auto empty = CollectStatic();
    EXPECT_TRUE(empty && empty->empty());
    EXPECT_FALSE(CollectDynamic().has_value());
    const auto lines = TakeLines();
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(lines[0].level + lines[0].message, "DebugNo disk data been reached out");
    EXPECT_EQ(lines[1].level + lines[1].message, "DebugNo SMART data been reached out");
}

// Refuses Debug lines, the first of which is that of the first disk.
class UnsupportedLog final : public RecordingLog {
public:
    IZelLog& Debug(std::string_view, std::int32_t, std::string_view, std::string_view) override
    {
        throw HostExceptions::NotSupportedException("no Debug lines");
    }
};

TEST_F(SmartCollection, CatchesNotSupportedInTheDynamicRetrieverAlone)
{
    Use("disk { kind: SATA_HDD }");
    m_Log = std::make_shared<UnsupportedLog>();
    const auto empty = CollectDynamic();
    EXPECT_TRUE(empty && empty->empty());
    EXPECT_EQ(TakeLines(), (std::vector<LogLine>{{"Error", "System.NotSupportedException: no Debug lines",
                                                  "Plugins\\StorageCollector\\SmartDynamicInfoRetriever",
                                                  "Veyra::Orbis::Plugins::SmartDynamicInfoRetriever::CollectData"}}));
    EXPECT_THROW((void)CollectStatic(), HostExceptions::NotSupportedException);
}

TEST_F(SmartCollection, FailsWithTheInventoryAndWithTwoDisksOfOneId)
{
    // Neither disk has a record in the inventory.
    const std::string unknown = R"(row_change { class_name: "Win32_DiskDrive" property { name: "Model" null: true } })";
    Use("disk { number: 0 kind: SATA_HDD " + unknown + " } disk { number: 1 kind: SATA_HDD " + unknown + " }");
    EXPECT_THROW((void)CollectStatic(), HostExceptions::ArgumentException);
    EXPECT_THROW((void)CollectDynamic(), HostExceptions::ArgumentException);
    Use(R"(disk { kind: SATA_HDD } wmi_class { name: "Win32_DiskDrive" error: 0x80041001 })");
    EXPECT_THROW((void)CollectStatic(), ResultException);
    EXPECT_THROW((void)CollectDynamic(), ResultException);
}

// The raw power cycles of each disk, "-" for a disk without.
std::string PowerCycles(const Veyra::Orbis::Common::CollectionList<SmartDynamicInfo>& list)
{
    std::string text;
    for (const auto& item : *list) {
        const auto& count = item.Value()->power_cycle_count();
        text += (item.Value()->has_power_cycle_count() ? std::to_string(count.raw_value().value()) : "-") + " ";
    }
    return text;
}

TEST_F(SmartCollection, GivesEachWmiRowToOneDisk)
{
    // Behind drivers that pass nothing on, so that only WMI knows.
    const auto machine = [](const std::string& second) {
        const std::string blind = "ata_pass_through: false scsi_translation: false";
        return R"(disk { number: 0 kind: SATA_HDD pnp_device_id: "A\\B\\1" ata { attribute { id: 12 raw: 7 } )" + blind + R"( } }
                  disk { number: 1 kind: SATA_HDD pnp_device_id: "A\\B\\2" interface_path: "\\\\?\\second"
                         ata { attribute { id: 12 raw: 8 } )" +
               blind + " } " + second + " }";
    };
    const auto change = [](const std::string& how) {
        return R"(row_change { class_name: "MSStorageDriver_ATAPISmartData" )" + how + " }";
    };
    Use(machine(change(R"(property { name: "InstanceName" text: "a\\b\\2_0" })")));
    EXPECT_EQ(PowerCycles(CollectDynamic()), "7 8 ") << "whatever the case";
    Use(machine(R"(instance_id: "A\\B\\1")"));
    EXPECT_EQ(PowerCycles(CollectDynamic()), "7 - ") << "a row is used up";
    Use(machine(change(R"(property { name: "VendorSpecific" null: true })")));
    EXPECT_EQ(PowerCycles(CollectDynamic()), "7 - ") << "a row that cannot be read is left out";
    Use(machine(change("next_error: 0x80041001")));
    EXPECT_EQ(PowerCycles(CollectDynamic()), "- - ") << "a query that fails half-way gives nothing";
    Use(machine("") + R"(wmi_class { wmi_namespace: "root\\wmi" name: "MSStorageDriver_ATAPISmartData" error: 0x80041010 })");
    EXPECT_EQ(PowerCycles(CollectDynamic()), "- - ") << "nor does a class that is not there";

    std::vector<SmartDataGetter::WmiSmartDiskData> rows{{u"A_0", {1}}, {u"B_0", {2}}};
    EXPECT_EQ(SmartDataGetter::getSmartDataByPath(u"C", rows), std::vector<std::uint8_t>{});
    EXPECT_EQ(SmartDataGetter::getSmartDataByPath(u"", rows), std::vector<std::uint8_t>{1}) << "an empty path takes the first row";
    EXPECT_EQ(rows.size(), 1U);
}

TEST_F(SmartCollection, NamesTheModelByTheDriveAndElseByWmi)
{
    const std::string blind = "ata { ata_pass_through: false scsi_translation: false }";
    const auto model = [this](std::size_t at) {
        const auto list = CollectStatic();
        return list->at(at).Value()->has_model_name() ? list->at(at).Value()->model_name() : "(none)";
    };
    Use(R"(disk { number: 3 kind: SATA_HDD model: "Own Name" windows_model: "Windows' Name" }
           disk { number: 1 kind: SATA_HDD model: "Own Name" windows_model: "Windows' Name" )" +
        blind + R"( }
           disk { number: 2 kind: SATA_HDD windows_model: "unread" )" +
        blind + R"( row_change { class_name: "Win32_DiskDrive" property { name: "Index" get_error: 0x80041001 } } })");
    EXPECT_EQ(model(0), "Own Name" + std::string(32, ' '));
    EXPECT_EQ(model(1), "Windows' Name");
    EXPECT_EQ(model(2), "(none)");

    SmartDataGetter::ModelList models{{1, "one"}, {2, "two"}, {1, "uno"}};
    EXPECT_EQ(SmartDataGetter::getModelNameByIndex(3, models), std::nullopt);
    EXPECT_EQ(SmartDataGetter::getModelNameByIndex(1, models), "one");
    EXPECT_EQ(SmartDataGetter::getModelNameByIndex(1, models), "uno");
    EXPECT_EQ(models.size(), 1U);
}

TEST_F(SmartCollection, DecodesTextsInTheDefaultCodePage)
{
    const std::string disk =
        R"(disk { kind: SATA_HDD model: "Plattengr\xF6\xDFe" ata { log_page { address: 0x9A text: "\0\0 K\xF6 \b" } } })";
    for (const auto& [codePage, model, eppid] :
         {std::tuple{"65001", "Plattengr\uFFFD\uFFFDe", "K\uFFFD "}, {"1252", "Plattengr\u00F6\u00DFe", "K\u00F6 "}}) {
        Use("code_page: " + std::string(codePage) + " " + disk);
        const auto list = CollectStatic();
        const SmartStaticInfo& info = *list->front().Value();
        EXPECT_EQ(info.model_name(), model + std::string(28, ' '));
        EXPECT_EQ(info.eppid(), eppid) << "trimmed: zeros, white space, backspaces, in this order";
        EXPECT_EQ(info.name(), "SMART0");
    }
}

// Which attribute feeds which field.
constexpr const char* kFields =
    "1 raw_read_error_rate  3 spin_up_time  4 start_stop_count  5 realloc_sector_count  7 seek_error_rate  "
    "9 power_on_hour  10 spin_retry_count  11 recalibration_retries  12 power_cycle_count  175 program_fail_count  "
    "176 erase_fail_count  177 wear_leveling_count  178 used_reserved_block_count  "
    "179 used_reserved_block_count_total  180 unused_reserved_block_count  181 program_fail_count_total  "
    "182 erase_fail_count_total  184 uncorrectable_error_count  191 shock_event  192 emergency_retract_count  "
    "193 load_unload_cycle_count  194 temperature  195 ecc_rate  196 reallocation_event_count  "
    "197 current_pending_sector_count  198 uncorrectable_sector_count  199 CRC_error_count  200 write_error_rate  "
    "238 program_erase_cycle_count  240 head_flying_hours  242 total_blocks_read  241 total_blocks_written  "
    "254 free_fall_count  ";

TEST(SmartMapping, FeedsEachFieldFromItsAttribute)
{
    google::protobuf::Arena arena;
    std::istringstream fields(kFields);
    unsigned id = 0;
    std::size_t count = 0;
    for (std::string name; fields >> id >> name; ++count) {
        SmartDataCollection collection;
        collection.name = "SSD";
        *collection.Find(static_cast<std::uint8_t>(id)) = SmartAttribute{0xFFFFFFFFFFFF, 200, 0, 255};
        EXPECT_TRUE(Is(*SmartDataGetter::parseCacheToIMessage<SmartDynamicInfo>(collection, arena),
                       "name: 'SSD' " + name +
                           " { raw_value { value: 0xFFFFFFFFFFFF } normal { value: 200 } worst {} threshold { value: 255 } }"));
    }
    EXPECT_EQ(count, SmartDataCollection{}.attributes.size());
    EXPECT_EQ(SmartDataGetter::toSmartAttributeDetail({}, arena), nullptr);
    EXPECT_TRUE(Is(*SmartDataGetter::toSmartAttributeDetail({{}, {}, {}, 0}, arena), "threshold {}"));
}

TEST(GetLower, IsTheSameUnderEveryLocale)
{
    EXPECT_EQ(GetLower(u"SCSI\\Disk&Ven_[Z]{0}~"), u"scsi\\disk&ven_[z]{0}~");
    EXPECT_EQ(GetLower(u"\u00C0\u00D6\u00D7\u00D8\u00DE\u00DF\u0130\u0131\u0178\u017D\u0391\u03A9\u0401\u042F\u0556\uFF3A"),
              u"\u00E0\u00F6\u00D7\u00F8\u00FE\u00DF\u0069\u0131\u00FF\u017E\u03B1\u03C9\u0451\u044F\u0586\uFF5A");
}

}  // namespace
}  // namespace orbis::tests
