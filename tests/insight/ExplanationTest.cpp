#include <google/protobuf/descriptor.h>
#include <gtest/gtest.h>
#include <array>
#include <map>
#include <set>

#include "Collections.h"
#include "insight/Explanation.h"
#include "insight/Journal.h"
#include "orbis/datatypes/nvme_health.pb.h"
#include "orbis/datatypes/nvme_identify.pb.h"
#include "orbis/datatypes/physical_disk.pb.h"
#include "orbis/datatypes/smart.pb.h"
#include "simulated/MachineFile.h"

namespace orbis::insight {
namespace {

namespace datatypes = veyra::orbis::datatypes;
using google::protobuf::Descriptor;
using google::protobuf::FieldDescriptor;

void AddFields(const Descriptor& message, std::set<std::string>& names)
{
    for (int at = 0; at < message.field_count(); ++at) {
        const FieldDescriptor& field = *message.field(at);
        if (!names.insert(message.name() + "." + field.name()).second) {
            return;
        }
        if (field.type() == FieldDescriptor::TYPE_MESSAGE && field.message_type()->file()->package() == message.file()->package()) {
            AddFields(*field.message_type(), names);
        }
    }
}

// A field without a row would be shown without a source, and a row without a field explains nothing.
TEST(Sources, EveryFieldHasOneRowAndEveryRowAField)
{
    std::set<std::string> fields;
    for (const Descriptor* message :
         {datatypes::PhysicalDiskStaticInfo::descriptor(), datatypes::PhysicalDiskDynamicInfo::descriptor(),
          datatypes::SmartStaticInfo::descriptor(), datatypes::SmartDynamicInfo::descriptor(),
          datatypes::SmartNvmeInfo::descriptor(), datatypes::NvmeIdentifyControllerData::descriptor()}) {
        AddFields(*message, fields);
    }
    std::set<std::string> rows;
    for (const FieldSource& row : Sources().field()) {
        EXPECT_TRUE(rows.insert(row.name()).second) << row.name() << " has two rows";
        EXPECT_GT(row.from_size(), 0) << row.name();
    }
    EXPECT_EQ(rows, fields);
}

constexpr std::array kDatatypes{"PhysicalDiskStaticInfo", "PhysicalDiskDynamicInfo", "SmartStaticInfo",
                                "SmartDynamicInfo",       "SmartNvmeInfo",           "NvmeIdentifyControllerData"};

// Explains every message that the collections send on a machine, and every one that they do not.
std::vector<MessageExplanation> ExplainMachine(const std::string& text)
{
    const std::shared_ptr<simulated::Machine> machine = simulated::ParseMachine(text);
    Journal journal(*machine);
    platform::Platform::Replace(&journal);
    std::vector<proof::Outcome> outcomes;
    {
        Veyra::Orbis::Plugins::StorageCollectorPlugin plugin(nullptr);
        machine->AdvanceClock(std::chrono::seconds(1));
        for (const proof::Datatype datatype : proof::kDatatypes) {
            outcomes.push_back(proof::Collect(plugin, datatype));
        }
    }
    platform::Platform::Replace(nullptr);
    const Extract extract = journal.Take();
    EXPECT_EQ(extract.lost, 0U);
    const Explainer explainer(extract.records);
    std::vector<MessageExplanation> explanations;
    for (std::size_t at = 0; at < outcomes.size(); ++at) {
        std::set<std::string> sent;
        for (const auto& item : outcomes[at].items) {
            if (item.message != nullptr) {
                sent.insert(item.id);
                explanations.push_back(explainer.Explain(*item.message, item.id));
            }
        }
        for (MessageExplanation& unsent : explainer.ExplainUnsent(kDatatypes[at], sent)) {
            explanations.push_back(std::move(unsent));
        }
    }
    return explanations;
}

std::string Show(const FieldExplanation& field)
{
    return field.field() + " " + FieldExplanation::State_Name(field.state()) + " '" + field.value() + "' from " + field.source() +
           ": " + field.raw() + "; " + field.rule() + "; " + field.reason();
}

const FieldExplanation* Find(const std::vector<MessageExplanation>& all, const std::string& datatype, std::uint32_t disk,
                             const std::string& name)
{
    for (const MessageExplanation& message : all) {
        if (message.datatype() == datatype && message.has_disk() && message.disk() == disk) {
            for (const FieldExplanation& field : message.field()) {
                if (field.field() == name) {
                    return &field;
                }
            }
        }
    }
    return nullptr;
}

TEST(Explanation, NoFieldIsWithoutOne)
{
    std::map<std::string, std::string> machines{
        {"without rights",
         "disk { number: 0 kind: NVME model: 'A' open_error: 5 } disk { number: 1 kind: SATA_HDD model: 'B' open_error: 5 }"}};
    for (const std::string& name : proof::ExampleMachines()) {
        machines[name] = proof::MachineText(name);
    }
    for (const auto& [machine, text] : machines) {
        for (const MessageExplanation& message : ExplainMachine(text)) {
            EXPECT_NE(message.field().empty(), message.reason().empty()) << machine << " " << message.ShortDebugString();
            for (const FieldExplanation& field : message.field()) {
                EXPECT_FALSE(field.source().empty()) << machine << " " << message.name() << ": " << Show(field);
                if (field.state() == FieldExplanation::SET) {
                    const bool isDerived = field.source().find_first_of(" .") == std::string::npos;  // a constant, or another field
                    EXPECT_TRUE(!field.raw().empty() || isDerived || !field.reason().empty())
                        << machine << " " << message.name() << ": " << Show(field);
                } else {
                    EXPECT_FALSE(field.reason().empty()) << machine << " " << message.name() << ": " << Show(field);
                }
            }
        }
    }
}

TEST(Explanation, ShowsBytesRulesAndReasons)
{
    const auto all = ExplainMachine(proof::MachineText("workstation"));
    const auto expect = [&](const char* datatype, std::uint32_t disk, const char* name, const char* shown) {
        const FieldExplanation* field = Find(all, datatype, disk, name);
        ASSERT_NE(field, nullptr) << name;
        EXPECT_EQ(Show(*field), shown);
    };
    expect("SmartNvmeInfo", 1, "healthInfo.unsafeShutdowns",
           "healthInfo.unsafeShutdowns EMPTY '' from NVMe log 02h bytes 144-159: 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 = "
           "0; first byte 0 is sent as empty; the first byte is 0");
    expect("SmartNvmeInfo", 1, "customizedHealthInfo",
           "customizedHealthInfo ABSENT '' from the maker's health log: ; ; Identify bytes 3072-4095 are not in the maker's "
           "layout: the log is not asked for");
    expect("PhysicalDiskStaticInfo", 0, "partitions[2].serialNumber",
           "partitions[2].serialNumber SET '2E9B71D4' from Win32_LogicalDisk.VolumeSerialNumber: \"2E9B71D4\"; ; ");
    expect("PhysicalDiskStaticInfo", 0, "partitions[0].serialNumber",
           "partitions[0].serialNumber ABSENT '' from Win32_LogicalDisk.VolumeSerialNumber: ; ; the partition has no drive letter");
    expect("PhysicalDiskStaticInfo", 0, "size",
           "size SET '953867' from IOCTL_DISK_GET_DRIVE_GEOMETRY bytes 0-7 (Cylinders) and IOCTL_DISK_GET_DRIVE_GEOMETRY bytes "
           "12-23 (TracksPerCylinder, SectorsPerTrack, BytesPerSector): 01 DB 01 00 00 00 00 00 = 121601; FF 00 00 00 3F 00 00 00 "
           "00 02 00 00; in units of 2^20 bytes, rounded down; ");
    expect("PhysicalDiskDynamicInfo", 0, "idleTimePercentage",
           "idleTimePercentage SET '74' from counter \"% Idle Time\": 73.99999999999999; ; ");
    expect("PhysicalDiskDynamicInfo", 1, "writeTimePercentage",
           "writeTimePercentage SET '100' from counter \"% Disk Write Time\": 179.99999999999997; capped at 100; ");
    expect("PhysicalDiskStaticInfo", 0, "makeModel",
           "makeModel SET 'VEYRA PX8 1TB' from Win32_DiskDrive.Model: \"VEYRA PX8 1TB\"; ; ");
    expect("PhysicalDiskStaticInfo", 0, "OEMType208SystemID",
           "OEMType208SystemID SET '0B9E' from SMBIOS type 11 string 2: \"1[0B9E]\"; without \"1[\" and \"]\"; ");
    expect("PhysicalDiskStaticInfo", 0, "partitions[0].isBootVolume",
           "partitions[0].isBootVolume SET 'false' from Win32_Volume.BootVolume: ; ; the partition has no drive letter");
    expect("SmartDynamicInfo", 5, "temperature.normal",
           "temperature.normal ABSENT '' from SMART READ DATA attribute 194 byte 3: 24 = 36; ; of attribute 194 the raw value "
           "alone is "
           "sent");
    expect(
        "SmartNvmeInfo", 0, "healthInfo.temperatureSensor3",
        "healthInfo.temperatureSensor3 SET '0' from NVMe log 02h bytes 204-205: 00 00 = 0; 0 Kelvin: the drive does not report it, "
        "and it is sent as 0; ");
    expect("SmartDynamicInfo", 5, "currentPendingSectorCount.rawValue",
           "currentPendingSectorCount.rawValue SET '0' from SMART READ DATA attribute 197 bytes 5-10: 00 00 00 00 00 00 = 0; ; ");
    expect("SmartDynamicInfo", 0, "currentPendingSectorCount",
           "currentPendingSectorCount ABSENT '' from SMART READ DATA attribute 197 and SMART READ THRESHOLDS attribute 197: ; ; "
           "SMART READ DATA was refused: the driver does not know the request (error 1)");
    expect("NvmeIdentifyControllerData", 0, "version.major",
           "version.major SET '1' from NVMe Identify Controller bytes 80-83 bits 31-16 (VER): 00 04 01 00, the bits are 1; ; ");
    expect("NvmeIdentifyControllerData", 0, "powerStateDesc[1].entryLatency",
           "powerStateDesc[1].entryLatency SET '5' from NVMe Identify Controller bytes 2084-2087 (ENLAT): 05 00 00 00 = 5; ; ");
}

}  // namespace
}  // namespace orbis::insight
