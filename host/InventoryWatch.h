#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <set>
#include <string>

#include "platform/Forwarding.h"

namespace orbis::host {

// A decorator over a machine that notes why a disk may be missing from what is collected: the system lists none, or names a drive
// without one of the properties that identify it. The collectors leave such disks out without a word, so the host observes the
// ports. Thread-safe.
class InventoryWatch final : public platform::ForwardingPlatform,
                             private platform::ForwardingWmi,
                             private platform::ForwardingSetup {
public:
    explicit InventoryWatch(platform::Platform& machine)
        : ForwardingPlatform(machine), ForwardingWmi(machine.WmiPort()), ForwardingSetup(machine.SetupPort())
    {}

    // What was noted since the last call, in order, each once; sentences for a person.
    [[nodiscard]] std::set<std::string> TakeFindings();

    platform::Setup& SetupPort() noexcept override { return *this; }
    platform::Wmi& WmiPort() noexcept override { return *this; }

private:
    using Hresult = platform::Hresult;
    using ComObject = platform::ComObject;
    using Bstr = platform::Bstr;

    Hresult ExecQuery(ComObject* services, Bstr language, Bstr query, std::int32_t flags, ComObject** enumerator) override;
    Hresult Next(ComObject* enumerator, std::uint32_t timeout, ComObject** object, std::uint32_t* returned) override;
    Hresult Get(ComObject* object, const char16_t* name, platform::Variant* value) override;
    void Release(ComObject* object) noexcept override;
    platform::DeviceInfoSetHandle ClassDevices(const platform::Guid* classGuid, const char16_t* enumerator, void* parentWindow,
                                               std::uint32_t flags) override;
    bool EnumDeviceInterfaces(platform::DeviceInfoSetHandle set, const platform::Guid& interfaceClass, std::uint32_t index,
                              platform::DeviceInterfaceData* data) override;

    void Note(std::string finding);

    std::mutex m_Lock;
    std::set<std::string> m_Findings;
    std::set<ComObject*> m_Inventories;             // open enumerations of the drives
    std::map<ComObject*, std::string> m_DriveRows;  // open rows of them; what the drive is called, once asked
};

}  // namespace orbis::host
