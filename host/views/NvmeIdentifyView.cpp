#include <fmt/format.h>

#include <cmath>

#include "views/Sheet.h"
#include "views/Units.h"
#include "views/Views.h"

namespace orbis::host {
namespace {

using datatypes::NvmeIdentifyControllerData;

// NVMe counts controller limits in units of the smallest memory page; nearly all controllers have 4 KiB (CAP.MPSMIN is not in this
// data).
std::string LargestTransfer(const NvmeIdentifyControllerData& data)
{
    const std::uint32_t exponent = data.max_data_transfer_size().value();
    if (exponent == 0) {
        return "no limit";
    }
    return exponent > 40 ? fmt::format("2^{} pages", exponent) : Bytes(std::ldexp(4096.0, static_cast<int>(exponent)));
}

std::string Capacity(const std::string& bytes) { return bytes.empty() ? "-" : Bytes(LittleEndian(bytes)); }

std::string Threshold(std::uint32_t kelvin)
{
    return kelvin == 0 ? "-" : fmt::format("{} \u00B0C", static_cast<int>(kelvin) - 273);
}

std::string PowerStates(const NvmeIdentifyControllerData& data)
{
    if (data.power_state_desc_size() == 0) {
        return "-";
    }
    const auto& first = data.power_state_desc(0);
    // MXPS: units of 0.0001 W when set, of 0.01 W otherwise (NVMe 1.4, figure 248).
    const double watts = first.max_power().value() * (first.max_power_scale().value() ? 0.0001 : 0.01);
    return fmt::format("{}, at most {:.2f} W", data.power_state_desc_size(), watts);
}

std::string Joined(std::initializer_list<std::pair<bool, const char*>> flags)
{
    std::string text;
    for (const auto& [set, name] : flags) {
        if (set) {
            text += text.empty() ? "" : " ";
            text += name;
        }
    }
    return text.empty() ? "-" : text;
}

std::string AdminCommands(const NvmeIdentifyControllerData& data)
{
    const auto& oacs = data.optional_admin_command_support();
    return Joined({{oacs.support_security_send_security_receive().value(), "security"},
                   {oacs.support_format_nvm().value(), "format"},
                   {oacs.support_firmware_activate_firmware_download().value(), "firmware"},
                   {oacs.support_namespace_mgmt_and_attachment().value(), "namespaces"},
                   {oacs.support_device_self_test().value(), "self-test"}});
}

std::string NvmCommands(const NvmeIdentifyControllerData& data)
{
    const auto& oncs = data.optional_nvm_command_support();
    return Joined({{oncs.support_compare().value(), "compare"},
                   {oncs.support_data_set_mgmt().value(), "trim"},
                   {oncs.support_write_zeroes().value(), "zeroes"},
                   {oncs.support_reservations().value(), "reservations"},
                   {oncs.support_verify().value(), "verify"}});
}

std::string Sanitize(const NvmeIdentifyControllerData& data)
{
    const auto& sanitize = data.sanitize_cap();
    return Joined({{sanitize.support_crypto_erase().value(), "crypto"},
                   {sanitize.support_block_erase().value(), "block"},
                   {sanitize.support_overwrite().value(), "overwrite"}});
}

}  // namespace

std::string Render(const ViewItems<NvmeIdentifyControllerData>& items, const Disks& disks, const Style& style)
{
    std::vector<std::string> titles;
    for (const auto& item : items) {
        titles.push_back(disks.NameOf(item.itemId));
    }
    Sheet sheet(std::move(titles), style);
    const auto row = [&](const char* fact, auto&& value) {
        std::vector<std::string> cells;
        for (const auto& item : items) {
            cells.push_back(item.message != nullptr ? value(*item.message) : "");
        }
        sheet.AddRow(fact, std::move(cells));
    };

    row("Model", [](const auto& d) { return d.model_number(); });
    row("Serial number", [](const auto& d) { return d.serial_number(); });
    row("Firmware", [](const auto& d) { return d.firmware_revision(); });
    row("NVMe version", [](const auto& d) {
        return fmt::format("{}.{}.{}", d.version().major().value(), d.version().minor().value(), d.version().tertiary().value());
    });
    row("PCI vendor, subsystem",
        [](const auto& d) { return Hex(d.pci_vendor_id().value(), 4) + ", " + Hex(d.pci_subsystem_vendor_id().value(), 4); });
    row("IEEE OUI", [](const auto& d) { return d.ieee_oui_identifier(); });
    row("Controller", [](const auto& d) { return fmt::format("id {}", d.controller_id().value()); });
    row("Total capacity", [&](const auto& d) {
        if (d.total_nvm_capacity().empty()) {
            sheet.AddNote("- total capacity: not reported, or a multiple of 256 bytes, which the datatype does not carry");
        }
        return Capacity(d.total_nvm_capacity());
    });
    row("Namespaces, at most", [](const auto& d) { return Grouped(std::uint64_t{d.number_of_namespaces().value()}); });
    row("Largest transfer", LargestTransfer);
    row("Warning temperature", [](const auto& d) { return Threshold(d.warning_composite_temperature_threshold().value()); });
    row("Critical temperature", [](const auto& d) { return Threshold(d.critical_composite_temperature_threshold().value()); });
    row("Power states", PowerStates);
    row("Firmware slots", [](const auto& d) { return fmt::format("{}", d.firmware_updates().number_of_firmware_slots().value()); });
    row("Admin commands", AdminCommands);
    row("NVM commands", NvmCommands);
    row("Sanitize", Sanitize);
    row("Volatile write cache",
        [](const auto& d) { return d.volatile_write_cache().has_volatile_write_cache().value() ? "yes" : "no"; });
    row("Part identifier", [](const auto& d) { return d.customized_controller_data().eppid(); });
    row("Component", [](const auto& d) { return d.customized_controller_data().component_id(); });
    row("NVM subsystem", [](const auto& d) { return d.nvm_subsystem_nvme_qualified_name(); });
    return sheet.Render(2);
}

}  // namespace orbis::host
