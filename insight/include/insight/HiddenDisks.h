#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "insight/Export.h"
#include "platform/Forwarding.h"

namespace orbis::insight {

// A disk that is left out, by every name that it goes by.
struct HiddenDisk {
    std::uint32_t number = 0;       // physical drive number
    std::u16string interfacePath;   // device interface path of the walk, in any case
    std::vector<char16_t> letters;  // drive letters of its volumes, upper case
};

// A machine without some of its disks: they are left out of the device walk, the drive letters, the counter instances and the rows
// of WMI, and cannot be opened. A late or sleeping disk is kept from spoiling the others in this way: the collectors meet a machine
// that does not have it. Safe to use from several threads at once.
class ORBIS_INSIGHT_EXPORT HiddenDisks final : public platform::ForwardingPlatform,
                                               private platform::ForwardingDeviceIo,
                                               private platform::ForwardingSetup,
                                               private platform::ForwardingWmi,
                                               private platform::ForwardingPdh {
public:
    // `inner` is not owned and must outlive this object.
    HiddenDisks(platform::Platform& inner, std::vector<HiddenDisk> hidden);

    [[nodiscard]] platform::DeviceIo& DeviceIoPort() noexcept override { return *this; }
    [[nodiscard]] platform::Setup& SetupPort() noexcept override { return *this; }
    [[nodiscard]] platform::Wmi& WmiPort() noexcept override { return *this; }
    [[nodiscard]] platform::Pdh& PdhPort() noexcept override { return *this; }

private:
    enum class RowKind { Drive, MediaType, Letter, CounterName };

    platform::NativeHandle Open(const char16_t* path, std::uint32_t access, std::uint32_t share, void* security,
                                std::uint32_t disposition, std::uint32_t flags, platform::NativeHandle templateFile) override;
    std::uint32_t LogicalDriveStrings(std::uint32_t characters, char16_t* buffer) override;

    bool EnumDeviceInterfaces(platform::DeviceInfoSetHandle set, const platform::Guid& interfaceClass, std::uint32_t index,
                              platform::DeviceInterfaceData* data) override;
    bool EnumDeviceInfo(platform::DeviceInfoSetHandle set, std::uint32_t index, platform::DeviceInfoData* data) override;
    bool DestroyDeviceInfoList(platform::DeviceInfoSetHandle set) noexcept override;

    platform::Hresult ExecQuery(platform::ComObject* services, platform::Bstr language, platform::Bstr query, std::int32_t flags,
                                platform::ComObject** enumerator) override;
    platform::Hresult Next(platform::ComObject* enumerator, std::uint32_t timeout, platform::ComObject** object,
                           std::uint32_t* returned) override;
    void Release(platform::ComObject* object) noexcept override;

    platform::PdhStatus EnumInstances(const char16_t* object, char16_t* buffer, std::uint32_t* characters) override;

    [[nodiscard]] bool IsHiddenNumber(std::uint64_t number) const;
    [[nodiscard]] bool IsHiddenLetter(char16_t letter) const;
    [[nodiscard]] bool IsHiddenPath(std::u16string_view path) const;
    // "1 D: E:" of a hidden drive 1.
    [[nodiscard]] bool IsHiddenInstance(std::u16string_view name) const;
    [[nodiscard]] bool IsHiddenRow(platform::ComObject* row, RowKind kind);
    [[nodiscard]] std::u16string PathOf(platform::DeviceInfoSetHandle set, const platform::DeviceInterfaceData& data);
    // The position in the whole walk of the disk that stands at `index` of the visible ones.
    [[nodiscard]] std::uint32_t WholeIndex(platform::DeviceInfoSetHandle set, std::uint32_t index);

    const std::vector<HiddenDisk> m_Hidden;
    std::mutex m_Lock;
    std::map<platform::DeviceInfoSetHandle, std::vector<std::uint32_t>> m_Visible;  // whole indices, as far as they were looked at
    std::map<platform::ComObject*, RowKind> m_Filtered;                             // enumerators whose rows name disks
};

}  // namespace orbis::insight
