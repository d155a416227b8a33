#include <algorithm>

#include "MachineState.h"
#include "platform/Errors.h"
#include "platform/Firmware.h"

namespace orbis::simulated {
namespace {

namespace win32 = platform::win32;

// 'RSMB' as the number that names the provider: the first character is the most significant byte.
std::uint32_t Signature(const std::string& provider)
{
    std::uint32_t signature = 0;
    for (const char c : provider) {
        signature = signature << 8 | static_cast<std::uint8_t>(c);
    }
    return signature;
}

std::string SignatureText(std::uint32_t provider)
{
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8) {
        text += static_cast<char>(provider >> shift & 0x7F);
    }
    return text;
}

struct Table {
    std::uint32_t provider = 0;
    std::uint32_t table = 0;
    ByteVector content;
    std::uint32_t error = win32::kSuccess;
};

class SimulatedFirmware final : public platform::Firmware {
public:
    explicit SimulatedFirmware(MachineState& machine) : m_Machine(machine)
    {
        for (const description::FirmwareTable& table : machine.description.firmware_table()) {
            m_Tables.push_back({Signature(table.provider()), table.table(), ToBytes(table.content()), table.error()});
        }
        if (machine.description.has_smbios()) {
            m_Tables.push_back({platform::kFirmwareProviderSmbios, 0, BuildSmbios(machine.description.smbios()), win32::kSuccess});
        }
    }

    std::uint32_t SystemFirmwareTable(std::uint32_t provider, std::uint32_t table, void* buffer, std::uint32_t size) override
    {
        const auto found = std::find_if(m_Tables.begin(), m_Tables.end(), [&](const Table& candidate) {
            return candidate.provider == provider && candidate.table == table;
        });
        const std::uint32_t error = found == m_Tables.end() ? win32::kInvalidFunction : found->error;
        m_Machine.Record([&] {
            JournalEntry entry;
            entry.operation = "Firmware::SystemFirmwareTable";
            entry.subject = SignatureText(provider);
            entry.outputSize = size;
            entry.error = error;
            return entry;
        });
        if (error != win32::kSuccess) {
            return FailWith(error, 0U);
        }
        const auto needed = static_cast<std::uint32_t>(found->content.size());
        if (buffer == nullptr || size < needed) {
            return FailWith(win32::kInsufficientBuffer, needed);
        }
        std::copy(found->content.begin(), found->content.end(), static_cast<std::uint8_t*>(buffer));
        return needed;
    }

    std::uint32_t LastError() const noexcept override { return simulated::LastError(); }

private:
    MachineState& m_Machine;
    std::vector<Table> m_Tables;
};

}  // namespace

std::unique_ptr<platform::Firmware> MakeFirmwarePort(MachineState& machine) { return std::make_unique<SimulatedFirmware>(machine); }

}  // namespace orbis::simulated
