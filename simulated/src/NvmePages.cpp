// NVMe pages, byte by byte from the NVM Express Base Specification, revision 1.4: figure 247 (Identify Controller), figure 248
// (power state descriptor) and figure 194 (SMART / Health Information).
#include <fmt/format.h>

#include <algorithm>

#include "DiskModel.h"

namespace orbis::simulated {
namespace {

constexpr std::size_t kIdentifySize = 4096;
constexpr std::size_t kHealthSize = 512;
constexpr std::size_t kPowerStateSize = 32;
constexpr int kMaximumPowerStates = 32;

ByteVector BuildPowerState(const description::NvmePowerState& state)
{
    PageWriter page(kPowerStateSize);
    page.Put16(0, state.max_power());
    page.Put8(3, state.non_operational() ? 0x02 : 0x00);
    page.Put32(4, state.entry_latency());
    page.Put32(8, state.exit_latency());
    ApplyPatches(page.Page(), state.page());
    page.Page().resize(kPowerStateSize);
    return page.Take();
}

}  // namespace

ByteVector BuildIdentifyController(const description::Disk& disk)
{
    const description::NvmeController& nvme = disk.nvme();
    PageWriter page(kIdentifySize);
    page.Put16(0, nvme.vendor_id());
    page.Put16(2, nvme.subsystem_vendor_id());
    page.PutText(4, 20, disk.serial());
    page.PutText(24, 40, disk.model());
    page.PutText(64, 8, disk.firmware());
    page.Put8(72, 6);                      // RAB: 64 commands
    page.Put24(73, nvme.ieee_oui());       // IEEE, least significant byte first
    page.Put8(77, 5);                      // MDTS: 128 KiB at 4 KiB pages
    page.Put16(78, nvme.controller_id());  // CNTLID
    page.Put32(80, nvme.has_version() ? nvme.version() : 0x00010400);
    page.Put32(84, 100000);      // RTD3R, microseconds
    page.Put32(88, 1000000);     // RTD3E, microseconds
    page.Put32(92, 0x00000200);  // OAES: firmware activation notices
    page.Put8(111, 1);           // CNTRLTYPE: I/O controller
    page.Put16(256, 0x0017);     // OACS: security, format, firmware, self-test
    page.Put8(258, 3);           // ACL
    page.Put8(259, 7);           // AERL
    page.Put8(260, 0x16);        // FRMW: three slots, activation without reset
    page.Put8(261, 0x0E);        // LPA: effects log, extended data, telemetry
    page.Put8(262, 63);          // ELPE
    page.Put8(264, 1);           // AVSCC
    page.Put8(265, 1);           // APSTA
    page.Put16(266, nvme.warning_temperature());
    page.Put16(268, nvme.critical_temperature());
    page.Put64(280, disk.size());  // TNVMCAP, low half
    page.Put16(316, 30);           // EDSTT, minutes
    page.Put8(318, 1);             // DSTO
    page.Put32(328, 0x00000002);   // SANICAP: block erase
    page.Put8(512, 0x66);          // SQES
    page.Put8(513, 0x44);          // CQES
    page.Put32(516, nvme.has_namespaces() ? nvme.namespaces() : 1);
    page.Put16(520, 0x005F);  // ONCS
    page.Put8(525, 0x07);     // VWC
    const std::string nqn = nvme.subsystem_nqn().empty() ? fmt::format("nqn.2014-08.org.nvmexpress:{:04x}{:04x}{}",
                                                                       nvme.vendor_id(), nvme.subsystem_vendor_id(), disk.serial())
                                                         : nvme.subsystem_nqn();
    page.PutText(768, 256, nqn, '\0');

    const int states = std::min(nvme.power_state_size(), kMaximumPowerStates);
    page.Put8(263, static_cast<std::uint64_t>(std::max(states, 1) - 1));  // NPSS, zero-based
    page.Put16(2048, 825);                                                // one state of 8.25 W unless described
    for (int i = 0; i < states; ++i) {
        page.PutBytes(2048 + kPowerStateSize * static_cast<std::size_t>(i), BuildPowerState(nvme.power_state(i)));
    }
    if (nvme.has_maker()) {
        page.PutBytes(3072, BuildMakerArea(nvme.maker()));
    }
    ApplyPatches(page.Page(), nvme.identify());
    return page.Take();
}

ByteVector BuildHealthLog(const description::NvmeHealth& health)
{
    PageWriter page(kHealthSize);
    page.Put8(0, health.critical_warning());
    page.Put16(1, health.has_temperature() ? health.temperature() : 308);
    page.Put8(3, health.has_available_spare() ? health.available_spare() : 100);
    page.Put8(4, health.has_available_spare_threshold() ? health.available_spare_threshold() : 10);
    page.Put8(5, health.percentage_used());
    page.Put8(6, health.endurance_group_warning());
    page.Put64(32, health.data_units_read());
    page.Put64(48, health.data_units_written());
    page.Put64(64, health.host_read_commands());
    page.Put64(80, health.host_write_commands());
    page.Put64(96, health.controller_busy_time());
    page.Put64(112, health.power_cycles());
    page.Put64(128, health.power_on_hours());
    page.Put64(144, health.unsafe_shutdowns());
    page.Put64(160, health.media_errors());
    page.Put64(176, health.error_log_entries());
    page.Put32(192, health.warning_temperature_time());
    page.Put32(196, health.critical_temperature_time());
    for (int i = 0; i < std::min(health.temperature_sensor_size(), 8); ++i) {
        page.Put16(200 + 2 * static_cast<std::size_t>(i), health.temperature_sensor(i));
    }
    page.Put32(216, health.thermal_transitions_1());
    page.Put32(220, health.thermal_transitions_2());
    page.Put32(224, health.thermal_time_1());
    page.Put32(228, health.thermal_time_2());
    ApplyPatches(page.Page(), health.page());
    return page.Take();
}

}  // namespace orbis::simulated
