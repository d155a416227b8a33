#include "MachineState.h"
#include "emulated/Setup.h"
#include "platform/Text.h"

namespace orbis::simulated {
namespace {

platform::emulated::DeviceSet WalkDisks(const MachineState& machine)
{
    platform::emulated::DeviceSet set;
    if (!machine.description.has_device_walk()) {
        for (const DiskModel* disk : machine.PresentDisks()) {
            set.interfaces.push_back({platform::Utf8ToUtf16(disk->interfacePath)});
            set.devices.push_back({platform::Utf8ToUtf16(disk->instanceId)});
        }
        return set;
    }
    const description::DeviceWalk& walk = machine.description.device_walk();
    set.error = walk.error();
    for (const auto& recorded : walk.device_interface()) {
        set.interfaces.push_back({platform::Utf8ToUtf16(recorded.path()), recorded.detail_error()});
    }
    for (const auto& recorded : walk.device()) {
        set.devices.push_back({platform::Utf8ToUtf16(recorded.instance_id()), recorded.property_error()});
    }
    return set;
}

}  // namespace

std::unique_ptr<platform::Setup> MakeSetupPort(MachineState& machine)
{
    return platform::emulated::MakeSetup([&machine] { return WalkDisks(machine); });
}

}  // namespace orbis::simulated
