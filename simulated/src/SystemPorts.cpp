// The ports that need few lines: device walk, firmware tables, clock.
#include <map>
#include <utility>

#include "MachineState.h"
#include "emulated/Firmware.h"
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

// 'RSMB' as the number that names the provider: the first character is the most significant byte.
std::uint32_t Signature(const std::string& provider)
{
    std::uint32_t signature = 0;
    for (const char c : provider) {
        signature = signature << 8 | static_cast<std::uint8_t>(c);
    }
    return signature;
}

class SimulatedTime final : public platform::Time {
public:
    explicit SimulatedTime(MachineState& machine) : m_Machine(machine) {}

    // Readings of the clock come as they were recorded, where any were.
    std::chrono::system_clock::time_point UtcNow() override
    {
        using std::chrono::system_clock;
        const auto* recorded = m_Machine.tape != nullptr ? m_Machine.tape->PlayIfThere(Asked("Time::UtcNow")) : nullptr;
        return recorded == nullptr ? m_Machine.clock.UtcNow()
                                   : system_clock::time_point(std::chrono::duration_cast<system_clock::duration>(
                                         std::chrono::nanoseconds(recorded->time())));
    }
    void Sleep(std::uint32_t milliseconds) override { m_Machine.clock.Advance(std::chrono::milliseconds(milliseconds)); }

private:
    MachineState& m_Machine;
};

}  // namespace

std::unique_ptr<platform::Setup> MakeSetupPort(MachineState& machine)
{
    return platform::emulated::MakeSetup([&machine] { return WalkDisks(machine); });
}

std::unique_ptr<platform::Firmware> MakeFirmwarePort(MachineState& machine)
{
    using platform::emulated::FirmwareTable;
    std::map<std::pair<std::uint32_t, std::uint32_t>, FirmwareTable> tables;
    for (const description::FirmwareTable& table : machine.description.firmware_table()) {
        tables.try_emplace({Signature(table.provider()), table.table()}, FirmwareTable{ToBytes(table.content()), table.error()});
    }
    if (machine.description.has_smbios()) {
        tables.try_emplace({platform::kFirmwareProviderSmbios, 0}, FirmwareTable{BuildSmbios(machine.description.smbios())});
    }
    return std::make_unique<platform::emulated::Firmware>([tables](std::uint32_t provider, std::uint32_t table) {
        const auto found = tables.find({provider, table});
        return found != tables.end() ? found->second : FirmwareTable{{}, platform::win32::kInvalidFunction};
    });
}

std::unique_ptr<platform::Time> MakeTimePort(MachineState& machine) { return std::make_unique<SimulatedTime>(machine); }

}  // namespace orbis::simulated
