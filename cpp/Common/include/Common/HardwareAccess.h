#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/DeviceIo.h"
#include "platform/Requests.h"
#include "platform/Setup.h"

namespace Veyra::Orbis::Cpp::Common::HardwareAccessLib {

// Media types as MSFT_PhysicalDisk.MediaType numbers them.
enum class DiskDriveMediaType : std::uint8_t {
    Unspecified = 0,
    HardDisk = 3,
    SolidState = 4,
    StorageClassMemory = 5,
};

// Physical drive number and media type; the first pair of a number counts.
using MediaTypeList = std::vector<std::pair<std::uint32_t, DiskDriveMediaType>>;

// One present disk, as the device walk finds it.
struct BasicDiskInfo {
    std::uint32_t physicalDriveNumber = 0;
    std::u16string physicalDrivePath;  // "\\.\PhysicalDrive" and the number
    std::u16string devicePath;         // device interface path
    std::u16string instanceId;         // may be empty
    std::uint32_t index = 0;           // position in the interface enumeration
    DiskDriveMediaType mediaType = DiskDriveMediaType::Unspecified;
};

// One sector: IDENTIFY DEVICE data, a log page, a SMART block. Aligned, because adapters refuse a transfer to an address that their
// alignment mask forbids.
struct alignas(16) Sector : std::array<std::uint8_t, 512> {};
static_assert(sizeof(Sector) == 512);

// Access to disks through device requests rather than WMI. Stateless: every call opens and closes its own handles and device sets,
// so several threads may call at once. Failures raise ResultException with the last Win32 error (or E_UNEXPECTED), the unit
// cpp\Common\src\HardwareAccess and a line that support quotes.
class HardwareAccess {
public:
    // The five platform calls are virtual, so that a derived class can replace the platform. The slots have this order.

    // SetupDiGetClassDevsW; the set may be invalid.
    [[nodiscard]] virtual orbis::platform::DeviceInfoSet GetClassDevs(const orbis::platform::Guid* classGuid,
                                                                      const char16_t* enumerator, void* parentWindow,
                                                                      std::uint32_t flags);
    // Instance id of the device at `index`; empty when its property cannot be read (an id of more than 126 characters cannot).
    [[nodiscard]] virtual std::u16string GetDeviceInstanceId(const orbis::platform::DeviceInfoSet& deviceInfoSet,
                                                             std::uint32_t index);
    // Interface path of the disk at `index`. Raises ERROR_NO_MORE_ITEMS past the last one.
    [[nodiscard]] virtual std::u16string GetDevicePath(const orbis::platform::DeviceInfoSet& deviceInfoSet, std::uint32_t index);
    // CreateFileW; the handle may be invalid.
    [[nodiscard]] virtual orbis::platform::DeviceHandle OpenDevice(const std::u16string& path, std::uint32_t access,
                                                                   std::uint32_t share, void* security, std::uint32_t disposition,
                                                                   std::uint32_t flags, orbis::platform::NativeHandle templateFile);
    // DeviceIoControl.
    [[nodiscard]] virtual bool DeviceControl(const orbis::platform::DeviceHandle& device, std::uint32_t code, void* in,
                                             std::uint32_t inSize, void* out, std::uint32_t outSize, std::uint32_t* returned,
                                             void* overlapped);
    virtual ~HardwareAccess() = default;

    // All present disks in enumeration order. Intentional: the first failure of any kind ends the walk silently, so a failure on
    // one disk hides the later ones too.
    [[nodiscard]] std::vector<BasicDiskInfo> GetAllBasicDiskInfo(const MediaTypeList& mediaTypes);
    // The disk at one enumeration index.
    [[nodiscard]] BasicDiskInfo GetBasicDiskInfo(std::uint32_t index, const MediaTypeList& mediaTypes);
    // DeviceNumber of IOCTL_STORAGE_GET_DEVICE_NUMBER.
    [[nodiscard]] std::uint32_t GetDeviceNumber(const std::u16string& devicePath);
    // Product of the drive geometry in units of 2^20 bytes, which can be slightly less than the disk.
    [[nodiscard]] std::uint64_t GetDiskSizeInMegaBytes(std::uint32_t physicalDriveNumber);
    // ATA IDENTIFY DEVICE through ATA pass-through, and only when that reports no data (a raised failure does not count) through
    // the SCSI/ATA translation. Absent when neither gives a byte that is not zero.
    [[nodiscard]] std::optional<Sector> ReadIdentifyData(const std::u16string& path);
    // One sector of ATA log address 0x9A, by the same two ways, each with its own IDENTIFY DEVICE; here a raised failure of the
    // first way counts as no data, so that a drive behind a bridge that knows only the second way is read. Absent when not
    // supported, not readable or all zero. Raises nothing.
    [[nodiscard]] std::optional<Sector> ReadLogPage9A(const std::u16string& path);
    // True when the device answers a standard SCSI INQUIRY with data.
    [[nodiscard]] bool ProbeScsiInquiry(const std::u16string& path);
    // Model number of IDENTIFY DEVICE (words 27 to 46), 40 bytes untrimmed; empty when it could not be read. Raises nothing.
    [[nodiscard]] std::string GetModelFromIdentify(const std::u16string& path);
    // The first 20 bytes of log page 0x9A as an ATA string, untrimmed; empty when it could not be read. Raises nothing.
    [[nodiscard]] std::string GetStringFromLogPage9A(const std::u16string& path);

    // An ATA string field: the two bytes of every word swapped, the last byte of an odd length kept; same length, not trimmed.
    [[nodiscard]] static std::string DecodeAtaString(std::span<const std::uint8_t> field);
    // "\\.\PhysicalDrive" and the number in decimal.
    [[nodiscard]] static std::u16string MakePhysicalDrivePath(std::uint32_t physicalDriveNumber);

protected:
    // The origin of a failed request as its exception reports it: unit, line of the open and line of the request.
    struct FailureSite {
        std::string_view unit;
        std::int32_t openLine;
        std::int32_t controlLine;
    };
    // Opens an existing device with `access`, shared, and raises the last Win32 error with `unit` and `line` when that fails.
    [[nodiscard]] orbis::platform::DeviceHandle OpenOrRaise(const std::u16string& path, std::uint32_t access, std::string_view unit,
                                                            std::int32_t line);
    // Opens a device, sends one request and closes the device. Returns the number of bytes answered; raises the last Win32 error.
    std::uint32_t Send(const std::u16string& path, std::uint32_t access, std::uint32_t code, void* in, std::uint32_t inSize,
                       void* out, std::uint32_t outSize, const FailureSite& site);
    // The same for a request without input, whose answer is one structure.
    template <class Answer>
    std::uint32_t Ask(const std::u16string& path, std::uint32_t access, std::uint32_t code, Answer& answer, const FailureSite& site)
    {
        return Send(path, access, code, nullptr, 0, &answer, sizeof(answer), site);
    }
    // Sends the command descriptor block `cdb`, which reads into `data`, with a time-out of 60 seconds. What the device does not
    // write is zero. Gives the SCSI status; raises as Send does.
    [[nodiscard]] std::uint8_t ReadByScsi(const std::u16string& path, std::span<const std::uint8_t> cdb,
                                          std::span<std::uint8_t> data, const FailureSite& site);
    // ATA PASS-THROUGH(16) (SAT-4, 12.2.2.3): PIO data-in of one 512-byte block with the given registers.
    [[nodiscard]] static std::array<std::uint8_t, 16> MakeAtaPassThrough16(std::uint8_t features, std::uint8_t lbaLow,
                                                                           std::uint8_t lbaMid, std::uint8_t lbaHigh,
                                                                           std::uint8_t command);
    // Whether any byte is not zero.
    [[nodiscard]] static bool HasData(std::span<const std::uint8_t> data);

private:
    // Sends an ATA command that reads into `data`, as ReadByScsi does. Gives the status register.
    [[nodiscard]] std::uint8_t ReadByAta(const std::u16string& path, std::uint8_t command, std::uint8_t count, std::uint8_t lbaLow,
                                         Sector& data, const FailureSite& site);
    [[nodiscard]] bool IdentifyByAta(const std::u16string& path, Sector& data);
    [[nodiscard]] bool IdentifyByScsi(const std::u16string& path, Sector& data);
    [[nodiscard]] bool LogPage9AByAta(const std::u16string& path, Sector& data);
    [[nodiscard]] bool LogPage9AByScsi(const std::u16string& path, Sector& data);
};

}  // namespace Veyra::Orbis::Cpp::Common::HardwareAccessLib
