#pragma once

#include <compare>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <string_view>

#include "insight/Export.h"
#include "platform/Forwarding.h"

namespace orbis::insight {

// A source that a collection may have to wait for.
struct Source {
    enum class Kind : std::uint8_t {
        Device,        // `name` is its path: "\\.\PhysicalDrive3", "\\.\F:" or a device interface path
        WmiClass,      // a class: "Win32_DiskDrive"
        WmiNamespace,  // "root\WMI"
        Wmi,           // WMI itself
        Counters,      // performance counters
        Firmware,      // firmware tables
        DeviceWalk,    // the list of devices
        DriveLetters,  // the list of drive letters
    };
    Kind kind = Kind::Device;
    std::string name{};  // UTF-8; empty for the last five

    friend std::strong_ordering operator<=>(const Source&, const Source&) = default;
};

// The name of the source for people; that of a device is derived from its path: "DISK3", "F:", "Win32_DiskDrive".
[[nodiscard]] ORBIS_INSIGHT_EXPORT std::string NameOf(const Source& source);

// Called for each operation that may block, on the thread that calls it. Must be safe for several threads and must not throw.
class WaitListener {
public:
    virtual ~WaitListener() = default;
    // `what` names the request: "IDENTIFY DEVICE".
    virtual void Began(const Source& source, std::string_view what) noexcept = 0;
    virtual void Ended() noexcept = 0;
};

// A decorator that reports what is being waited for: operations that reach a device, another process or the firmware.
class ORBIS_INSIGHT_EXPORT WaitWatch final : public platform::ForwardingPlatform,
                                             private platform::ForwardingDeviceIo,
                                             private platform::ForwardingSetup,
                                             private platform::ForwardingWmi,
                                             private platform::ForwardingFirmware,
                                             private platform::ForwardingPdh {
public:
    // Neither is owned; both must outlive this object.
    WaitWatch(platform::Platform& inner, WaitListener& listener);

    [[nodiscard]] platform::DeviceIo& DeviceIoPort() noexcept override { return *this; }
    [[nodiscard]] platform::Setup& SetupPort() noexcept override { return *this; }
    [[nodiscard]] platform::Wmi& WmiPort() noexcept override { return *this; }
    [[nodiscard]] platform::Firmware& FirmwarePort() noexcept override { return *this; }
    [[nodiscard]] platform::Pdh& PdhPort() noexcept override { return *this; }

private:
    using Hresult = platform::Hresult;
    using ComObject = platform::ComObject;
    using PdhStatus = platform::PdhStatus;

    platform::NativeHandle Open(const char16_t* path, std::uint32_t access, std::uint32_t share, void* security,
                                std::uint32_t disposition, std::uint32_t flags, platform::NativeHandle templateFile) override;
    bool Control(platform::NativeHandle device, std::uint32_t code, void* in, std::uint32_t inSize, void* out,
                 std::uint32_t outSize, std::uint32_t* returned, void* overlapped) override;
    bool Close(platform::NativeHandle device) noexcept override;
    platform::PowerState DiskPowerState(const char16_t* path) override;
    std::uint32_t LogicalDriveStrings(std::uint32_t characters, char16_t* buffer) override;
    platform::DeviceInfoSetHandle ClassDevices(const platform::Guid* classGuid, const char16_t* enumerator, void* parentWindow,
                                               std::uint32_t flags) override;
    bool DeviceProperty(platform::DeviceInfoSetHandle set, const platform::DeviceInfoData& data,
                        const platform::DevicePropertyKey& key, std::uint32_t* type, void* buffer, std::uint32_t bufferSize,
                        std::uint32_t* required, std::uint32_t flags) override;
    Hresult CreateLocator(ComObject** locator) override;
    Hresult ConnectServer(ComObject* locator, platform::Bstr path, ComObject** services) override;
    Hresult ExecQuery(ComObject* services, platform::Bstr language, platform::Bstr query, std::int32_t flags,
                      ComObject** enumerator) override;
    Hresult Next(ComObject* enumerator, std::uint32_t timeout, ComObject** object, std::uint32_t* returned) override;
    void Release(ComObject* object) noexcept override;
    std::uint32_t SystemFirmwareTable(std::uint32_t provider, std::uint32_t table, void* buffer, std::uint32_t size) override;
    PdhStatus OpenQuery(const char16_t* dataSource, std::uintptr_t userData, platform::PdhQueryObject** query) override;
    PdhStatus EnumInstances(const char16_t* object, char16_t* buffer, std::uint32_t* characters) override;
    PdhStatus CounterInstances(platform::PdhCounterObject* counter, char16_t* buffer, std::uint32_t* characters) override;
    PdhStatus AddEnglishCounter(platform::PdhQueryObject* query, const char16_t* path, std::uintptr_t userData,
                                platform::PdhCounterObject** counter) override;
    PdhStatus CollectQueryData(platform::PdhQueryObject* query) override;

    // Runs an operation between Began and Ended.
    template <class Operation>
    auto Tell(const Source& source, std::string_view what, Operation&& operation);
    [[nodiscard]] std::string PathOf(platform::NativeHandle device);

    WaitListener& m_Listener;
    std::mutex m_Lock;
    std::map<platform::NativeHandle, std::string> m_Paths;
    std::map<ComObject*, std::string> m_Classes;  // by enumerator
};

// The name of a device request for people: "SMART READ DATA", "the device number".
[[nodiscard]] ORBIS_INSIGHT_EXPORT std::string NameOfRequest(std::uint32_t code, const void* request, std::size_t size);

}  // namespace orbis::insight
