// Every call that an NVMe collection makes to the device-query library throws in turn: what leaves the plug-in, what is said about
// it, and that every object is given back.
#include <functional>
#include <iostream>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Collections.h"
#include "Difference.h"
#include "FakeSondix.h"
#include "HostSdk/Exceptions.h"
#include "simulated/MachineFile.h"

namespace orbis::proof {
namespace {

using Veyra::Orbis::Sdk::Exceptions::ArgumentException;
using Veyra::Orbis::Sdk::Exceptions::NotSupportedException;
using Veyra::Orbis::Sdk::Exceptions::ZelException;

struct Throw {
    std::function<void()> raise;
    std::string outcome;  // "{}" is the collection's own function
};

// A native failure gives an empty list; the host's own exceptions, and what is none, leave through the wrapper.
const std::vector<Throw> kThrows{
    {[] { throw std::runtime_error("{0} \xFF"); }, "no items; +Error Exception from {}() : {0} \uFFFD; -"},
    {[] { throw std::bad_alloc(); }, "no items; +Error Exception from {}() : std::bad_alloc; -"},
    {[] { throw ZelException("z"); }, "left by Veyra.Orbis.Sdk.Exceptions.ZelException: z; +Error ZEL Exception : z; -"},
    {[] { throw NotSupportedException("s"); },
     "left by Veyra.Orbis.Sdk.Exceptions.ZelException: s ---> "
     "System.NotSupportedException: s; +Trace Not Supported Exception : s; -"},
    {[] { throw ArgumentException("a"); },
     "left by Veyra.Orbis.Sdk.Exceptions.ZelException: a ---> System.ArgumentException: a; "
     "+Error Exception : a; -"},
    {[] { throw 5; }, "left by Veyra.Orbis.Sdk.Exceptions.ZelException: Unknown exception; +Error Unknown exception; -"},
};

void Sweep(Datatype datatype, const std::string& function)
{
    PluginOnMachine plugin(simulated::ParseMachine(MachineText("workstation")));
    fakes::FakeSondix library;
    library.drives[0].numbers = {{"IIdentifyControllerData::NPSS", 1}};
    library.drives[2];
    plugin.Construct();
    const Outcome clean = plugin.CollectNext(datatype);
    EXPECT_EQ(clean.items.size(), 2U);
    const std::size_t calls = library.CallCount();
    for (std::size_t call = 0; call < calls; ++call) {
        for (const Throw& fault : kThrows) {
            std::string expected = fault.outcome;
            if (const std::size_t at = expected.find("{}"); at != std::string::npos) {
                expected.replace(at, 2, function);
            }
            library.calls.clear();
            library.ThrowAtCall(library.CallCount() + call, fault.raise);
            const std::string outcome = DifferenceOf(clean, plugin.CollectNext(datatype));
            EXPECT_EQ(outcome.substr(0, expected.size()), expected) << "call " << call << ", after " << library.calls.back();
            EXPECT_EQ(library.Live(), std::vector<std::string>{});
        }
        EXPECT_EQ(DifferenceOf(clean, plugin.CollectNext(datatype)), "the same");
    }
    EXPECT_EQ(library.faults, std::vector<std::string>{});
    EXPECT_EQ(plugin.Finish(), PluginOnMachine::kNothingOpen);
    std::cout << "library sweep, " << NameOf(datatype) << ": " << calls * kThrows.size() << " throws at " << calls << " calls\n";
}

TEST(LibraryThrows, Identify) { Sweep(Datatype::Identify, "GetIdentifyControllerData"); }
TEST(LibraryThrows, Health) { Sweep(Datatype::Health, "GetNvmeHealthData"); }

}  // namespace
}  // namespace orbis::proof
