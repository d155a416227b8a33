#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "Disks.h"
#include "platform/Forwarding.h"

namespace orbis::host {

// A decorator over a machine that learns number, model, serial number and drive letters of the disks from the collectors' requests.
// It sends no requests itself. Thread-safe.
class DiskWatch final : public platform::ForwardingPlatform, private platform::ForwardingWmi, private platform::ForwardingDeviceIo {
public:
    explicit DiskWatch(platform::Platform& machine)
        : ForwardingPlatform(machine), ForwardingWmi(machine.WmiPort()), ForwardingDeviceIo(machine.DeviceIoPort())
    {}

    // The disks of the inventory, with what is known of them so far.
    [[nodiscard]] std::vector<Disk> Seen();

    // The number of the disk with this path (UTF-8), if earlier requests showed it.
    [[nodiscard]] std::optional<std::uint32_t> NumberOfPath(const std::string& path);
    // The interface path of a disk (UTF-8), or an empty text.
    [[nodiscard]] std::string InterfacePathOf(std::uint32_t number);

    // A request to a device that failed.
    struct DeviceFailure {
        std::string path;       // "\\.\C:"
        bool isOpen = false;    // the device could not be opened; else a request to it was refused
        std::uint32_t error{};  // Win32
    };
    // The newest failure since the last call.
    [[nodiscard]] std::optional<DeviceFailure> TakeLastFailure();

    platform::Wmi& WmiPort() noexcept override { return *this; }
    platform::DeviceIo& DeviceIoPort() noexcept override { return *this; }

private:
    using Hresult = platform::Hresult;
    using ComObject = platform::ComObject;
    using Bstr = platform::Bstr;
    enum class Table { DiskDrive, LogicalDisk };

    struct Row {
        Table table;
        std::map<std::u16string, std::string> values;  // in UTF-8
    };
    struct Drive {
        std::string pnpDeviceId;
        std::string model;
        std::string serialNumber;
        bool isNvme = false;
        std::optional<std::uint32_t> smartError;
    };

    Hresult ExecQuery(ComObject* services, Bstr language, Bstr query, std::int32_t flags, ComObject** enumerator) override;
    Hresult Next(ComObject* enumerator, std::uint32_t timeout, ComObject** object, std::uint32_t* returned) override;
    Hresult Get(ComObject* object, const char16_t* name, platform::Variant* value) override;
    void Release(ComObject* object) noexcept override;
    platform::NativeHandle Open(const char16_t* path, std::uint32_t access, std::uint32_t share, void* security,
                                std::uint32_t disposition, std::uint32_t flags, platform::NativeHandle templateFile) override;
    bool Control(platform::NativeHandle device, std::uint32_t code, void* in, std::uint32_t inSize, void* out,
                 std::uint32_t outSize, std::uint32_t* returned, void* overlapped) override;
    bool Close(platform::NativeHandle device) noexcept override;

    // All of these under the lock.
    void Take(const Row& row);
    void TakeDeviceNumber(const std::u16string& path, std::uint32_t number);
    void TakeProperty(Drive& drive, std::uint32_t propertyId, std::string_view reply);
    [[nodiscard]] Drive* DriveAt(const std::u16string& path);

    std::mutex m_Lock;
    std::map<ComObject*, Table> m_Enumerations;
    std::map<ComObject*, Row> m_Rows;
    std::map<platform::NativeHandle, std::u16string> m_Open;
    std::map<std::u16string, std::uint32_t> m_Numbers;   // of device interface paths
    std::map<std::uint32_t, Drive> m_Drives;             // by number
    std::set<std::uint32_t> m_Listed;                    // numbers of the newest list of drives
    std::map<std::string, std::uint32_t> m_Letters;      // "C:", and the number of its drive
    std::map<std::string, std::string> m_VolumeSerials;  // by letter
    std::optional<DeviceFailure> m_LastFailure;
};

}  // namespace orbis::host
