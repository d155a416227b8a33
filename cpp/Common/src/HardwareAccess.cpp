#include "Common/HardwareAccess.h"

#include <algorithm>
#include <cstring>
#include <exception>

#include "Common/ResultException.h"
#include "platform/Errors.h"

namespace Veyra::Orbis::Cpp::Common::HardwareAccessLib {
namespace {

using namespace orbis::platform;

constexpr std::string_view kUnit = R"(cpp\Common\src\HardwareAccess)";
constexpr std::uint32_t kTimeOutSeconds = 60;
constexpr std::uint8_t kAtaIdentifyDevice = 0xEC;
constexpr std::uint8_t kAtaReadLogExt = 0x2F;
constexpr std::uint8_t kMakerLogAddress = 0x9A;
constexpr std::size_t kTaskFileCount = 1;
constexpr std::size_t kTaskFileLbaLow = 2;
constexpr std::size_t kTaskFileCommand = 6;  // status when it returns
constexpr std::uint8_t kAtaStatusError = 0x01;
constexpr std::uint8_t kScsiCheckCondition = 0x02;

bool HasData(std::span<const std::uint8_t> data)
{
    return std::any_of(data.begin(), data.end(), [](std::uint8_t byte) { return byte != 0; });
}

// General-purpose logging feature set: IDENTIFY DEVICE word 84 bit 5 (ACS-4, 7.13.6.29).
bool SupportsGeneralPurposeLogging(const Sector& identify) { return (identify[168] & 0x20U) != 0; }

AtaPassThroughDirect MakeAtaRead(std::uint8_t command, Sector& data)
{
    AtaPassThroughDirect request;
    request.length = sizeof(AtaPassThroughDirect);
    request.ataFlags = kAtaFlagsDrdyRequired | kAtaFlagsDataIn;
    request.dataTransferLength = static_cast<std::uint32_t>(data.size());
    request.timeOutValue = kTimeOutSeconds;
    request.dataBuffer = data.data();
    request.currentTaskFile[kTaskFileCommand] = command;
    return request;
}

}  // namespace

DeviceInfoSet HardwareAccess::GetClassDevs(const Guid* classGuid, const char16_t* enumerator, void* parentWindow,
                                           std::uint32_t flags)
{
    Setup& setup = Setup::Current();
    return {setup, setup.ClassDevices(classGuid, enumerator, parentWindow, flags)};
}

std::u16string HardwareAccess::GetDeviceInstanceId(const DeviceInfoSet& deviceInfoSet, std::uint32_t index)
{
    Setup& setup = Setup::Current();
    DeviceInfoData device;
    if (!setup.EnumDeviceInfo(deviceInfoSet.Get(), index, &device)) {
        ThrowWin32(setup.LastError(), kUnit, 35);
    }
    // The size given is 255 bytes, not characters, so ids of more than 126 characters fail and read as empty. Meant so.
    std::array<char16_t, 255> buffer{};
    constexpr std::uint32_t kSize = 255;
    std::uint32_t type = 0;
    std::uint32_t required = 0;
    if (!setup.DeviceProperty(deviceInfoSet.Get(), device, kDeviceInstanceIdKey, &type, buffer.data(), kSize, &required, 0)) {
        return {};
    }
    return {buffer.begin(), std::find(buffer.begin(), buffer.end(), u'\0')};
}

std::u16string HardwareAccess::GetDevicePath(const DeviceInfoSet& deviceInfoSet, std::uint32_t index)
{
    Setup& setup = Setup::Current();
    DeviceInterfaceData interfaceData;
    if (!setup.EnumDeviceInterfaces(deviceInfoSet.Get(), kDiskInterfaceGuid, index, &interfaceData)) {
        ThrowWin32(setup.LastError(), kUnit, 61);
    }
    std::uint32_t required = 0;
    if (setup.DeviceInterfaceDetail(deviceInfoSet.Get(), interfaceData, nullptr, 0, &required)) {
        throw ResultException(hresult::kUnexpected, kUnit, 63);
    }
    if (required == 0) {
        throw ResultException(hresult::kUnexpected, kUnit, 64);
    }
    // Never less than the fixed header, whatever size was answered.
    std::vector<std::uint8_t> detail(std::max(required, kDeviceInterfaceDetailHeaderSize));
    std::memcpy(detail.data(), &kDeviceInterfaceDetailHeaderSize, sizeof(kDeviceInterfaceDetailHeaderSize));
    if (!setup.DeviceInterfaceDetail(deviceInfoSet.Get(), interfaceData, detail.data(), required, &required)) {
        ThrowWin32(setup.LastError(), kUnit, 68);
    }
    std::u16string path((detail.size() - kDeviceInterfaceDetailPathOffset) / sizeof(char16_t), u'\0');
    std::memcpy(path.data(), detail.data() + kDeviceInterfaceDetailPathOffset, path.size() * sizeof(char16_t));
    path.resize(std::min(path.find(u'\0'), path.size()));
    return path;
}

DeviceHandle HardwareAccess::OpenDevice(const std::u16string& path, std::uint32_t access, std::uint32_t share, void* security,
                                        std::uint32_t disposition, std::uint32_t flags, NativeHandle templateFile)
{
    DeviceIo& devices = DeviceIo::Current();
    return {devices, devices.Open(path.c_str(), access, share, security, disposition, flags, templateFile)};
}

bool HardwareAccess::DeviceControl(const DeviceHandle& device, std::uint32_t code, void* in, std::uint32_t inSize, void* out,
                                   std::uint32_t outSize, std::uint32_t* returned, void* overlapped)
{
    return DeviceIo::Current().Control(device.Get(), code, in, inSize, out, outSize, returned, overlapped);
}

std::vector<BasicDiskInfo> HardwareAccess::GetAllBasicDiskInfo(const MediaTypeList& mediaTypes)
{
    std::vector<BasicDiskInfo> disks;
    try {
        for (std::uint32_t index = 0;; ++index) {
            disks.push_back(GetBasicDiskInfo(index, mediaTypes));
        }
    } catch (const std::exception&) {
        // Normally the end of the enumeration. Any other failure ends the walk just as silently and hides the disks behind it;
        // meant so.
        return disks;
    }
}

BasicDiskInfo HardwareAccess::GetBasicDiskInfo(std::uint32_t index, const MediaTypeList& mediaTypes)
{
    const DeviceInfoSet set = GetClassDevs(&kDiskInterfaceGuid, nullptr, nullptr, kDigcfPresent | kDigcfDeviceInterface);
    if (!set.IsValid()) {
        ThrowWin32(Setup::Current().LastError(), kUnit, 116);
    }
    BasicDiskInfo disk;
    disk.devicePath = GetDevicePath(set, index);
    if (disk.devicePath.empty()) {
        throw ResultException(hresult::kUnexpected, kUnit, 121);
    }
    disk.instanceId = GetDeviceInstanceId(set, index);
    disk.physicalDriveNumber = GetDeviceNumber(disk.devicePath);
    disk.physicalDrivePath = MakePhysicalDrivePath(disk.physicalDriveNumber);
    const auto mediaType = std::find_if(mediaTypes.begin(), mediaTypes.end(),
                                        [&](const auto& pair) { return pair.first == disk.physicalDriveNumber; });
    disk.mediaType = mediaType == mediaTypes.end() ? DiskDriveMediaType::Unspecified : mediaType->second;
    disk.index = index;
    return disk;
}

std::uint32_t HardwareAccess::GetDeviceNumber(const std::u16string& devicePath)
{
    const DeviceHandle device = OpenOrRaise(devicePath, kGenericRead, kUnit, 48);
    StorageDeviceNumber number;
    std::uint32_t returned = 0;
    if (!DeviceControl(device, kIoctlStorageGetDeviceNumber, nullptr, 0, &number, sizeof(number), &returned, nullptr)) {
        ThrowWin32(DeviceIo::Current().LastError(), kUnit, 51);
    }
    if (returned != sizeof(number)) {
        throw ResultException(hresult::kUnexpected, kUnit, 52);
    }
    return number.deviceNumber;
}

std::uint64_t HardwareAccess::GetDiskSizeInMegaBytes(std::uint32_t physicalDriveNumber)
{
    const DeviceHandle device = OpenOrRaise(MakePhysicalDrivePath(physicalDriveNumber), kGenericRead | kGenericWrite, kUnit, 446);
    DiskGeometry geometry;
    std::uint32_t returned = 0;
    if (!DeviceControl(device, kIoctlDiskGetDriveGeometry, nullptr, 0, &geometry, sizeof(geometry), &returned, nullptr)) {
        ThrowWin32(DeviceIo::Current().LastError(), kUnit, 449);
    }
    const std::uint64_t bytes = static_cast<std::uint64_t>(geometry.cylinders) * geometry.tracksPerCylinder *
                                geometry.sectorsPerTrack * geometry.bytesPerSector;
    return bytes >> 20U;
}

std::optional<Sector> HardwareAccess::ReadIdentifyData(const std::u16string& path)
{
    Sector data{};
    if (IdentifyByAta(path, data) || IdentifyByScsi(path, data)) {
        return data;
    }
    return std::nullopt;
}

std::optional<Sector> HardwareAccess::ReadLogPage9A(const std::u16string& path)
{
    try {
        Sector data{};
        if (LogPage9AByAta(path, data) || LogPage9AByScsi(path, data)) {
            return data;
        }
    } catch (const std::exception&) {
        // A page that cannot be asked for is a page that is not there. As with IDENTIFY DEVICE, a raised failure of the first way
        // does not reach the second.
    }
    return std::nullopt;
}

bool HardwareAccess::ProbeScsiInquiry(const std::u16string& path)
{
    const DeviceHandle device = OpenOrRaise(path, kGenericRead | kGenericWrite, kUnit, 237);
    alignas(Sector) std::array<std::uint8_t, 36> data{};
    constexpr std::array<std::uint8_t, 6> kInquiry{0x12, 0, 0, 0, 36, 0};
    ScsiRequest request = MakeScsiRead(kInquiry, data);
    std::uint32_t returned = 0;
    if (!DeviceControl(device, kIoctlScsiPassThroughDirect, &request, sizeof(request), &request, sizeof(request), &returned,
                       nullptr)) {
        ThrowWin32(DeviceIo::Current().LastError(), kUnit, 251);
    }
    return (request.passThrough.scsiStatus & kScsiCheckCondition) == 0 && HasData(data);
}

std::string HardwareAccess::GetModelFromIdentify(const std::u16string& path)
{
    try {
        if (const auto identify = ReadIdentifyData(path)) {
            return DecodeAtaString(std::span(*identify).subspan<54, 40>());
        }
    } catch (const std::exception&) {
        // A drive that does not tell its model has none here.
    }
    return {};
}

std::string HardwareAccess::GetStringFromLogPage9A(const std::u16string& path)
{
    try {
        if (const auto page = ReadLogPage9A(path)) {
            return DecodeAtaString(std::span(*page).first<20>());
        }
    } catch (const std::exception&) {
        // As above.
    }
    return {};
}

std::string HardwareAccess::DecodeAtaString(std::span<const std::uint8_t> field)
{
    std::string text(field.begin(), field.end());
    for (std::size_t at = 0; at + 1 < text.size(); at += 2) {
        std::swap(text[at], text[at + 1]);
    }
    return text;
}

std::u16string HardwareAccess::MakePhysicalDrivePath(std::uint32_t physicalDriveNumber)
{
    const std::string number = std::to_string(physicalDriveNumber);
    return std::u16string(uR"(\\.\PhysicalDrive)").append(number.begin(), number.end());
}

HardwareAccess::ScsiRequest HardwareAccess::MakeScsiRead(std::span<const std::uint8_t> cdb, std::span<std::uint8_t> data)
{
    ScsiRequest request;
    request.passThrough.length = sizeof(ScsiPassThroughDirect);
    request.passThrough.cdbLength = static_cast<std::uint8_t>(cdb.size());
    request.passThrough.senseInfoLength = sizeof(request.sense);
    request.passThrough.dataIn = kScsiIoctlDataIn;
    request.passThrough.dataTransferLength = static_cast<std::uint32_t>(data.size());
    request.passThrough.timeOutValue = kTimeOutSeconds;
    request.passThrough.dataBuffer = data.data();
    request.passThrough.senseInfoOffset = offsetof(ScsiRequest, sense);
    std::copy(cdb.begin(), cdb.end(), request.passThrough.cdb.begin());
    return request;
}

std::array<std::uint8_t, 16> HardwareAccess::MakeAtaPassThrough16(std::uint8_t features, std::uint8_t lbaLow, std::uint8_t lbaMid,
                                                                  std::uint8_t lbaHigh, std::uint8_t command)
{
    std::array<std::uint8_t, 16> cdb{};
    cdb[0] = 0x85;
    cdb[1] = 0x08;  // PIO data-in
    cdb[2] = 0x0E;  // from the device, in blocks, length in the sector count
    cdb[4] = features;
    cdb[6] = 1;  // sector count
    cdb[8] = lbaLow;
    cdb[10] = lbaMid;
    cdb[12] = lbaHigh;
    cdb[14] = command;
    return cdb;
}

DeviceHandle HardwareAccess::OpenOrRaise(const std::u16string& path, std::uint32_t access, std::string_view unit, std::int32_t line)
{
    DeviceHandle device = OpenDevice(path, access, kFileShareRead | kFileShareWrite, nullptr, kOpenExisting, 0, 0);
    if (!device.IsValid()) {
        ThrowWin32(DeviceIo::Current().LastError(), unit, line);
    }
    return device;
}

bool HardwareAccess::IdentifyByAta(const std::u16string& path, Sector& data)
{
    const DeviceHandle device = OpenOrRaise(path, kGenericRead | kGenericWrite, kUnit, 161);
    data.fill(0);
    AtaPassThroughDirect request = MakeAtaRead(kAtaIdentifyDevice, data);
    std::uint32_t returned = 0;
    if (!DeviceControl(device, kIoctlAtaPassThroughDirect, &request, sizeof(request), &request, sizeof(request), &returned,
                       nullptr)) {
        ThrowWin32(DeviceIo::Current().LastError(), kUnit, 173);
    }
    return HasData(data);
}

bool HardwareAccess::IdentifyByScsi(const std::u16string& path, Sector& data)
{
    const DeviceHandle device = OpenOrRaise(path, kGenericRead | kGenericWrite, kUnit, 200);
    data.fill(0);
    ScsiRequest request = MakeScsiRead(MakeAtaPassThrough16(0, 0, 0, 0, kAtaIdentifyDevice), data);
    std::uint32_t returned = 0;
    if (!DeviceControl(device, kIoctlScsiPassThroughDirect, &request, sizeof(request), &request, sizeof(request), &returned,
                       nullptr)) {
        ThrowWin32(DeviceIo::Current().LastError(), kUnit, 223);
    }
    // The SCSI status is not looked at here; data that came counts.
    return HasData(data);
}

bool HardwareAccess::LogPage9AByAta(const std::u16string& path, Sector& data)
{
    if (!IdentifyByAta(path, data) || !SupportsGeneralPurposeLogging(data)) {
        return false;
    }
    const DeviceHandle device = OpenOrRaise(path, kGenericRead | kGenericWrite, kUnit, 286);
    data.fill(0);
    AtaPassThroughDirect request = MakeAtaRead(kAtaReadLogExt, data);
    request.currentTaskFile[kTaskFileCount] = 1;
    request.currentTaskFile[kTaskFileLbaLow] = kMakerLogAddress;
    std::uint32_t returned = 0;
    if (!DeviceControl(device, kIoctlAtaPassThroughDirect, &request, sizeof(request), &request, sizeof(request), &returned,
                       nullptr)) {
        ThrowWin32(DeviceIo::Current().LastError(), kUnit, 299);
    }
    return (request.currentTaskFile[kTaskFileCommand] & kAtaStatusError) == 0 && HasData(data);
}

bool HardwareAccess::LogPage9AByScsi(const std::u16string& path, Sector& data)
{
    if (!IdentifyByScsi(path, data) || !SupportsGeneralPurposeLogging(data)) {
        return false;
    }
    const DeviceHandle device = OpenOrRaise(path, kGenericRead | kGenericWrite, kUnit, 347);
    data.fill(0);
    ScsiRequest request = MakeScsiRead(MakeAtaPassThrough16(0, kMakerLogAddress, 0, 0, kAtaReadLogExt), data);
    std::uint32_t returned = 0;
    if (!DeviceControl(device, kIoctlScsiPassThroughDirect, &request, sizeof(request), &request, sizeof(request), &returned,
                       nullptr)) {
        ThrowWin32(DeviceIo::Current().LastError(), kUnit, 365);
    }
    return (request.passThrough.scsiStatus & kScsiCheckCondition) == 0 && HasData(data);
}

}  // namespace Veyra::Orbis::Cpp::Common::HardwareAccessLib
