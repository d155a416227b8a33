#include <gtest/gtest.h>

#include <google/protobuf/text_format.h>

#include <optional>
#include <span>

#include "Recorded.h"
#include "insight/Recording.h"
#include "orbis/simulated/machine.pb.h"
#include "platform/Requests.h"
#include "simulated/MachineFile.h"

namespace orbis::insight {
namespace {

class RecordingTest : public testing::TestWithParam<std::string> {};

TEST_P(RecordingTest, ReplayGivesTheSameMessagesAndLogLines)
{
    const RecordedRun recorded = Collect(Parsed(proof::MachineText(GetParam())), proof::kDatatypes);
    std::string text;
    ASSERT_TRUE(google::protobuf::TextFormat::PrintToString(Replayed(recorded.recording), &text));
    EXPECT_TRUE(simulated::ValidateMachine(text).empty()) << simulated::ValidateMachine(text).front().Text();

    const RecordedRun replayed = Collect(Parsed(text), proof::kDatatypes);
    EXPECT_EQ(replayed.notRecorded, std::vector<std::string>{});
    for (std::size_t one = 0; one < proof::kDatatypes.size(); ++one) {
        EXPECT_TRUE(recorded.outcomes[one] == replayed.outcomes[one]) << proof::NameOf(proof::kDatatypes[one]);
        RecordedRun alone = Collect(Parsed(text), {&proof::kDatatypes[one], 1});
        EXPECT_EQ(alone.notRecorded, std::vector<std::string>{});
        // The first collection's log begins with that of making the plug-in.
        auto& log = alone.outcomes[0].log;
        ASSERT_GE(log.size(), recorded.outcomes[one].log.size());
        log.erase(log.begin(), log.end() - static_cast<std::ptrdiff_t>(recorded.outcomes[one].log.size()));
        EXPECT_TRUE(recorded.outcomes[one] == alone.outcomes[0]) << proof::NameOf(proof::kDatatypes[one]) << " alone";
    }
    EXPECT_EQ(recorded.recording.SerializeAsString(), replayed.recording.SerializeAsString()) << "a recording of the replay";
}

INSTANTIATE_TEST_SUITE_P(Machines, RecordingTest, testing::ValuesIn(proof::ExampleMachines()), [](const auto& machine) {
    std::string name = machine.param;
    std::erase(name, '-');
    return name;
});

// The faults of one collection that a machine can have: memory, strings and COM initialisation are the process's.
struct FaultyCollection {
    const char* name;
    proof::Datatype datatype;
    std::size_t atLeast;  // so many faults
};
class RecordingFaultsTest : public testing::TestWithParam<FaultyCollection> {};

TEST_P(RecordingFaultsTest, ReplayGivesTheSameOutcome)
{
    const auto laptop = simulated::ParseMachine(proof::MachineText("laptop-arm64"));
    const std::span datatype(&GetParam().datatype, 1);
    const std::vector<CountedCall> calls = Collect(laptop->Anew(), datatype).calls;
    std::size_t faults = 0;
    for (std::uint64_t call = 0; call < calls.size(); ++call) {
        const std::string& operation = calls[call].operation;
        for (const FaultKind kind : calls[call].kinds) {
            if (kind == FaultKind::BadAlloc || operation == "Wmi::AllocateString" || operation.starts_with("Wmi::Initialize")) {
                continue;
            }
            ++faults;
            const RecordedRun recorded = Collect(laptop->Anew(), datatype, Fault{call, kind});
            const RecordedRun replayed = Collect(Replayed(recorded.recording), datatype);
            const auto where = [&] { return operation + ' ' + calls[call].subject + " #" + std::to_string(call); };
            ASSERT_EQ(replayed.notRecorded, std::vector<std::string>{}) << where();
            ASSERT_TRUE(recorded.outcomes == replayed.outcomes) << where();
        }
    }
    EXPECT_GE(faults, GetParam().atLeast);
}

INSTANTIATE_TEST_SUITE_P(Collections, RecordingFaultsTest,
                         testing::Values(FaultyCollection{"Static", proof::Datatype::Static, 200},
                                         FaultyCollection{"Dynamic", proof::Datatype::Dynamic, 230},
                                         FaultyCollection{"SmartStatic", proof::Datatype::SmartStatic, 100},
                                         FaultyCollection{"SmartDynamic", proof::Datatype::SmartDynamic, 95},
                                         FaultyCollection{"Health", proof::Datatype::Health, 125},
                                         FaultyCollection{"Identify", proof::Datatype::Identify, 110}),
                         [](const auto& collection) { return std::string(collection.param.name); });

TEST(RecordingMissTest, MissingRequestIsReported)
{
    Recording recording = MakeRecording({});
    RecordedCall& open = *recording.add_call();
    open.set_operation("DeviceIo::Open");
    open.set_subject(R"(\\.\PhysicalDrive0)");
    open.add_answer();
    simulated::Machine machine(Replayed(recording));
    platform::DeviceIo& port = machine.DeviceIoPort();
    EXPECT_EQ(port.Open(uR"(\\.\PhysicalDrive1)", 0, 0, nullptr, 3, 0, 0), platform::kInvalidHandle);
    EXPECT_EQ(port.LastError(), 4350U);
    std::uint32_t returned = 0;
    const platform::NativeHandle drive = port.Open(uR"(\\.\PhysicalDrive0)", 0, 0, nullptr, 3, 0, 0);
    EXPECT_FALSE(port.Control(drive, platform::kIoctlStorageGetDeviceNumber, nullptr, 0, nullptr, 0, &returned, nullptr));
    EXPECT_EQ(machine.NotRecorded(), (std::vector<std::string>{R"(DeviceIo::Control \\.\PhysicalDrive0: the device number)",
                                                               R"(DeviceIo::Open \\.\PhysicalDrive1)"}));
}

}  // namespace
}  // namespace orbis::insight
