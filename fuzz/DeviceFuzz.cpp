#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "HostSdk/Exceptions.h"
#include "StorageCollectorPlugin.h"
#include "platform/Errors.h"
#include "platform/Requests.h"
#include "simulated/Machine.h"
#include "simulated/MachineFile.h"

namespace {

using namespace orbis::platform;

constexpr const char* kMachine = R"(
disk { number: 0 kind: NVME model: "M0" size: 1000204886016 nvme { }
  gpt { disk_id: "11111111-0000-0000-0000-000000000001" partition { size: 1073741824 id: "11111111-0000-0000-0000-0000000000c0" volume { letter: "C" } } } }
disk { number: 1 kind: SATA_SSD model: "M1" size: 1000204886016 }
smbios { oem_strings { text: "1[" text: "1[ABC]" } }
)";

// A machine whose devices, from some request on, answer with bytes, lengths and errors of the fuzzer's choice: drive layout and
// partition information, protocol-specific replies with lying lengths and offsets, IDENTIFY, SMART and log pages, registers and
// sense.
class LyingDevices final : public Platform, private DeviceIo {
public:
    LyingDevices(Platform& machine, FuzzedDataProvider& input)
        : m_Machine(machine), m_Devices(machine.DeviceIoPort()), m_Input(input)
    {}

    DeviceIo& DeviceIoPort() noexcept override { return *this; }
    Setup& SetupPort() noexcept override { return m_Machine.SetupPort(); }
    Wmi& WmiPort() noexcept override { return m_Machine.WmiPort(); }
    Firmware& FirmwarePort() noexcept override { return m_Machine.FirmwarePort(); }
    Pdh& PdhPort() noexcept override { return m_Machine.PdhPort(); }
    Time& TimePort() noexcept override { return m_Machine.TimePort(); }
    Text& TextPort() noexcept override { return m_Machine.TextPort(); }

private:
    NativeHandle Open(const char16_t* path, std::uint32_t access, std::uint32_t share, void* security, std::uint32_t disposition,
                      std::uint32_t flags, NativeHandle templateFile) override
    {
        return m_Devices.Open(path, access, share, security, disposition, flags, templateFile);
    }
    bool Control(NativeHandle device, std::uint32_t code, void* in, std::uint32_t inSize, void* out, std::uint32_t outSize,
                 std::uint32_t* returned, void* overlapped) override
    {
        if (!m_Input.ConsumeBool()) {
            return m_Devices.Control(device, code, in, inSize, out, outSize, returned, overlapped);
        }
        // Data behind a pointer of the request, within the length that it gives.
        if (code == kIoctlScsiPassThroughDirect) {
            auto& request = *static_cast<ScsiPassThroughDirect*>(in);
            Fill(request.dataBuffer, request.dataTransferLength);
            request.scsiStatus = m_Input.ConsumeIntegral<std::uint8_t>();
        } else if (code == kIoctlAtaPassThroughDirect) {
            auto& request = *static_cast<AtaPassThroughDirect*>(in);
            Fill(request.dataBuffer, request.dataTransferLength);
            request.currentTaskFile[6] = m_Input.ConsumeIntegral<std::uint8_t>();
        } else {
            (void)m_Devices.Control(device, code, in, inSize, out, outSize, returned, overlapped);
            Scatter(out, outSize);
        }
        *returned = m_Input.ConsumeBool() ? outSize : m_Input.ConsumeIntegralInRange<std::uint32_t>(0, outSize);
        return m_Input.ConsumeIntegralInRange(0, 7) != 0;
    }
    bool Close(NativeHandle device) noexcept override { return m_Devices.Close(device); }
    std::uint32_t LogicalDriveStrings(std::uint32_t characters, char16_t* buffer) override
    {
        return m_Devices.LogicalDriveStrings(characters, buffer);
    }
    std::uint32_t LastError() const noexcept override { return win32::kIoDevice; }

    void Fill(void* data, std::uint32_t size)
    {
        const auto bytes = m_Input.ConsumeBytes<std::uint8_t>(size);
        std::copy(bytes.begin(), bytes.end(), static_cast<std::uint8_t*>(data));
    }
    // A true answer with a few words of it changed reaches deeper than random bytes.
    void Scatter(void* data, std::uint32_t size)
    {
        for (int changes = m_Input.ConsumeIntegralInRange(0, 6); changes > 0 && size >= 4; --changes) {
            const auto value = m_Input.ConsumeIntegral<std::uint32_t>();
            const auto at = m_Input.ConsumeIntegralInRange<std::uint32_t>(0, std::min(size, 256U) - 4);
            std::memcpy(static_cast<std::uint8_t*>(data) + at, &value, sizeof(value));
        }
    }

    Platform& m_Machine;
    DeviceIo& m_Devices;
    FuzzedDataProvider& m_Input;
};

}  // namespace

// Every collection over devices that lie: an answer or the host's exception, and no handle left open.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace Veyra::Orbis;
    FuzzedDataProvider input(data, size);
    const auto machine = orbis::simulated::ParseMachine(kMachine);
    LyingDevices devices(*machine, input);
    Platform::Replace(&devices);
    {
        Plugins::StorageCollectorPlugin plugin(nullptr);
        const auto attempt = [](auto&& collect) {
            try {
                (void)collect();
            } catch (const Sdk::Exceptions::HostException&) {
                // What a failed collection ends with.
            }
        };
        const auto all = Sdk::Common::Identifiers::ItemId::All();
        attempt([&] { return plugin.CollectNvmeIdentifyControllerData(all); });
        attempt([&] { return plugin.CollectSmartNvmeInfo(all); });
        attempt([&] { return plugin.CollectPhysicalDiskStaticInfo(all); });
        attempt([&] { return plugin.CollectSmartDynamicInfo(all); });
        attempt([&] { return plugin.CollectSmartStaticInfo(all); });
        attempt([&] { return plugin.CollectPhysicalDiskDynamicInfo(all); });
    }
    Platform::Replace(nullptr);
    if (machine->OpenObjects() != orbis::simulated::OpenCounts{} || !machine->Misuses().empty()) {
        std::abort();
    }
    return 0;
}
