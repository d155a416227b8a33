// The mapping over a scripted device-query library, for behaviour that no drive has.
#include <algorithm>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <google/protobuf/arena.h>

#include "FakeSondix.h"
#include "MachineInForce.h"
#include "NvmeDataGetter.h"
#include "NvmeMapping.h"

namespace Veyra::Orbis::Plugins {
namespace {

using namespace std::string_literals;
using orbis::fakes::FakeSondix;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class NvmeMappingTest : public ::testing::Test {
protected:
    // Maps drive 0 and releases it.
    const datatypes::NvmeIdentifyControllerData& Identify()
    {
        const auto data = NvmeMapping::TakeOwnership(SXNvmNewIdentifyControllerData(0));
        return *NvmeDataGetter::toIdentifyControllerData(data.get(), m_Arena);
    }
    const datatypes::NvmeHealthInfo& Health()
    {
        const auto health = NvmeMapping::TakeOwnership(SXNvmNewHealthInfo(0));
        return *NvmeDataGetter::toNvmeHealthInfo(health.get(), m_Arena);
    }
    const datatypes::NvmeCustomizedHealthInfo& CustomizedHealth()
    {
        const auto health = NvmeMapping::TakeOwnership(SXNvmNewCustomizedHealthInfo(0));
        return *NvmeDataGetter::toCustomizedHealthInfo(health.get(), m_Arena);
    }

    // The accessors of one interface in the order in which they were read.
    [[nodiscard]] std::string Reads(const std::string& interfaceName) const
    {
        std::string reads;
        for (const auto& call : m_Library.calls) {
            if (call.starts_with(interfaceName + "::")) {
                reads += (reads.empty() ? "" : " ") + call.substr(interfaceName.size() + 2);
            }
        }
        return reads;
    }

    void ExpectEverythingReleasedOnce() const
    {
        EXPECT_THAT(m_Library.Live(), IsEmpty());
        EXPECT_THAT(m_Library.faults, IsEmpty());
        EXPECT_EQ(m_Library.Created(), m_Library.Released());
    }

    orbis::fakes::MachineInForce m_Machine{""};  // for its code page, UTF-8
    FakeSondix m_Library;
    orbis::fakes::FakeDrive& m_Drive = m_Library.drives[0];
    google::protobuf::Arena m_Arena;
};

TEST_F(NvmeMappingTest, NothingIsMappedToNothing)
{
    EXPECT_EQ(NvmeDataGetter::toIdentifyControllerData(nullptr, m_Arena), nullptr);
    EXPECT_EQ(NvmeDataGetter::toNvmeHealthInfo(nullptr, m_Arena), nullptr);
    EXPECT_EQ(NvmeDataGetter::toCustomizedHealthInfo(nullptr, m_Arena), nullptr);
}

TEST_F(NvmeMappingTest, ReadsInDocumentedOrder)
{
    m_Drive.numbers["IIdentifyControllerData::NPSS"] = 1;
    static_cast<void>(Identify());
    // RRLS comes before CTRATT; NPSS is read for nothing, and again after each descriptor.
    EXPECT_EQ(
        Reads("IIdentifyControllerData"),
        "VID SSVID SN MN FR RAB IEEE MDTS CNTLID RTD3R RTD3E CNTRLTYPE FGUID CRDT1 CRDT2 CRDT3 ACL AERL ELPE NPSS WCTEMP CCTEMP "
        "MTFA "
        "HMPRE HMMIN TNVMCAP UNVMCAP EDSTT FWUG KAS MNTMT MXTMT HMMINDS HMMAXD NSETIDMAX ENDGIDMAX ANATT ANAGRPMAX NANAGRPID PELS "
        "MAXCMD NN AWUN AWUPF ACWU MNAN SUBNQN CMIC VER OAES RRLS CTRATT OACS FRMW LPA AVSCC APSTA RPMBS DSTO HCTMA SANICAP ANACAP "
        "SQES CQES ONCS FUSES FNA VWC NVSCC NWPC SGLS NPSS PSD(0) NPSS PSD(1) NPSS VendorSpecific");
    EXPECT_EQ(Reads("IVersion"), "Major Minor Tertiary");
    EXPECT_EQ(Reads("IOptionalAdminCommandSupport"),
              "DeviceSelfTest SecuritySendReceive FormatNvm FirmwareCommitAndImageDownload NamespaceManagementAndAttachment "
              "DeviceSelfTest Directives NvmeMiSendReceive VirtualizationManagement DoorbellBufferConfig GetLbaStatus");
    EXPECT_EQ(Reads("ICustomizedControllerData"),
              "EPPID FormFactor SupportsSystemCrashProtection SupportsHostMetadataLog Guid ComponentId DeviceCategory");

    static_cast<void>(Health());
    const std::string counters =
        "DataUnitsRead DataUnitsWritten HostReadCommands HostWriteCommands ControllerBusyTime PowerCycles PowerOnHours "
        "UnsafeShutdowns MediaAndDataIntegrityErrors NumberOfErrorInformationLogEntries ";
    EXPECT_EQ(
        Reads("IHealthInfo"),
        "CompositeTemperature AvailableSpare AvailableSpareThreshold PercentageUsed " + counters +
            "WarningCompositeTemperatureTime CriticalCompositeTemperatureTime TemperatureSensor1 TemperatureSensor2 "
            "TemperatureSensor3 TemperatureSensor4 TemperatureSensor5 TemperatureSensor6 TemperatureSensor7 TemperatureSensor8 "
            "ThermalManagementTemperature1TransitionCount ThermalManagementTemperature2TransitionCount "
            "TotalTimeForThermalManagementTemperature1 TotalTimeForThermalManagementTemperature2 " +
            counters + "CriticalWarning EnduranceGroupCriticalWarningSummary");
    static_cast<void>(CustomizedHealth());
    EXPECT_TRUE(Reads("ICustomizedHealthInfo").ends_with("AbnormalInputVccVoltageCounter TotalDataWrittenByController"));
    ExpectEverythingReleasedOnce();
}

TEST_F(NvmeMappingTest, AMissingObjectLeavesItsSubMessageUnset)
{
    using Names = std::set<std::string>;
    const auto unsetFields = [](const google::protobuf::Message& message) {
        Names unset;
        for (int i = 0; i < message.GetDescriptor()->field_count(); ++i) {
            const auto* field = message.GetDescriptor()->field(i);
            if (field->is_repeated() ? message.GetReflection()->FieldSize(message, field) == 0
                                     : !message.GetReflection()->HasField(message, field)) {
                unset.insert(field->name());
            }
        }
        return unset;
    };
    EXPECT_THAT(unsetFields(Identify()), IsEmpty()) << "every field is set when every object is there";
    // Only objects can be missing; which sub-message each gives, the walking bits tell.
    Names missed;
    for (const std::string& accessor : Names(m_Library.calls.begin(), m_Library.calls.end())) {
        if (accessor.starts_with("IIdentifyControllerData::") && !accessor.ends_with("VendorSpecific")) {
            m_Drive.nulls = {accessor};
            const Names unset = unsetFields(Identify());
            EXPECT_LE(unset.size(), 1U) << accessor;
            missed.insert(unset.begin(), unset.end());
        }
    }
    EXPECT_EQ(missed.size(), 25U) << "24 sub-messages and the power states";
    const Names makers{"customized_controller_data", "device_category"};
    m_Drive.nulls = {"IIdentifyControllerData::VendorSpecific"};
    EXPECT_EQ(unsetFields(Identify()), makers);
    m_Drive.nulls = {"ICustomizedControllerData::DeviceCategory"};
    EXPECT_EQ(unsetFields(Identify()), Names{"device_category"});
    m_Drive.makerLayout = false;
    EXPECT_EQ(unsetFields(Identify()), makers);

    m_Drive.nulls = {"IHealthInfo::CriticalWarning", "IHealthInfo::EnduranceGroupCriticalWarningSummary"};
    EXPECT_EQ(unsetFields(Health()), (Names{"critical_warning", "endurance_group_critical_warning_summary"}));
    ExpectEverythingReleasedOnce();
}

TEST_F(NvmeMappingTest, AsksForOneMorePowerStateThanNpssSays)
{
    const auto states = [this](std::uint64_t npss) {
        m_Drive.numbers["IIdentifyControllerData::NPSS"] = npss;
        std::vector<std::uint32_t> powers;
        for (const auto& state : Identify().power_state_desc()) {
            powers.push_back(state.max_power().value());
        }
        return powers;
    };
    for (int i = 0; i < 256; ++i) {
        m_Drive.numbers["IPowerStateDesc(" + std::to_string(i) + ")::MaxPower"] = 100U + static_cast<unsigned>(i);
        if (i > 31) {
            m_Drive.nulls.insert("IIdentifyControllerData::PSD(" + std::to_string(i) + ")");
        }
    }
    EXPECT_THAT(states(0), ElementsAre(100));
    EXPECT_THAT(states(4), ElementsAre(100, 101, 102, 103, 104));
    m_Drive.nulls.insert("IIdentifyControllerData::PSD(2)");
    EXPECT_THAT(states(4), ElementsAre(100, 101, 103, 104)) << "a descriptor that is missing is skipped";

    m_Library.calls.clear();
    EXPECT_EQ(states(255).size(), 31U) << "the library has 32, one of them missing here";
    EXPECT_EQ(std::count_if(m_Library.calls.begin(), m_Library.calls.end(),
                            [](const std::string& call) { return call.starts_with("IIdentifyControllerData::PSD("); }),
              256)
        << "and is asked for all that the drive claims";
    ExpectEverythingReleasedOnce();
}

TEST_F(NvmeMappingTest, MakerAreaOddities)
{
    auto& bytes = m_Drive.bytes;
    auto& numbers = m_Drive.numbers;
    bytes["ICustomizedControllerData::EPPID"] = "0123456789ABCDEFGHIJKLMNOPQRSTUV";
    bytes["ICustomizedControllerData::Guid"] = "\x01"s + std::string(15, '\0');
    numbers["ICustomizedControllerData::FormFactor"] = 0xFEDCBA98;
    numbers["ICustomizedControllerData::SupportsSystemCrashProtection"] = 1;
    numbers["IDeviceCategory::Class11"] = 0xFFFF;
    const auto& message = Identify();
    const auto& customized = message.customized_controller_data();
    EXPECT_EQ(customized.eppid(), "0123456789ABCDEFGHIJ");
    EXPECT_EQ(customized.guid(), "\x01"s + std::string(15, '\0'));
    EXPECT_EQ(customized.form_factor().value(), 0xFEDCBA98U) << "unlisted form factors pass";
    EXPECT_EQ(customized.support_system_crash_protection().value(), 1U);
    EXPECT_TRUE(customized.has_support_host_metadata_log());
    EXPECT_EQ(customized.support_host_metadata_log().value(), 0U);
    EXPECT_EQ(message.device_category().class11().value(), 0xFFFFU);

    bytes["ICustomizedControllerData::EPPID"] = "  EPPID-OF-20-BYTES-12  ";
    EXPECT_EQ(Identify().customized_controller_data().eppid(), "EPPID-OF-20-BYTES-12") << "trimmed before it is cut";
    bytes["ICustomizedControllerData::EPPID"] = "ÄÄÄÄÄÄÄÄÄÄÄÄÄÄÄÄ";  // 16 characters of two bytes
    EXPECT_EQ(Identify().customized_controller_data().eppid(), "ÄÄÄÄÄÄÄÄÄÄÄÄÄÄÄÄ") << "characters are counted, not bytes";
    bytes["ICustomizedControllerData::Guid"] = "\0guid"s;
    EXPECT_EQ(Identify().customized_controller_data().guid(), "");
    ExpectEverythingReleasedOnce();
}

TEST_F(NvmeMappingTest, CountersAndTemperatures)
{
    auto& bytes = m_Drive.bytes;
    auto& numbers = m_Drive.numbers;
    bytes["IHealthInfo::PowerCycles"] = "\xD2\x04"s;
    bytes["IHealthInfo::PowerOnHours"] = "\0\x01"s;  // 256: its lowest byte is zero
    numbers["IHealthInfo::CompositeTemperature"] = static_cast<std::uint64_t>(-273);
    numbers["IHealthInfo::TemperatureSensor8"] = static_cast<std::uint64_t>(-5);
    const auto& health = Health();
    EXPECT_EQ(health.power_cycles(), "\xD2\x04"s + std::string(14, '\0'));
    EXPECT_EQ(health.power_cycles_approximate().value(), 1234.0);
    EXPECT_TRUE(health.has_power_on_hours());
    EXPECT_EQ(health.power_on_hours(), "");
    EXPECT_EQ(health.power_on_hours_approximate().value(), 0.0);
    EXPECT_EQ(health.composite_temperature().value(), 0);
    EXPECT_EQ(health.temperature_sensor8().value(), -5);

    bytes["ICustomizedHealthInfo::TotalDataWrittenByController"] = std::string(15, '\xFF') + "\x01";
    numbers["ICustomizedHealthInfo::MinimumTemperature"] = static_cast<std::uint64_t>(-273);
    numbers["ICustomizedHealthInfo::MaximumTemperature"] = static_cast<std::uint64_t>(-5);
    const auto& customized = CustomizedHealth();
    EXPECT_EQ(customized.minimum_temperature().value(), 4294967023U);
    EXPECT_EQ(customized.maximum_temperature().value(), 4294967291U);
    EXPECT_EQ(customized.total_data_written_by_controller().size(), 16U);
    EXPECT_EQ(customized.total_data_written_by_controller_approximate().value(), 0x1p121);
}

}  // namespace
}  // namespace Veyra::Orbis::Plugins
