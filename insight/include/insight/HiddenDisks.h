#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "insight/Export.h"
#include "platform/Forwarding.h"

namespace orbis::insight {

// The names of a disk that is left out. One name is enough: the others are learnt from the answers that are forwarded, such as rows
// of Win32_DiskDrive and names of counter instances ("3 F: G:").
struct HiddenDisk {
    std::optional<std::uint32_t> number{};  // physical drive number
    std::u16string interfacePath{};         // device interface path of the walk, in any case
    std::set<char16_t> letters{};           // drive letters of its volumes, upper case
    // Learnt from its row of Win32_DiskDrive.
    std::u16string pnpDeviceId{};
    std::u16string model{};
    std::u16string serialNumber{};
};

// The disk with this path: "\\.\PhysicalDrive3", "\\.\F:" or a device interface path.
[[nodiscard]] ORBIS_INSIGHT_EXPORT HiddenDisk HiddenDiskOf(std::u16string_view path);

// A machine without some of its disks: they are left out of the device walk, the drive letters, the counter instances and the rows
// of WMI, and cannot be opened. A late or sleeping disk is hidden in this way so that it does not affect the others: for the
// collectors the machine does not have it. Safe to use from several threads at once; a collection that is running when a disk is
// hidden or shown may have seen the earlier state.
class ORBIS_INSIGHT_EXPORT HiddenDisks final : public platform::ForwardingPlatform,
                                               private platform::ForwardingDeviceIo,
                                               private platform::ForwardingSetup,
                                               private platform::ForwardingWmi,
                                               private platform::ForwardingPdh {
public:
    // `inner` is not owned and must outlive this object.
    explicit HiddenDisks(platform::Platform& inner);

    void Hide(HiddenDisk disk);
    // Shows the disk with this number, letter or path again.
    void Show(const HiddenDisk& disk);
    // The hidden disks, with the names known so far.
    [[nodiscard]] std::vector<HiddenDisk> Hidden() const;

    [[nodiscard]] platform::DeviceIo& DeviceIoPort() noexcept override { return *this; }
    [[nodiscard]] platform::Setup& SetupPort() noexcept override { return *this; }
    [[nodiscard]] platform::Wmi& WmiPort() noexcept override { return *this; }
    [[nodiscard]] platform::Pdh& PdhPort() noexcept override { return *this; }

private:
    enum class RowKind { Drive, MediaType, Letter, CounterName, SmartRow };

    platform::NativeHandle Open(const char16_t* path, std::uint32_t access, std::uint32_t share, void* security,
                                std::uint32_t disposition, std::uint32_t flags, platform::NativeHandle templateFile) override;
    platform::PowerState DiskPowerState(const char16_t* path) override;
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
    platform::PdhStatus CounterInstances(platform::PdhCounterObject* counter, char16_t* buffer, std::uint32_t* characters) override;

    // The hidden disk that has one of these names, or null. Called with the lock held.
    [[nodiscard]] HiddenDisk* Find(const HiddenDisk& names);
    [[nodiscard]] bool IsHidden(const HiddenDisk& names);
    // Adds these names to the hidden disk that has one of them. Returns whether there is one.
    bool Learn(const HiddenDisk& names);
    [[nodiscard]] bool IsAnyHidden() const noexcept { return m_Count.load(std::memory_order_acquire) != 0; }
    [[nodiscard]] bool IsHiddenRow(platform::ComObject* row, RowKind kind);
    // The position of the visible disk `index` in the complete walk.
    [[nodiscard]] std::uint32_t WholeIndex(platform::DeviceInfoSetHandle set, std::uint32_t index);
    // Filters a list of instances from `list`, which has the form of EnumInstances.
    template <class List>
    platform::PdhStatus VisibleInstances(const List& list, char16_t* buffer, std::uint32_t* characters);

    mutable std::mutex m_Lock;
    std::vector<HiddenDisk> m_Hidden;
    std::atomic<std::size_t> m_Count{0};                                            // of the hidden ones
    std::map<platform::DeviceInfoSetHandle, std::vector<std::uint32_t>> m_Visible;  // whole indices, as far as they were looked at
    std::map<platform::ComObject*, RowKind> m_Filtered;                             // enumerators whose rows name disks
};

}  // namespace orbis::insight
