#include "InventoryWatch.h"

#include <fmt/format.h>

#include <string_view>
#include <utility>

#include "platform/Errors.h"
#include "platform/Text.h"

namespace orbis::host {
namespace {

using platform::Variant;
using platform::VariantType;

// Of a drive's properties all but two are texts; a number without a value reads as 0.
bool IsText(std::u16string_view property) { return property != u"Index" && property != u"SCSIPort"; }

}  // namespace

std::set<std::string> InventoryWatch::TakeFindings()
{
    const std::lock_guard lock(m_Lock);
    return std::exchange(m_Findings, {});
}

void InventoryWatch::Note(std::string finding)
{
    const std::lock_guard lock(m_Lock);
    m_Findings.insert(std::move(finding));
}

platform::Hresult InventoryWatch::ExecQuery(ComObject* services, Bstr language, Bstr query, std::int32_t flags,
                                            ComObject** enumerator)
{
    const Hresult result = ForwardingWmi::ExecQuery(services, language, query, flags, enumerator);
    if (!platform::Failed(result) && std::u16string_view(query) == u"SELECT * FROM Win32_DiskDrive") {
        const std::lock_guard lock(m_Lock);
        m_Inventories.insert(*enumerator);
    }
    return result;
}

platform::Hresult InventoryWatch::Next(ComObject* enumerator, std::uint32_t timeout, ComObject** object, std::uint32_t* returned)
{
    const Hresult result = ForwardingWmi::Next(enumerator, timeout, object, returned);
    const std::lock_guard lock(m_Lock);
    if (*object != nullptr && m_Inventories.contains(enumerator)) {
        m_DriveRows[*object].clear();
    }
    return result;
}

platform::Hresult InventoryWatch::Get(ComObject* object, const char16_t* name, Variant* value)
{
    const Hresult result = ForwardingWmi::Get(object, name, value);
    const std::lock_guard lock(m_Lock);
    const auto row = m_DriveRows.find(object);
    if (row == m_DriveRows.end()) {
        return result;
    }
    const std::u16string_view property = name;
    if (property == u"Index") {
        // Only the inventory asks for the number, and it does so first.
        row->second = platform::Failed(result) ? "a drive" : fmt::format("drive {}", static_cast<std::uint32_t>(value->payload));
    }
    if (row->second.empty()) {
        return result;
    }
    if (platform::Failed(result)) {
        m_Findings.insert(fmt::format("{} has no id: its row of Win32_DiskDrive has no {} (0x{:08X})", row->second,
                                      platform::Utf16ToUtf8(property), static_cast<std::uint32_t>(result)));
    } else if (IsText(property) && (value->type != VariantType::String || value->AsString() == nullptr)) {
        m_Findings.insert(fmt::format("{} has no id: the {} of its row of Win32_DiskDrive is no text", row->second,
                                      platform::Utf16ToUtf8(property)));
    }
    return result;
}

void InventoryWatch::Release(ComObject* object) noexcept
{
    {
        const std::lock_guard lock(m_Lock);
        m_Inventories.erase(object);
        m_DriveRows.erase(object);
    }
    ForwardingWmi::Release(object);
}

platform::DeviceInfoSetHandle InventoryWatch::ClassDevices(const platform::Guid* classGuid, const char16_t* enumerator,
                                                           void* parentWindow, std::uint32_t flags)
{
    const platform::DeviceInfoSetHandle set = ForwardingSetup::ClassDevices(classGuid, enumerator, parentWindow, flags);
    if (set == platform::kInvalidDeviceInfoSet) {
        Note(fmt::format("the system does not list its disks (error {})", ForwardingSetup::LastError()));
    }
    return set;
}

bool InventoryWatch::EnumDeviceInterfaces(platform::DeviceInfoSetHandle set, const platform::Guid& interfaceClass,
                                          std::uint32_t index, platform::DeviceInterfaceData* data)
{
    if (ForwardingSetup::EnumDeviceInterfaces(set, interfaceClass, index, data)) {
        return true;
    }
    if (index == 0) {
        Note(ForwardingSetup::LastError() == platform::win32::kNoMoreItems
                 ? "the system's list of disk devices is empty"
                 : fmt::format("the system's list of disk devices cannot be read (error {})", ForwardingSetup::LastError()));
    }
    return false;
}

}  // namespace orbis::host
