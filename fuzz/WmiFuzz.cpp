#include <exception>

#include "Common/WmiCommonLib.h"
#include "Hostile.h"
#include "Targets.h"

// Properties of any type through every getter: a value or the documented failure, and no leak.
void orbis::fuzz::Wmi(Bytes bytes)
{
    using namespace Veyra::Orbis::Cpp::Common;
    Input input(bytes);
    simulated::description::Machine description;
    auto& rows = *description.add_wmi_class();
    rows.set_name("C");
    for (std::uint32_t count = input.Below(4); count > 0; --count) {
        auto& property = *rows.add_row()->add_property();
        property.set_name("P");
        MakeHostile(property, input);
    }
    simulated::Machine machine(description);
    platform::Platform::Replace(&machine);
    const auto attempt = [](auto&& read) {
        try {
            (void)read();
        } catch (const std::exception&) {
            // The documented failure.
        }
    };
    attempt([&] {
        WmiCommonLib row(u"SELECT * FROM C", WmiNamespace::CimV2);
        for (; !row.IsEnd(); row.Next()) {
            attempt([&] { return row.GetStringByField(u"P"); });
            attempt([&] { return row.GetWstringByField(u"P"); });
            attempt([&] { return row.GetUint32ByField(u"P"); });
            attempt([&] { return row.GetInt32ByField(u"P"); });
            attempt([&] { return row.GetUint64ByField(u"P"); });
            attempt([&] { return row.GetBoolByField(u"P"); });
            attempt([&] { return row.GetUint8ArrayByField(u"P"); });
            attempt([&] { return row.GetStringArrayByField(u"P"); });
            attempt([&] { return row.GetStringByField(u"missing"); });
        }
        return true;
    });
    platform::Platform::Replace(nullptr);
    Require(machine.OpenObjects() == simulated::OpenCounts{} && machine.Misuses().empty(), "what WMI gave is given back");
}
