// Every platform call of every collection on the example machines made to fail in turn, in every way that it can, on a plug-in
// object of its own. What is expected is in fault_outcomes.txt; a call that is not there fails the sweep.
#include <algorithm>
#include <array>
#include <iostream>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "Difference.h"
#include "FaultTable.h"
#include "Places.h"
#include "orbis/datatypes/physical_disk.pb.h"
#include "simulated/MachineFile.h"

namespace orbis::proof {
namespace {

namespace datatypes = ::veyra::orbis::datatypes;
using simulated::CountedCall;
using simulated::FaultKind;

constexpr std::array kKindNames{"an error", "short data", "nothing", "out of memory"};

// Calls that one of them stands for, the one in the middle.
enum class Alike {
    None,
    InSubject,  // same place, operation and subject
    ButNumber,  // and the numbers in the subject aside: of all disks, one
};

struct SweptMachine {
    std::string name;
    std::string text;
    Alike alike;
    std::string_view places = "";  // only these, by their beginning
};

// The activity collection has more to lose: instances that cannot be listed, and a disk that is plugged in.
std::vector<SweptMachine> MachinesFor(Datatype datatype)
{
    const std::string laptop = MachineText("laptop-arm64");
    std::vector<SweptMachine> machines{{"empty", MachineText("empty"), Alike::None},
                                       {"laptop", laptop, Alike::None},
                                       {"workstation", MachineText("workstation"), Alike::InSubject},
                                       {"hostile", MachineText("hostile"), Alike::ButNumber}};
    if (datatype == Datatype::Dynamic) {
        machines.push_back({"laptop without counters", laptop + R"pb(
                                counter_object { name: "PhysicalDisk" instances_error: 0xC0000BB8 })pb",
                            Alike::None, "construction: Win32_"});
        machines.push_back(
            {"laptop with a late disk", laptop + R"pb(
                 disk { number: 1 kind: NVME model: "Late" serial: "L" firmware: "1" size: 256060514304 arrives_at: 1 })pb",
             Alike::None, "counters"});
    }
    return machines;
}

// Without the numbers of the activity: they depend on how many samples were taken before, each of which moves the machine's clock.
Outcome WithoutNumbers(Outcome outcome)
{
    for (Outcome::Item& item : outcome.items) {
        if (dynamic_cast<const datatypes::PhysicalDiskDynamicInfo*>(item.message.get()) != nullptr) {
            const std::shared_ptr<google::protobuf::Message> copy(item.message->New());
            copy->CopyFrom(*item.message);
            std::vector<const google::protobuf::FieldDescriptor*> fields;
            copy->GetReflection()->ListFields(*copy, &fields);
            for (const auto* field : fields) {
                copy->GetReflection()->MutableMessage(copy.get(), field)->Clear();  // set, to nothing
            }
            item.message = copy;
        }
    }
    for (fakes::LogLine& line : outcome.log) {
        line.message = line.message.substr(0, line.message.find(", mega_bytes_read: "));
    }
    return outcome;
}

// What a fault led to.
struct Consequence {
    std::string outcome;  // of the collection with the fault
    std::string after;    // of the next one
    std::string open;     // at the end
};

// A machine, and two collections in a row without a fault on it.
class Sweep {
public:
    Sweep(Datatype datatype, const SweptMachine& machine) : m_Datatype(datatype), m_Machine(machine)
    {
        PluginOnMachine plugin(simulated::ParseMachine(m_Machine.text));
        plugin.Machine().KeepJournal(true);
        plugin.Construct();
        m_Constructed = plugin.Faults().Calls().size();
        m_First = plugin.CollectNext(m_Datatype);
        m_Calls = plugin.Faults().Calls();
        m_Places = PlacesOf(m_Datatype, m_Calls, m_Constructed, plugin.Machine().TakeJournal());
        m_Second = WithoutNumbers(plugin.CollectNext(m_Datatype));
        EXPECT_EQ(plugin.Finish(), PluginOnMachine::kNothingOpen);
    }

    // Only the activity collection does anything while the plug-in is made.
    [[nodiscard]] std::vector<std::size_t> CallsToFail() const
    {
        std::map<std::string, std::vector<std::size_t>> alike;
        for (std::size_t call = m_Datatype == Datatype::Dynamic ? 0 : m_Constructed; call < m_Calls.size(); ++call) {
            if (m_Places[call].starts_with(m_Machine.places)) {
                alike[KeyOf(call)].push_back(call);
            }
        }
        std::vector<std::size_t> calls;
        for (const auto& [key, same] : alike) {
            calls.push_back(same[same.size() / 2]);
        }
        return calls;
    }

    [[nodiscard]] const CountedCall& Call(std::size_t call) const { return m_Calls[call]; }
    [[nodiscard]] std::size_t CallCount() const { return m_Calls.size(); }
    [[nodiscard]] Fault FaultAt(std::size_t call, FaultKind kind) const
    {
        const std::string& subject = SubjectOf(call);
        return {m_Datatype, m_Places[call], m_Calls[call].operation + (subject.empty() ? "" : " " + subject), kind};
    }

    [[nodiscard]] Consequence Fail(std::size_t call, FaultKind kind) const
    {
        PluginOnMachine plugin(simulated::ParseMachine(m_Machine.text));
        plugin.Faults().FailAt(call, kind);
        plugin.Construct();
        Consequence consequence;
        consequence.outcome = DifferenceOf(m_First, plugin.CollectNext(m_Datatype));
        EXPECT_TRUE(plugin.Faults().Reached());
        plugin.Faults().PassAll();
        consequence.after = DifferenceOf(m_Second, WithoutNumbers(plugin.CollectNext(m_Datatype)));
        consequence.open = plugin.Finish();
        return consequence;
    }

private:
    // A conversion is about the property that was got before it.
    [[nodiscard]] const std::string& SubjectOf(std::size_t call) const
    {
        while (m_Calls[call].operation == "Text::WideToUtf8" && call > 0 && m_Places[call - 1] == m_Places[call]) {
            --call;
        }
        return m_Calls[call].subject;
    }

    [[nodiscard]] std::string KeyOf(std::size_t call) const
    {
        if (m_Machine.alike == Alike::None) {
            return std::to_string(call);
        }
        const std::string& operation = m_Calls[call].operation;
        std::string key = m_Places[call] + operation + SubjectOf(call);
        if (m_Machine.alike == Alike::ButNumber || operation == "Wmi::ArrayElement" || operation.starts_with("Setup::Enum")) {
            std::erase_if(key, [](char character) { return character >= '0' && character <= '9'; });
        }
        return key;
    }

    Datatype m_Datatype;
    const SweptMachine& m_Machine;
    std::size_t m_Constructed = 0;
    std::vector<CountedCall> m_Calls;
    std::vector<std::string> m_Places;
    Outcome m_First;
    Outcome m_Second;
};

class FaultSweep : public ::testing::TestWithParam<Datatype> {
protected:
    // Holds what a fault led to against the table; empty when all is well.
    std::string Judge(const Fault& fault, const Consequence& consequence)
    {
        const auto expected = m_Table.Find(fault);
        if (!expected) {
            return "is not in the table, and led to: " + consequence.outcome;
        }
        if (!Matches(expected->pattern, consequence.outcome)) {
            return fmt::format("led to: {}\n  expected: {}", consequence.outcome, expected->pattern);
        }
        m_Unused.erase(expected->row);
        if (!Matches(expected->after, consequence.after)) {
            return fmt::format("led afterwards to: {}\n  expected: {}", consequence.after, expected->after);
        }
        // COM is uninitialised even where it was not initialised; a host that called from a single-threaded apartment loses its
        // own.
        const bool isImbalance = fault.call == "Wmi::InitializeCom" && fault.kind == FaultKind::Error;
        const std::string_view open = isImbalance ? "open: -1 COM initialisations" : PluginOnMachine::kNothingOpen;
        return consequence.open == open ? "" : "left " + consequence.open;
    }

    FaultTable m_Table{"testdata/fault_outcomes.txt"};
    std::map<std::size_t, std::string> m_Unused = m_Table.RowsFor(GetParam());
};

TEST_P(FaultSweep, EveryFailureHasItsDocumentedOutcome)
{
    std::size_t calls = 0;
    std::size_t faults = 0;
    for (const SweptMachine& machine : MachinesFor(GetParam())) {
        const Sweep sweep(GetParam(), machine);
        calls += sweep.CallCount();
        for (const std::size_t call : sweep.CallsToFail()) {
            for (const FaultKind kind : sweep.Call(call).kinds) {
                const Fault fault = sweep.FaultAt(call, kind);
                const std::string wrong = Judge(fault, sweep.Fail(call, kind));
                EXPECT_EQ(wrong, "") << machine.name << ", " << fault.place << ": " << fault.call << " with "
                                     << kKindNames[static_cast<std::size_t>(kind)];
                ++faults;
            }
        }
    }
    for (const auto& [row, text] : m_Unused) {
        ADD_FAILURE() << "no fault needs the row " << text;
    }
    std::cout << "fault sweep, " << NameOf(GetParam()) << ": " << faults << " faults at " << calls << " calls\n";
}

INSTANTIATE_TEST_SUITE_P(Collections, FaultSweep, ::testing::ValuesIn(kDatatypes), [](const auto& datatype) {
    std::string name(NameOf(datatype.param));
    std::erase(name, ' ');
    return name;
});

}  // namespace
}  // namespace orbis::proof
