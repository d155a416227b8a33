#include "emulated/Firmware.h"

#include <map>
#include <utility>

#include "MachineState.h"

namespace orbis::simulated {
namespace {

// 'RSMB' as the number that names the provider: the first character is the most significant byte.
std::uint32_t Signature(const std::string& provider)
{
    std::uint32_t signature = 0;
    for (const char c : provider) {
        signature = signature << 8 | static_cast<std::uint8_t>(c);
    }
    return signature;
}

}  // namespace

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

}  // namespace orbis::simulated
