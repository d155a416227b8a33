#pragma once

#include <mutex>
#include <set>

#include "insight/Export.h"
#include "insight/Waits.h"
#include "platform/Forwarding.h"

namespace orbis::insight {

// A machine on which some sources other than devices fail immediately, as after a time-out: WMI, its namespaces and classes, the
// counters, the firmware tables, the device walk and the list of drive letters. Safe to use from several
// threads.
class ORBIS_INSIGHT_EXPORT HiddenSources final : public platform::ForwardingPlatform,
                                                 private platform::ForwardingDeviceIo,
                                                 private platform::ForwardingSetup,
                                                 private platform::ForwardingWmi,
                                                 private platform::ForwardingFirmware,
                                                 private platform::ForwardingPdh {
public:
    // `inner` is not owned and must outlive this object.
    explicit HiddenSources(platform::Platform& inner);

    void Hide(const Source& source);
    void Show(const Source& source);

    [[nodiscard]] platform::DeviceIo& DeviceIoPort() noexcept override { return *this; }
    [[nodiscard]] platform::Setup& SetupPort() noexcept override { return *this; }
    [[nodiscard]] platform::Wmi& WmiPort() noexcept override { return *this; }
    [[nodiscard]] platform::Firmware& FirmwarePort() noexcept override { return *this; }
    [[nodiscard]] platform::Pdh& PdhPort() noexcept override { return *this; }

private:
    std::uint32_t LogicalDriveStrings(std::uint32_t characters, char16_t* buffer) override;
    platform::DeviceInfoSetHandle ClassDevices(const platform::Guid* classGuid, const char16_t* enumerator, void* parentWindow,
                                               std::uint32_t flags) override;
    platform::Hresult CreateLocator(platform::ComObject** locator) override;
    platform::Hresult ConnectServer(platform::ComObject* locator, platform::Bstr path, platform::ComObject** services) override;
    platform::Hresult ExecQuery(platform::ComObject* services, platform::Bstr language, platform::Bstr query, std::int32_t flags,
                                platform::ComObject** enumerator) override;
    std::uint32_t SystemFirmwareTable(std::uint32_t provider, std::uint32_t table, void* buffer, std::uint32_t size) override;
    platform::PdhStatus OpenQuery(const char16_t* dataSource, std::uintptr_t userData, platform::PdhQueryObject** query) override;
    platform::PdhStatus EnumInstances(const char16_t* object, char16_t* buffer, std::uint32_t* characters) override;
    platform::PdhStatus CollectQueryData(platform::PdhQueryObject* query) override;

    [[nodiscard]] bool IsHidden(const Source& source);

    std::mutex m_Lock;
    std::set<Source> m_Hidden;
};

}  // namespace orbis::insight
