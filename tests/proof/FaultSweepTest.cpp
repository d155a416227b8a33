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
#include <google/protobuf/text_format.h>
#include <gtest/gtest.h>

#include "Difference.h"
#include "FaultTable.h"
#include "JournalInForce.h"
#include "Places.h"
#include "orbis/datatypes/physical_disk.pb.h"
#include "orbis/simulated/machine.pb.h"

namespace orbis::proof {
namespace {

namespace datatypes = ::veyra::orbis::datatypes;
using simulated::CountedCall;
using simulated::FaultKind;
namespace description = simulated::description;

constexpr std::array kKindNames{"an error", "short data", "nothing", "out of memory"};

// Calls that one of them stands for, the one in the middle.
enum class Alike {
    None,
    InSubject,  // same place, operation and subject
    ButNumber,  // and the numbers in the subject aside: of all disks, one
};

// A machine on which a datatype is collected: an example, and what is added to it.
struct Swept {
    Datatype datatype;
    std::string name;
    std::string example;
    Alike alike;
    std::string_view addition = "";
    std::string_view places = "";  // only these, by their beginning

    // A printer of its own: the bytes of the object would make another test name in every process.
    friend std::ostream& operator<<(std::ostream& out, const Swept& swept)
    {
        return out << NameOf(swept.datatype) << " on " << swept.name;
    }
};

// The activity collection has more to lose: instances that cannot be listed, and a disk that is plugged in.
std::vector<Swept> EverySwept()
{
    std::vector<Swept> all;
    for (const Datatype datatype : kDatatypes) {
        all.push_back({datatype, "empty", "empty", Alike::None});
        all.push_back({datatype, "laptop", "laptop-arm64", Alike::None});
        all.push_back({datatype, "workstation", "workstation", Alike::InSubject});
        all.push_back({datatype, "hostile", "hostile", Alike::ButNumber});
    }
    all.push_back({Datatype::Dynamic, "laptop without counters", "laptop-arm64", Alike::None,
                   R"pb(counter_object { name: "PhysicalDisk" instances_error: 0xC0000BB8 })pb", "construction: Win32_"});
    all.push_back({Datatype::Dynamic, "laptop with a late disk", "laptop-arm64", Alike::None,
                   R"pb(disk { number: 1 kind: NVME model: "Late" serial: "L" firmware: "1" size: 256060514304 arrives_at: 1 })pb",
                   "counters"});
    return all;
}

description::Machine DescriptionOf(const Swept& swept)
{
    description::Machine description;
    EXPECT_TRUE(
        google::protobuf::TextFormat::ParseFromString(MachineText(swept.example) + std::string(swept.addition), &description));
    return description;
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

// The outcome of a fault.
struct Consequence {
    std::string outcome;  // of the collection with the fault
    std::string after;    // of the next one
    std::string open;     // at the end
};

// A machine, and two collections in a row without a fault on it.
class Sweep {
public:
    explicit Sweep(const Swept& swept) : m_Datatype(swept.datatype), m_Swept(swept), m_Machine(DescriptionOf(swept))
    {
        PluginOnMachine plugin(m_Machine.Anew());
        fakes::JournalInForce journal;
        plugin.Construct();
        m_Constructed = plugin.Faults().Calls().size();
        m_First = plugin.CollectNext(m_Datatype);
        m_Calls = plugin.Faults().Calls();
        m_Places = PlacesOf(m_Datatype, m_Calls, m_Constructed, journal.Take<insight::call::Control>());
        m_Second = WithoutNumbers(plugin.CollectNext(m_Datatype));
        EXPECT_EQ(plugin.Finish(), PluginOnMachine::kNothingOpen);
    }

    // Only the activity collection does anything while the plug-in is made.
    [[nodiscard]] std::vector<std::size_t> CallsToFail() const
    {
        std::map<std::string, std::vector<std::size_t>> alike;
        for (std::size_t call = m_Datatype == Datatype::Dynamic ? 0 : m_Constructed; call < m_Calls.size(); ++call) {
            if (m_Places[call].starts_with(m_Swept.places)) {
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
        PluginOnMachine plugin(m_Machine.Anew());
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
        if (m_Swept.alike == Alike::None) {
            return std::to_string(call);
        }
        const std::string& operation = m_Calls[call].operation;
        std::string key = m_Places[call] + operation + SubjectOf(call);
        if (m_Swept.alike == Alike::ButNumber || operation == "Wmi::ArrayElement" || operation.starts_with("Setup::Enum")) {
            std::erase_if(key, [](char character) { return character >= '0' && character <= '9'; });
        }
        return key;
    }

    Datatype m_Datatype;
    const Swept& m_Swept;
    const simulated::Machine m_Machine;
    std::size_t m_Constructed = 0;
    std::vector<CountedCall> m_Calls;
    std::vector<std::string> m_Places;
    Outcome m_First;
    Outcome m_Second;
};

const FaultTable& Table()
{
    static const FaultTable kTable{"testdata/fault_outcomes.txt"};
    return kTable;
}

// Holds what a fault led to against the table; empty when all is well.
std::string Judge(const Fault& fault, const Consequence& consequence)
{
    const auto expected = Table().Find(fault);
    if (!expected) {
        return "is not in the table, and led to: " + consequence.outcome;
    }
    if (!Matches(expected->pattern, consequence.outcome)) {
        return fmt::format("led to: {}\n  expected: {}", consequence.outcome, expected->pattern);
    }
    if (!Matches(expected->after, consequence.after)) {
        return fmt::format("led afterwards to: {}\n  expected: {}", consequence.after, expected->after);
    }
    // COM is uninitialised even where it was not initialised; a host that called from a single-threaded apartment loses its own.
    const bool isImbalance = fault.call == "Wmi::InitializeCom" && fault.kind == FaultKind::Error;
    const std::string_view open = isImbalance ? "open: -1 COM initialisations" : PluginOnMachine::kNothingOpen;
    return consequence.open == open ? "" : "left " + consequence.open;
}

class FaultSweep : public ::testing::TestWithParam<Swept> {};

TEST_P(FaultSweep, EveryFailureHasItsDocumentedOutcome)
{
    const Sweep sweep(GetParam());
    std::size_t faults = 0;
    for (const std::size_t call : sweep.CallsToFail()) {
        for (const FaultKind kind : sweep.Call(call).kinds) {
            const Fault fault = sweep.FaultAt(call, kind);
            EXPECT_EQ(Judge(fault, sweep.Fail(call, kind)), "")
                << fault.place << ": " << fault.call << " with " << kKindNames[static_cast<std::size_t>(kind)];
            ++faults;
        }
    }
    std::cout << "fault sweep, " << NameOf(GetParam().datatype) << ", " << GetParam().name << ": " << faults << " faults at "
              << sweep.CallCount() << " calls\n";
}

INSTANTIATE_TEST_SUITE_P(Collections, FaultSweep, ::testing::ValuesIn(EverySwept()), [](const auto& swept) {
    std::string name = fmt::format("{} {}", NameOf(swept.param.datatype), swept.param.name);
    std::replace(name.begin(), name.end(), ' ', '_');
    return name;
});

TEST(FaultSweepTable, EveryRowIsOfAFault)
{
    std::map<Datatype, std::map<std::size_t, std::string>> unused;
    for (const Datatype datatype : kDatatypes) {
        unused[datatype] = Table().RowsFor(datatype);
    }
    for (const Swept& swept : EverySwept()) {
        const Sweep sweep(swept);
        for (const std::size_t call : sweep.CallsToFail()) {
            for (const FaultKind kind : sweep.Call(call).kinds) {
                if (const auto expected = Table().Find(sweep.FaultAt(call, kind))) {
                    unused[swept.datatype].erase(expected->row);
                }
            }
        }
    }
    for (const auto& [datatype, rows] : unused) {
        for (const auto& [row, text] : rows) {
            ADD_FAILURE() << NameOf(datatype) << ": no fault needs the row " << text;
        }
    }
}

}  // namespace
}  // namespace orbis::proof
