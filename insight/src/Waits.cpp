#include "insight/Waits.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "DrivePaths.h"
#include "findings/Rules.h"
#include "platform/Text.h"

namespace orbis::insight {
namespace {

using namespace platform;
using Kind = Source::Kind;

// Reports the end of an operation, also when it throws.
class Ending {
public:
    explicit Ending(WaitListener& listener) noexcept : m_Listener(listener) {}
    Ending(const Ending&) = delete;
    Ending& operator=(const Ending&) = delete;
    ~Ending() { m_Listener.Ended(); }

private:
    WaitListener& m_Listener;
};

std::string Utf8(const char16_t* text) { return text != nullptr ? Utf16ToUtf8(text) : std::string(); }

}  // namespace

std::string NameOf(const Source& source)
{
    switch (source.kind) {
        case Kind::Device:
            return SubjectOf(Utf8ToUtf16(source.name));
        case Kind::Wmi:
            return "WMI";
        case Kind::Counters:
            return "the performance counters";
        case Kind::Firmware:
            return "the firmware tables";
        case Kind::DeviceWalk:
            return "the list of devices";
        case Kind::DriveLetters:
            return "the list of drive letters";
        default:
            return source.name;
    }
}

WaitWatch::WaitWatch(Platform& inner, WaitListener& listener)
    : ForwardingPlatform(inner),
      ForwardingDeviceIo(inner.DeviceIoPort()),
      ForwardingSetup(inner.SetupPort()),
      ForwardingWmi(inner.WmiPort()),
      ForwardingFirmware(inner.FirmwarePort()),
      ForwardingPdh(inner.PdhPort()),
      m_Listener(listener)
{}

template <class Operation>
auto WaitWatch::Tell(const Source& source, std::string_view what, Operation&& operation)
{
    m_Listener.Began(source, what);
    const Ending ending(m_Listener);
    return operation();
}

std::string WaitWatch::PathOf(NativeHandle device)
{
    const std::lock_guard lock(m_Lock);
    const auto found = m_Paths.find(device);
    return found != m_Paths.end() ? found->second : std::string();
}

NativeHandle WaitWatch::Open(const char16_t* path, std::uint32_t access, std::uint32_t share, void* security,
                             std::uint32_t disposition, std::uint32_t flags, NativeHandle templateFile)
{
    std::string name = Utf8(path);
    const NativeHandle handle = Tell({Kind::Device, name}, "the open request", [&] {
        return ForwardingDeviceIo::Open(path, access, share, security, disposition, flags, templateFile);
    });
    if (handle != kInvalidHandle && handle != 0) {
        const std::lock_guard lock(m_Lock);
        m_Paths[handle] = std::move(name);
    }
    return handle;
}

bool WaitWatch::Control(NativeHandle device, std::uint32_t code, void* in, std::uint32_t inSize, void* out, std::uint32_t outSize,
                        std::uint32_t* returned, void* overlapped)
{
    return Tell({Kind::Device, PathOf(device)}, NameOfRequest(code, in, inSize),
                [&] { return ForwardingDeviceIo::Control(device, code, in, inSize, out, outSize, returned, overlapped); });
}

bool WaitWatch::Close(NativeHandle device) noexcept
{
    std::string path;
    {
        const std::lock_guard lock(m_Lock);
        if (const auto found = m_Paths.find(device); found != m_Paths.end()) {
            path = std::move(found->second);
            m_Paths.erase(found);
        }
    }
    return Tell({Kind::Device, std::move(path)}, "the close request", [&] { return ForwardingDeviceIo::Close(device); });
}

PowerState WaitWatch::DiskPowerState(const char16_t* path)
{
    return Tell({Kind::Device, Utf8(path)}, "the power state", [&] { return ForwardingDeviceIo::DiskPowerState(path); });
}

std::uint32_t WaitWatch::LogicalDriveStrings(std::uint32_t characters, char16_t* buffer)
{
    return Tell({Kind::DriveLetters}, "the drive letters",
                [&] { return ForwardingDeviceIo::LogicalDriveStrings(characters, buffer); });
}

DeviceInfoSetHandle WaitWatch::ClassDevices(const Guid* classGuid, const char16_t* enumerator, void* parentWindow,
                                            std::uint32_t flags)
{
    return Tell({Kind::DeviceWalk}, "the disks",
                [&] { return ForwardingSetup::ClassDevices(classGuid, enumerator, parentWindow, flags); });
}

bool WaitWatch::DeviceProperty(DeviceInfoSetHandle set, const DeviceInfoData& data, const DevicePropertyKey& key,
                               std::uint32_t* type, void* buffer, std::uint32_t bufferSize, std::uint32_t* required,
                               std::uint32_t flags)
{
    return Tell({Kind::DeviceWalk}, "a disk's instance id",
                [&] { return ForwardingSetup::DeviceProperty(set, data, key, type, buffer, bufferSize, required, flags); });
}

Hresult WaitWatch::CreateLocator(ComObject** locator)
{
    return Tell({Kind::Wmi}, "its locator", [&] { return ForwardingWmi::CreateLocator(locator); });
}

Hresult WaitWatch::ConnectServer(ComObject* locator, Bstr path, ComObject** services)
{
    return Tell({Kind::WmiNamespace, Utf8(path)}, "a connection",
                [&] { return ForwardingWmi::ConnectServer(locator, path, services); });
}

Hresult WaitWatch::ExecQuery(ComObject* services, Bstr language, Bstr query, std::int32_t flags, ComObject** enumerator)
{
    std::string name = query != nullptr ? Utf16ToUtf8(ClassOf(query)) : std::string();
    const Hresult result = Tell({Kind::WmiClass, name}, "the query",
                                [&] { return ForwardingWmi::ExecQuery(services, language, query, flags, enumerator); });
    if (!Failed(result)) {
        const std::lock_guard lock(m_Lock);
        m_Classes[*enumerator] = std::move(name);
    }
    return result;
}

Hresult WaitWatch::Next(ComObject* enumerator, std::uint32_t timeout, ComObject** object, std::uint32_t* returned)
{
    std::string name;
    {
        const std::lock_guard lock(m_Lock);
        const auto found = m_Classes.find(enumerator);
        name = found != m_Classes.end() ? found->second : name;
    }
    return Tell({Kind::WmiClass, std::move(name)}, "a row",
                [&] { return ForwardingWmi::Next(enumerator, timeout, object, returned); });
}

void WaitWatch::Release(ComObject* object) noexcept
{
    {
        const std::lock_guard lock(m_Lock);
        m_Classes.erase(object);
    }
    ForwardingWmi::Release(object);
}

std::uint32_t WaitWatch::SystemFirmwareTable(std::uint32_t provider, std::uint32_t table, void* buffer, std::uint32_t size)
{
    return Tell({Kind::Firmware}, "a table",
                [&] { return ForwardingFirmware::SystemFirmwareTable(provider, table, buffer, size); });
}

PdhStatus WaitWatch::OpenQuery(const char16_t* dataSource, std::uintptr_t userData, PdhQueryObject** query)
{
    return Tell({Kind::Counters}, "a query", [&] { return ForwardingPdh::OpenQuery(dataSource, userData, query); });
}

PdhStatus WaitWatch::EnumInstances(const char16_t* object, char16_t* buffer, std::uint32_t* characters)
{
    return Tell({Kind::Counters}, "the instances", [&] { return ForwardingPdh::EnumInstances(object, buffer, characters); });
}

PdhStatus WaitWatch::CounterInstances(PdhCounterObject* counter, char16_t* buffer, std::uint32_t* characters)
{
    return Tell({Kind::Counters}, "the instances", [&] { return ForwardingPdh::CounterInstances(counter, buffer, characters); });
}

PdhStatus WaitWatch::AddEnglishCounter(PdhQueryObject* query, const char16_t* path, std::uintptr_t userData,
                                       PdhCounterObject** counter)
{
    return Tell({Kind::Counters}, "a counter", [&] { return ForwardingPdh::AddEnglishCounter(query, path, userData, counter); });
}

PdhStatus WaitWatch::CollectQueryData(PdhQueryObject* query)
{
    return Tell({Kind::Counters}, "a sample", [&] { return ForwardingPdh::CollectQueryData(query); });
}

}  // namespace orbis::insight
