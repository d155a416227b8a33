#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <set>
#include <string>

#include "platform/Platform.h"

namespace orbis::host {

// A decorator over a machine that notes why a disk may be missing from what is collected: the system lists none, or names a drive
// without one of the properties that identify it. The collectors leave such disks out without a word, so the host listens at the
// door. Thread-safe.
class InventoryWatch final : public platform::Platform, private platform::Wmi, private platform::Setup {
public:
    explicit InventoryWatch(platform::Platform& machine)
        : m_Machine(machine), m_Rows(machine.WmiPort()), m_Devices(machine.SetupPort())
    {}

    // What was noted since the last call, in order, each once; sentences for a person.
    [[nodiscard]] std::set<std::string> TakeFindings();

    platform::DeviceIo& DeviceIoPort() noexcept override { return m_Machine.DeviceIoPort(); }
    platform::Setup& SetupPort() noexcept override { return *this; }
    platform::Wmi& WmiPort() noexcept override { return *this; }
    platform::Firmware& FirmwarePort() noexcept override { return m_Machine.FirmwarePort(); }
    platform::Pdh& PdhPort() noexcept override { return m_Machine.PdhPort(); }
    platform::Time& TimePort() noexcept override { return m_Machine.TimePort(); }
    platform::Text& TextPort() noexcept override { return m_Machine.TextPort(); }

private:
    using Hresult = platform::Hresult;
    using ComObject = platform::ComObject;
    using Bstr = platform::Bstr;
    using SafeArray = platform::SafeArray;

    // What is looked at.
    Hresult ExecQuery(ComObject* services, Bstr language, Bstr query, std::int32_t flags, ComObject** enumerator) override;
    Hresult Next(ComObject* enumerator, std::uint32_t timeout, ComObject** object, std::uint32_t* returned) override;
    Hresult Get(ComObject* object, const char16_t* name, platform::Variant* value) override;
    void Release(ComObject* object) noexcept override;
    platform::DeviceInfoSetHandle ClassDevices(const platform::Guid* classGuid, const char16_t* enumerator, void* parentWindow,
                                               std::uint32_t flags) override;
    bool EnumDeviceInterfaces(platform::DeviceInfoSetHandle set, const platform::Guid& interfaceClass, std::uint32_t index,
                              platform::DeviceInterfaceData* data) override;

    // What is passed on.
    Hresult InitializeCom(std::uint32_t flags) override { return m_Rows.InitializeCom(flags); }
    Hresult InitializeSecurity(std::int32_t authenticationServices, std::uint32_t authenticationLevel,
                               std::uint32_t impersonationLevel, std::uint32_t capabilities) override
    {
        return m_Rows.InitializeSecurity(authenticationServices, authenticationLevel, impersonationLevel, capabilities);
    }
    void UninitializeCom() noexcept override { m_Rows.UninitializeCom(); }
    Bstr AllocateString(const char16_t* text) override { return m_Rows.AllocateString(text); }
    void FreeString(Bstr text) noexcept override { m_Rows.FreeString(text); }
    std::uint32_t StringLength(Bstr text) const noexcept override { return m_Rows.StringLength(text); }
    Hresult CreateLocator(ComObject** locator) override { return m_Rows.CreateLocator(locator); }
    Hresult ConnectServer(ComObject* locator, Bstr path, ComObject** services) override
    {
        return m_Rows.ConnectServer(locator, path, services);
    }
    Hresult SetProxyBlanket(ComObject* services, std::uint32_t authentication, std::uint32_t authorization,
                            std::uint32_t authenticationLevel, std::uint32_t impersonationLevel,
                            std::uint32_t capabilities) override
    {
        return m_Rows.SetProxyBlanket(services, authentication, authorization, authenticationLevel, impersonationLevel,
                                      capabilities);
    }
    void ClearVariant(platform::Variant* value) noexcept override { m_Rows.ClearVariant(value); }
    Hresult ArrayUpperBound(SafeArray* array, std::uint32_t dimension, std::int32_t* bound) override
    {
        return m_Rows.ArrayUpperBound(array, dimension, bound);
    }
    Hresult ArrayElement(SafeArray* array, std::int32_t index, void* element) override
    {
        return m_Rows.ArrayElement(array, index, element);
    }
    platform::SafeArrayBounds ArrayBounds(const SafeArray* array) const noexcept override { return m_Rows.ArrayBounds(array); }
    bool DeviceInterfaceDetail(platform::DeviceInfoSetHandle set, const platform::DeviceInterfaceData& data, void* detail,
                               std::uint32_t detailSize, std::uint32_t* required) override
    {
        return m_Devices.DeviceInterfaceDetail(set, data, detail, detailSize, required);
    }
    bool EnumDeviceInfo(platform::DeviceInfoSetHandle set, std::uint32_t index, platform::DeviceInfoData* data) override
    {
        return m_Devices.EnumDeviceInfo(set, index, data);
    }
    bool DeviceProperty(platform::DeviceInfoSetHandle set, const platform::DeviceInfoData& data,
                        const platform::DevicePropertyKey& key, std::uint32_t* type, void* buffer, std::uint32_t bufferSize,
                        std::uint32_t* required, std::uint32_t flags) override
    {
        return m_Devices.DeviceProperty(set, data, key, type, buffer, bufferSize, required, flags);
    }
    bool DestroyDeviceInfoList(platform::DeviceInfoSetHandle set) noexcept override { return m_Devices.DestroyDeviceInfoList(set); }
    std::uint32_t LastError() const noexcept override { return m_Devices.LastError(); }

    void Note(std::string finding);

    platform::Platform& m_Machine;
    platform::Wmi& m_Rows;
    platform::Setup& m_Devices;
    std::mutex m_Lock;
    std::set<std::string> m_Findings;
    std::set<ComObject*> m_Inventories;             // open enumerations of the drives
    std::map<ComObject*, std::string> m_DriveRows;  // open rows of them; what the drive is called, once asked
};

}  // namespace orbis::host
