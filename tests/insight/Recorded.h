#pragma once

#include <google/protobuf/text_format.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "Collections.h"
#include "insight/Recording.h"
#include "orbis/simulated/machine.pb.h"

// Collections with the recording of them.
namespace orbis::insight {

using Outcomes = std::vector<proof::Outcome>;

using Description = simulated::description::Machine;
using simulated::CountedCall;
using simulated::FaultKind;

struct Fault {
    std::uint64_t call;
    FaultKind kind;
};

// Collections on a machine, in the plug-in's order, with the recording of them and a call that fails on the way.
struct RecordedRun {
    Outcomes outcomes;
    Recording recording;
    std::vector<std::string> notRecorded;
    std::vector<CountedCall> calls;
};

inline RecordedRun Collect(const std::shared_ptr<simulated::Machine>& machine, std::span<const proof::Datatype> datatypes,
                           std::optional<Fault> fault = {})
{
    RecordedRun run;
    proof::PluginOnMachine plugin(machine);
    Journal journal(plugin.Faults());
    platform::Platform::Replace(&journal);
    if (fault) {
        plugin.Faults().FailAt(fault->call, fault->kind);
    }
    plugin.Construct();
    for (const proof::Datatype datatype : datatypes) {
        run.outcomes.push_back(plugin.CollectNext(datatype));
    }
    run.calls = plugin.Faults().Calls();
    EXPECT_EQ(plugin.Finish(), proof::PluginOnMachine::kNothingOpen);
    run.recording = MakeRecording(journal.Take());
    run.notRecorded = machine->NotRecorded();
    return run;
}

inline RecordedRun Collect(const Description& description, std::span<const proof::Datatype> datatypes)
{
    return Collect(std::make_shared<simulated::Machine>(description), datatypes);
}

inline Description Replayed(const Recording& recording)
{
    Description machine;
    *machine.mutable_recording() = recording;
    return machine;
}

inline Description Parsed(const std::string& text)
{
    Description machine;
    EXPECT_TRUE(google::protobuf::TextFormat::ParseFromString(text, &machine));
    return machine;
}

}  // namespace orbis::insight
