#include "Hostile.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include <fmt/format.h>
#include <google/protobuf/text_format.h>

#include "Targets.h"
#include "platform/Errors.h"
#include "platform/Requests.h"

namespace orbis::fuzz {
namespace {

using namespace platform;
namespace description = simulated::description;

constexpr const char* kMachine = R"(
disk { number: 0 kind: NVME model: "M0" size: 1000204886016
  nvme { maker { eppid: "VY0K7F3MA1B2" component_id: "M0" health { wear_leveling_count: 1 query_error: 1 } } }
  gpt { disk_id: "11111111-0000-0000-0000-000000000001"
    partition { size: 1073741824 id: "11111111-0000-0000-0000-0000000000c0" volume { letter: "C" } } } }
disk { number: 1 kind: SATA_SSD model: "M1" size: 1000204886016
  ata { attribute { id: 5 raw: 1 } log_page { address: 0x9A text: "VY0K7F3MA1B2C3D4E5F6" } }
  mbr { signature: 1 partition { offset: 1048576 size: 1073741824 mbr_type: 7 volume { letter: "D" } } } }
smbios { oem_strings { text: "1[" text: "1[ABC]" } }
)";

// UTF-16 units in hexadecimal digits, lone surrogates among them.
std::string HostileText(Input& input)
{
    std::string digits;
    for (const std::uint8_t byte : input.Data(input.Below(32))) {
        digits += fmt::format("{:04X}", byte > 0xF0 ? 0xD800U + byte : byte);
    }
    return digits;
}

const description::Machine& TrueDescription()
{
    static const description::Machine machine = [] {
        description::Machine parsed;
        Require(google::protobuf::TextFormat::ParseFromString(kMachine, &parsed), "the machine of the fuzzers can be read");
        return parsed;
    }();
    return machine;
}

// The WMI classes that the plug-in reads, with the properties that it asks for.
struct WmiClass {
    const char* space;
    const char* name;
    std::vector<const char*> properties;
};
const std::vector<WmiClass>& WmiClasses()
{
    static const std::vector<WmiClass> classes{
        {"root\\cimv2", "Win32_DiskDrive", {"Index", "SCSIPort", "Model", "PNPDeviceID", "FirmwareRevision"}},
        {"root\\cimv2", "Win32_LogicalDisk", {"Caption", "VolumeSerialNumber"}},
        {"root\\cimv2", "Win32_Volume", {"DeviceID", "BootVolume", "PageFilePresent", "DriveLetter"}},
        {"root\\cimv2", "Win32_OSRecoveryConfiguration", {"ExpandedMiniDumpDirectory"}},
        {"root\\cimv2", "Win32_PerfFormattedData_PerfDisk_PhysicalDisk", {"Name"}},
        {"root\\microsoft\\windows\\storage", "MSFT_PhysicalDisk", {"DeviceId", "MediaType"}},
        {"root\\WMI", "MSStorageDriver_ATAPISmartData", {"VendorSpecific", "InstanceName"}},
    };
    return classes;
}

std::shared_ptr<simulated::Machine> MachineWithHostileRows(Input& input)
{
    description::Machine machine = TrueDescription();
    for (const WmiClass& from : WmiClasses()) {
        description::WmiClass& to = *machine.add_wmi_class();
        to.set_wmi_namespace(from.space);
        to.set_name(from.name);
        to.set_append(input.Choice());
        for (std::uint32_t rows = input.Below(3); rows > 0; --rows) {
            description::WmiRow& row = *to.add_row();
            for (const char* name : from.properties) {
                description::WmiProperty& property = *row.add_property();
                property.set_name(name);
                // Only a row that can be read to its end reaches a message, so most properties are of the expected type.
                if (input.Below(4) == 3) {
                    MakeHostile(property, input);
                } else if (name == std::string_view("VendorSpecific")) {
                    property.mutable_byte_array()->mutable_content()->set_size(362);
                } else {
                    property.set_utf16(input.Choice() ? HostileText(input) : "0030");
                }
            }
        }
    }
    return std::make_shared<simulated::Machine>(machine);
}

std::shared_ptr<simulated::Machine> TrueMachine()
{
    // One machine serves all inputs: the inputs do not change its description.
    static const auto machine = std::make_shared<simulated::Machine>(TrueDescription());
    return machine;
}

// The offset of the device's data in an answer to a request of this size.
std::uint32_t DataOffset(std::uint32_t code, std::uint32_t outSize)
{
    constexpr std::uint32_t kNvmeErrorLog = 64;
    const std::uint32_t offset = code == kIoctlStorageQueryProperty ? sizeof(StorageProtocolDataDescriptor)
                                 : code == kIoctlStorageProtocolCommand
                                     ? sizeof(StorageProtocolCommandHead) + kProtocolCommandLengthNvme + kNvmeErrorLog
                                     : 0;
    return std::min(offset, outSize);
}

}  // namespace

void MakeHostile(description::WmiProperty& property, Input& input)
{
    switch (input.Below(6)) {
        case 0:
            property.set_null(true);
            break;
        case 1:
            property.set_utf16(HostileText(input));
            break;
        case 2:
            property.set_null_text(true);
            break;
        case 3: {
            const Bytes bytes = input.Data(input.OneOf({0U, 1U, 361U, 362U, 512U, 600U}));
            description::WmiByteArray& array = *property.mutable_byte_array();
            array.mutable_content()->set_raw(bytes.data(), bytes.size());
            array.set_lower_bound(input.OneOf({0, 1, -1, 0x7FFFFFFF}));
            if (input.Choice()) {
                array.set_upper_bound(input.OneOf({-1, 0, 511, 600, 0x7FFFFFFF}));
            }
            break;
        }
        case 4: {
            description::WmiStringArray& array = *property.mutable_string_array();
            array.set_lower_bound(input.OneOf({0, 1, -1, 0x7FFFFFFE}));
            array.add_element()->set_text("text");
            array.add_element()->set_null(input.Choice());
            break;
        }
        default: {
            using enum VariantType;
            property.mutable_variant()->set_type(
                static_cast<std::uint32_t>(input.OneOf({Empty, Int16, Int32, Float32, Float64, Bool, UInt8, UInt32})));
            property.mutable_variant()->set_payload(input.Choice() ? input.Number<std::uint64_t>() : input.Below(3));
            break;
        }
    }
}

HostileMachine::HostileMachine(Input& input, WmiRows rows)
    : HostileMachine(input, rows == WmiRows::Hostile ? MachineWithHostileRows(input) : TrueMachine())
{}

HostileMachine::HostileMachine(Input& input, std::shared_ptr<simulated::Machine> machine)
    : ForwardingPlatform(*machine),
      ForwardingDeviceIo(machine->DeviceIoPort()),
      ForwardingFirmware(machine->FirmwarePort()),
      m_Input(input),
      m_Machine(std::move(machine))
{
    Replace(this);
}

HostileMachine::~HostileMachine()
{
    Replace(nullptr);
    Require(m_Machine->OpenObjects() == simulated::OpenCounts{}, "nothing is left open");
    Require(m_Machine->Misuses().empty(), "nothing is given back that was not taken");
}

bool HostileMachine::Control(NativeHandle device, std::uint32_t code, void* in, std::uint32_t inSize, void* out,
                             std::uint32_t outSize, std::uint32_t* returned, void* overlapped)
{
    const std::uint32_t lie = m_Input.Below(4);
    if (lie == 3) {
        using namespace win32;
        SaveLastError(m_Input.OneOf({kIoDevice, kInsufficientBuffer, kMoreData, kInvalidFunction, kNotSupported, kAccessDenied}));
        return false;
    }
    const bool done = ForwardingDeviceIo::Control(device, code, in, inSize, out, outSize, returned, overlapped);
    if (lie == 0) {
        return done;
    }
    if (code == kIoctlScsiPassThroughDirect) {
        auto& request = *static_cast<ScsiPassThroughDirect*>(in);
        Fill(request.dataBuffer, request.dataTransferLength);
        request.scsiStatus = m_Input.Number<std::uint8_t>();
    } else if (code == kIoctlAtaPassThroughDirect) {
        auto& request = *static_cast<AtaPassThroughDirect*>(in);
        Fill(request.dataBuffer, request.dataTransferLength);
        request.currentTaskFile[6] = m_Input.Number<std::uint8_t>();
    } else if (lie == 1) {
        const std::uint32_t offset = DataOffset(code, outSize);
        Fill(static_cast<std::uint8_t*>(out) + offset, outSize - offset);
    } else {
        Scatter(out, outSize);
        *returned = m_Input.OneOf({outSize, outSize - 1, 47U, 0U, outSize + 1, m_Input.Number<std::uint32_t>()});
    }
    return true;
}

// Each call may return a different table, or a longer one.
std::uint32_t HostileMachine::SystemFirmwareTable(std::uint32_t provider, std::uint32_t table, void* buffer, std::uint32_t size)
{
    if (!m_Input.Choice()) {
        return ForwardingFirmware::SystemFirmwareTable(provider, table, buffer, size);
    }
    const Bytes data = m_Input.Data(m_Input.Number<std::uint8_t>());
    if (data.size() <= size) {
        std::ranges::copy(data, static_cast<std::uint8_t*>(buffer));
    }
    return static_cast<std::uint32_t>(data.size());
}

void HostileMachine::Fill(void* data, std::uint32_t size)
{
    std::ranges::copy(m_Input.Data(size), static_cast<std::uint8_t*>(data));
}

// Most lengths and offsets that a decoder uses are at the front.
void HostileMachine::Scatter(void* data, std::uint32_t size)
{
    for (std::uint32_t changes = m_Input.Below(6); changes > 0 && size >= sizeof(std::uint32_t); --changes) {
        const std::uint32_t reach = m_Input.Choice() ? size : std::min(size, 64U);
        const std::uint32_t at = m_Input.Below(reach / 4) * 4;
        const std::uint32_t value = m_Input.Choice() ? m_Input.Number<std::uint32_t>() : m_Input.Number<std::uint8_t>();
        std::memcpy(static_cast<std::uint8_t*>(data) + at, &value, sizeof(value));
    }
}

}  // namespace orbis::fuzz
