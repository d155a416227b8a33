#pragma once

#include <cstdint>

#include "platform/Export.h"
#include "platform/Platform.h"

namespace orbis::platform {

// Bases of decorators. Each forwards every operation of one port to another, which is not owned and must outlive it; a decorator
// overrides the operations that it is interested in and calls the base to forward.
//
// The last error is saved immediately after each forwarded call, for each thread. A caller therefore reads the error of its own
// call, even though locks, allocations and files in the decorator change the system's last error.

// The saved last error of the calling thread. All decorators of the process share it, as all calls of a thread share GetLastError.
[[nodiscard]] ORBIS_PLATFORM_EXPORT std::uint32_t SavedLastError() noexcept;
// Sets the error that the caller of a decorator reads from LastError. Only a decorator that makes calls fail itself uses this.
ORBIS_PLATFORM_EXPORT void SaveLastError(std::uint32_t error) noexcept;

// A result on its way back through a decorator of `port`, whose last error is saved.
template <class Port, class Result>
[[nodiscard]] Result WithLastError(const Port& port, Result result) noexcept
{
    SaveLastError(port.LastError());
    return result;
}

class ForwardingDeviceIo : public DeviceIo {
public:
    explicit ForwardingDeviceIo(DeviceIo& inner) noexcept : m_Inner(inner) {}

    NativeHandle Open(const char16_t* path, std::uint32_t access, std::uint32_t share, void* security, std::uint32_t disposition,
                      std::uint32_t flags, NativeHandle templateFile) override
    {
        return WithLastError(m_Inner, m_Inner.Open(path, access, share, security, disposition, flags, templateFile));
    }
    bool Control(NativeHandle device, std::uint32_t code, void* in, std::uint32_t inSize, void* out, std::uint32_t outSize,
                 std::uint32_t* returned, void* overlapped) override
    {
        return WithLastError(m_Inner, m_Inner.Control(device, code, in, inSize, out, outSize, returned, overlapped));
    }
    bool Close(NativeHandle device) noexcept override { return WithLastError(m_Inner, m_Inner.Close(device)); }
    PowerState DiskPowerState(const char16_t* path) override { return WithLastError(m_Inner, m_Inner.DiskPowerState(path)); }
    std::uint32_t LogicalDriveStrings(std::uint32_t characters, char16_t* buffer) override
    {
        return WithLastError(m_Inner, m_Inner.LogicalDriveStrings(characters, buffer));
    }
    std::uint32_t LastError() const noexcept override { return SavedLastError(); }

private:
    DeviceIo& m_Inner;
};

class ForwardingSetup : public Setup {
public:
    explicit ForwardingSetup(Setup& inner) noexcept : m_Inner(inner) {}

    DeviceInfoSetHandle ClassDevices(const Guid* classGuid, const char16_t* enumerator, void* parentWindow,
                                     std::uint32_t flags) override
    {
        return WithLastError(m_Inner, m_Inner.ClassDevices(classGuid, enumerator, parentWindow, flags));
    }
    bool EnumDeviceInterfaces(DeviceInfoSetHandle set, const Guid& interfaceClass, std::uint32_t index,
                              DeviceInterfaceData* data) override
    {
        return WithLastError(m_Inner, m_Inner.EnumDeviceInterfaces(set, interfaceClass, index, data));
    }
    bool DeviceInterfaceDetail(DeviceInfoSetHandle set, const DeviceInterfaceData& data, void* detail, std::uint32_t detailSize,
                               std::uint32_t* required) override
    {
        return WithLastError(m_Inner, m_Inner.DeviceInterfaceDetail(set, data, detail, detailSize, required));
    }
    bool EnumDeviceInfo(DeviceInfoSetHandle set, std::uint32_t index, DeviceInfoData* data) override
    {
        return WithLastError(m_Inner, m_Inner.EnumDeviceInfo(set, index, data));
    }
    bool DeviceProperty(DeviceInfoSetHandle set, const DeviceInfoData& data, const DevicePropertyKey& key, std::uint32_t* type,
                        void* buffer, std::uint32_t bufferSize, std::uint32_t* required, std::uint32_t flags) override
    {
        return WithLastError(m_Inner, m_Inner.DeviceProperty(set, data, key, type, buffer, bufferSize, required, flags));
    }
    bool DestroyDeviceInfoList(DeviceInfoSetHandle set) noexcept override
    {
        return WithLastError(m_Inner, m_Inner.DestroyDeviceInfoList(set));
    }
    std::uint32_t LastError() const noexcept override { return SavedLastError(); }

private:
    Setup& m_Inner;
};

class ForwardingFirmware : public Firmware {
public:
    explicit ForwardingFirmware(Firmware& inner) noexcept : m_Inner(inner) {}

    std::uint32_t SystemFirmwareTable(std::uint32_t provider, std::uint32_t table, void* buffer, std::uint32_t size) override
    {
        return WithLastError(m_Inner, m_Inner.SystemFirmwareTable(provider, table, buffer, size));
    }
    std::uint32_t LastError() const noexcept override { return SavedLastError(); }

private:
    Firmware& m_Inner;
};

class ForwardingWmi : public Wmi {
public:
    explicit ForwardingWmi(Wmi& inner) noexcept : m_Inner(inner) {}

    Hresult InitializeCom(std::uint32_t flags) override { return m_Inner.InitializeCom(flags); }
    Hresult InitializeSecurity(std::int32_t authenticationServices, std::uint32_t authenticationLevel,
                               std::uint32_t impersonationLevel, std::uint32_t capabilities) override
    {
        return m_Inner.InitializeSecurity(authenticationServices, authenticationLevel, impersonationLevel, capabilities);
    }
    void UninitializeCom() noexcept override { m_Inner.UninitializeCom(); }
    Bstr AllocateString(const char16_t* text) override { return m_Inner.AllocateString(text); }
    void FreeString(Bstr text) noexcept override { m_Inner.FreeString(text); }
    std::uint32_t StringLength(Bstr text) const noexcept override { return m_Inner.StringLength(text); }
    Hresult CreateLocator(ComObject** locator) override { return m_Inner.CreateLocator(locator); }
    Hresult ConnectServer(ComObject* locator, Bstr path, ComObject** services) override
    {
        return m_Inner.ConnectServer(locator, path, services);
    }
    Hresult SetProxyBlanket(ComObject* services, std::uint32_t authentication, std::uint32_t authorization,
                            std::uint32_t authenticationLevel, std::uint32_t impersonationLevel,
                            std::uint32_t capabilities) override
    {
        return m_Inner.SetProxyBlanket(services, authentication, authorization, authenticationLevel, impersonationLevel,
                                       capabilities);
    }
    Hresult ExecQuery(ComObject* services, Bstr language, Bstr query, std::int32_t flags, ComObject** enumerator) override
    {
        return m_Inner.ExecQuery(services, language, query, flags, enumerator);
    }
    Hresult Next(ComObject* enumerator, std::uint32_t timeout, ComObject** object, std::uint32_t* returned) override
    {
        return m_Inner.Next(enumerator, timeout, object, returned);
    }
    Hresult Get(ComObject* object, const char16_t* name, Variant* value) override { return m_Inner.Get(object, name, value); }
    void Release(ComObject* object) noexcept override { m_Inner.Release(object); }
    void ClearVariant(Variant* value) noexcept override { m_Inner.ClearVariant(value); }
    Hresult ArrayUpperBound(SafeArray* array, std::uint32_t dimension, std::int32_t* bound) override
    {
        return m_Inner.ArrayUpperBound(array, dimension, bound);
    }
    Hresult ArrayElement(SafeArray* array, std::int32_t index, void* element) override
    {
        return m_Inner.ArrayElement(array, index, element);
    }
    SafeArrayBounds ArrayBounds(const SafeArray* array) const noexcept override { return m_Inner.ArrayBounds(array); }

private:
    Wmi& m_Inner;
};

class ForwardingPdh : public Pdh {
public:
    explicit ForwardingPdh(Pdh& inner) noexcept : m_Inner(inner) {}

    PdhStatus OpenQuery(const char16_t* dataSource, std::uintptr_t userData, PdhQueryObject** query) override
    {
        return m_Inner.OpenQuery(dataSource, userData, query);
    }
    PdhStatus EnumInstances(const char16_t* object, char16_t* buffer, std::uint32_t* characters) override
    {
        return m_Inner.EnumInstances(object, buffer, characters);
    }
    PdhStatus CounterInstances(PdhCounterObject* counter, char16_t* buffer, std::uint32_t* characters) override
    {
        return m_Inner.CounterInstances(counter, buffer, characters);
    }
    PdhStatus AddEnglishCounter(PdhQueryObject* query, const char16_t* path, std::uintptr_t userData,
                                PdhCounterObject** counter) override
    {
        return m_Inner.AddEnglishCounter(query, path, userData, counter);
    }
    PdhStatus CollectQueryData(PdhQueryObject* query) override { return m_Inner.CollectQueryData(query); }
    PdhStatus FormattedValue(PdhCounterObject* counter, std::uint32_t format, PdhCounterValue* value) override
    {
        return m_Inner.FormattedValue(counter, format, value);
    }
    PdhStatus CloseQuery(PdhQueryObject* query) noexcept override { return m_Inner.CloseQuery(query); }

private:
    Pdh& m_Inner;
};

class ForwardingTime : public Time {
public:
    explicit ForwardingTime(Time& inner) noexcept : m_Inner(inner) {}

    std::chrono::system_clock::time_point UtcNow() override { return m_Inner.UtcNow(); }
    void Sleep(std::uint32_t milliseconds) override { m_Inner.Sleep(milliseconds); }

private:
    Time& m_Inner;
};

class ForwardingText : public Text {
public:
    explicit ForwardingText(Text& inner) noexcept : m_Inner(inner) {}

    std::int32_t WideToUtf8(const char16_t* text, std::int32_t characters, char* out, std::int32_t outBytes) override
    {
        return m_Inner.WideToUtf8(text, characters, out, outBytes);
    }
    std::int32_t DefaultToWide(const char* text, std::int32_t bytes, char16_t* out, std::int32_t outCharacters) override
    {
        return m_Inner.DefaultToWide(text, bytes, out, outCharacters);
    }

private:
    Text& m_Inner;
};

// A machine whose ports are those of another. A decorator derives from this and from the forwarders of the ports that it observes,
// and returns itself as those ports; the others stay undecorated and cost nothing.
class ForwardingPlatform : public Platform {
public:
    explicit ForwardingPlatform(Platform& inner) noexcept : m_Inner(inner) {}

    DeviceIo& DeviceIoPort() noexcept override { return m_Inner.DeviceIoPort(); }
    Setup& SetupPort() noexcept override { return m_Inner.SetupPort(); }
    Wmi& WmiPort() noexcept override { return m_Inner.WmiPort(); }
    Firmware& FirmwarePort() noexcept override { return m_Inner.FirmwarePort(); }
    Pdh& PdhPort() noexcept override { return m_Inner.PdhPort(); }
    Time& TimePort() noexcept override { return m_Inner.TimePort(); }
    Text& TextPort() noexcept override { return m_Inner.TextPort(); }

protected:
    [[nodiscard]] Platform& Inner() const noexcept { return m_Inner; }

private:
    Platform& m_Inner;
};

}  // namespace orbis::platform
