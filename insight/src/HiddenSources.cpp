#include "insight/HiddenSources.h"

#include "DrivePaths.h"
#include "platform/Errors.h"
#include "platform/Text.h"

namespace orbis::insight {
namespace {

using namespace platform;
using Kind = Source::Kind;

constexpr std::uint32_t kTimeout = 1460;  // ERROR_TIMEOUT
constexpr Hresult kTimedOut = HresultFromWin32(kTimeout);

}  // namespace

HiddenSources::HiddenSources(Platform& inner)
    : ForwardingPlatform(inner),
      ForwardingDeviceIo(inner.DeviceIoPort()),
      ForwardingSetup(inner.SetupPort()),
      ForwardingWmi(inner.WmiPort()),
      ForwardingFirmware(inner.FirmwarePort()),
      ForwardingPdh(inner.PdhPort())
{}

void HiddenSources::Hide(const Source& source)
{
    const std::lock_guard lock(m_Lock);
    m_Hidden.insert(source);
}

void HiddenSources::Show(const Source& source)
{
    const std::lock_guard lock(m_Lock);
    m_Hidden.erase(source);
}

bool HiddenSources::IsHidden(const Source& source)
{
    const std::lock_guard lock(m_Lock);
    return m_Hidden.contains(source);
}

std::uint32_t HiddenSources::LogicalDriveStrings(std::uint32_t characters, char16_t* buffer)
{
    if (IsHidden({Kind::DriveLetters})) {
        SaveLastError(kTimeout);
        return 0;
    }
    return ForwardingDeviceIo::LogicalDriveStrings(characters, buffer);
}

DeviceInfoSetHandle HiddenSources::ClassDevices(const Guid* classGuid, const char16_t* enumerator, void* parentWindow,
                                                std::uint32_t flags)
{
    if (IsHidden({Kind::DeviceWalk})) {
        SaveLastError(kTimeout);
        return kInvalidDeviceInfoSet;
    }
    return ForwardingSetup::ClassDevices(classGuid, enumerator, parentWindow, flags);
}

Hresult HiddenSources::CreateLocator(ComObject** locator)
{
    return IsHidden({Kind::Wmi}) ? kTimedOut : ForwardingWmi::CreateLocator(locator);
}

Hresult HiddenSources::ConnectServer(ComObject* locator, Bstr path, ComObject** services)
{
    const bool isHidden = path != nullptr && IsHidden({Kind::WmiNamespace, Utf16ToUtf8(path)});
    return isHidden ? kTimedOut : ForwardingWmi::ConnectServer(locator, path, services);
}

Hresult HiddenSources::ExecQuery(ComObject* services, Bstr language, Bstr query, std::int32_t flags, ComObject** enumerator)
{
    const bool isHidden = query != nullptr && IsHidden({Kind::WmiClass, Utf16ToUtf8(ClassOf(query))});
    return isHidden ? kTimedOut : ForwardingWmi::ExecQuery(services, language, query, flags, enumerator);
}

std::uint32_t HiddenSources::SystemFirmwareTable(std::uint32_t provider, std::uint32_t table, void* buffer, std::uint32_t size)
{
    if (IsHidden({Kind::Firmware})) {
        SaveLastError(kTimeout);
        return 0;
    }
    return ForwardingFirmware::SystemFirmwareTable(provider, table, buffer, size);
}

PdhStatus HiddenSources::OpenQuery(const char16_t* dataSource, std::uintptr_t userData, PdhQueryObject** query)
{
    return IsHidden({Kind::Counters}) ? pdh::kNoData : ForwardingPdh::OpenQuery(dataSource, userData, query);
}

PdhStatus HiddenSources::EnumInstances(const char16_t* object, char16_t* buffer, std::uint32_t* characters)
{
    return IsHidden({Kind::Counters}) ? pdh::kNoData : ForwardingPdh::EnumInstances(object, buffer, characters);
}

PdhStatus HiddenSources::CollectQueryData(PdhQueryObject* query)
{
    return IsHidden({Kind::Counters}) ? pdh::kNoData : ForwardingPdh::CollectQueryData(query);
}

}  // namespace orbis::insight
