#include "Common/HardwareAccess.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <exception>

#include "Common/ResultException.h"
#include "platform/Errors.h"
#include "platform/protocol/Ata.h"
#include "platform/protocol/Scsi.h"

namespace Veyra::Orbis::Cpp::Common::HardwareAccessLib {
namespace {

using namespace orbis::platform;
namespace ata = orbis::protocol::ata;
namespace scsi = orbis::protocol::scsi;

// Failures have fixed line numbers, because support quotes them; they are not lines of this file. All lines of this unit are
// documented.
constexpr std::string_view kHardwareUnit = R"(cpp\Common\src\HardwareAccess)";
constexpr std::uint32_t kTimeOutSeconds = 60;
constexpr std::uint32_t kReadWrite = kGenericRead | kGenericWrite;

// The buffer of a SCSI pass-through request: the structure, then the sense area at offset 64; 128 bytes in and out.
struct ScsiRequest {
    ScsiPassThroughDirect passThrough;
    std::array<std::uint8_t, 8> gap{};
    std::array<std::uint8_t, 64> sense{};
};
static_assert(sizeof(ScsiRequest) == 128 && offsetof(ScsiRequest, sense) == 64);

// General-purpose logging feature set: IDENTIFY DEVICE word 84 bit 5 (ACS-4, 7.13.6.29).
bool SupportsGeneralPurposeLogging(const Sector& identify) { return (identify[168] & 0x20U) != 0; }

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
        ThrowWin32(setup.LastError(), kHardwareUnit, 35);
    }
    // Intentional: the size given is 255 bytes, not characters, so ids of more than 126 characters fail and read as empty.
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
        ThrowWin32(setup.LastError(), kHardwareUnit, 61);
    }
    std::uint32_t required = 0;
    if (setup.DeviceInterfaceDetail(deviceInfoSet.Get(), interfaceData, nullptr, 0, &required)) {
        throw ResultException(hresult::kUnexpected, kHardwareUnit, 63);
    }
    if (required == 0) {
        throw ResultException(hresult::kUnexpected, kHardwareUnit, 64);
    }
    // At least the size of the fixed header, even if the call returned less.
    std::vector<std::uint8_t> detail(std::max(required, kDeviceInterfaceDetailHeaderSize));
    std::memcpy(detail.data(), &kDeviceInterfaceDetailHeaderSize, sizeof(kDeviceInterfaceDetailHeaderSize));
    if (!setup.DeviceInterfaceDetail(deviceInfoSet.Get(), interfaceData, detail.data(), required, &required)) {
        ThrowWin32(setup.LastError(), kHardwareUnit, 68);
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
        // Normally the end of the enumeration. Intentional: any other failure also ends the walk silently and hides the disks after
        // it.
        return disks;
    }
}

BasicDiskInfo HardwareAccess::GetBasicDiskInfo(std::uint32_t index, const MediaTypeList& mediaTypes)
{
    const DeviceInfoSet set = GetClassDevs(&kDiskInterfaceGuid, nullptr, nullptr, kDigcfPresent | kDigcfDeviceInterface);
    if (!set.IsValid()) {
        ThrowWin32(Setup::Current().LastError(), kHardwareUnit, 116);
    }
    BasicDiskInfo disk;
    disk.devicePath = GetDevicePath(set, index);
    if (disk.devicePath.empty()) {
        throw ResultException(hresult::kUnexpected, kHardwareUnit, 121);
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
    StorageDeviceNumber number;
    const std::uint32_t returned = Ask(devicePath, kGenericRead, kIoctlStorageGetDeviceNumber, number, {kHardwareUnit, 48, 51});
    if (returned != sizeof(number)) {
        throw ResultException(hresult::kUnexpected, kHardwareUnit, 52);
    }
    return number.deviceNumber;
}

std::uint64_t HardwareAccess::GetDiskSizeInMegaBytes(std::uint32_t physicalDriveNumber)
{
    DiskGeometry geometry;
    Ask(MakePhysicalDrivePath(physicalDriveNumber), kReadWrite, kIoctlDiskGetDriveGeometry, geometry, {kHardwareUnit, 446, 449});
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
    for (const auto read : {&HardwareAccess::LogPage9AByAta, &HardwareAccess::LogPage9AByScsi}) {
        try {
            Sector data{};
            if ((this->*read)(path, data)) {
                return data;
            }
        } catch (const std::exception&) {
            // A page that cannot be read in this way may be readable in the other way.
        }
    }
    return std::nullopt;
}

bool HardwareAccess::ProbeScsiInquiry(const std::u16string& path)
{
    alignas(Sector) std::array<std::uint8_t, 36> data{};
    constexpr std::array<std::uint8_t, 6> kInquiry{scsi::kInquiry, 0, 0, 0, data.size(), 0};
    return (ReadByScsi(path, kInquiry, data, {kHardwareUnit, 237, 251}) & scsi::kCheckCondition) == 0 && HasData(data);
}

std::string HardwareAccess::GetModelFromIdentify(const std::u16string& path)
{
    try {
        if (const auto identify = ReadIdentifyData(path)) {
            return DecodeAtaString(std::span(*identify).subspan<54, 40>());
        }
    } catch (const std::exception&) {
        // A drive whose IDENTIFY data cannot be read has no model here.
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
        // A drive whose log page cannot be read has no text here.
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

DeviceHandle HardwareAccess::OpenOrRaise(const std::u16string& path, std::uint32_t access, std::string_view unit, std::int32_t line)
{
    DeviceHandle device = OpenDevice(path, access, kFileShareRead | kFileShareWrite, nullptr, kOpenExisting, 0, 0);
    if (!device.IsValid()) {
        ThrowWin32(DeviceIo::Current().LastError(), unit, line);
    }
    return device;
}

std::uint32_t HardwareAccess::Send(const std::u16string& path, std::uint32_t access, std::uint32_t code, void* in,
                                   std::uint32_t inSize, void* out, std::uint32_t outSize, const FailureSite& site)
{
    const DeviceHandle device = OpenOrRaise(path, access, site.unit, site.openLine);
    std::uint32_t returned = 0;
    if (!DeviceControl(device, code, in, inSize, out, outSize, &returned, nullptr)) {
        ThrowWin32(DeviceIo::Current().LastError(), site.unit, site.controlLine);
    }
    return returned;
}

std::uint8_t HardwareAccess::ReadByScsi(const std::u16string& path, std::span<const std::uint8_t> cdb, std::span<std::uint8_t> data,
                                        const FailureSite& site)
{
    std::ranges::fill(data, std::uint8_t{0});
    ScsiRequest request;
    request.passThrough.length = sizeof(ScsiPassThroughDirect);
    request.passThrough.cdbLength = static_cast<std::uint8_t>(cdb.size());
    request.passThrough.senseInfoLength = sizeof(request.sense);
    request.passThrough.dataIn = kScsiIoctlDataIn;
    request.passThrough.dataTransferLength = static_cast<std::uint32_t>(data.size());
    request.passThrough.timeOutValue = kTimeOutSeconds;
    request.passThrough.dataBuffer = data.data();
    request.passThrough.senseInfoOffset = offsetof(ScsiRequest, sense);
    std::ranges::copy(cdb, request.passThrough.cdb.begin());
    Send(path, kReadWrite, kIoctlScsiPassThroughDirect, &request, sizeof(request), &request, sizeof(request), site);
    return request.passThrough.scsiStatus;
}

std::array<std::uint8_t, 16> HardwareAccess::MakeAtaPassThrough16(std::uint8_t features, std::uint8_t lbaLow, std::uint8_t lbaMid,
                                                                  std::uint8_t lbaHigh, std::uint8_t command)
{
    namespace ata16 = scsi::ata_pass_through;
    std::array<std::uint8_t, 16> cdb{};
    cdb[0] = scsi::kAtaPassThrough16;
    cdb[1] = ata16::kPioDataIn << 1U;
    cdb[2] = ata16::kFromDevice | ata16::kBlocks | ata16::kLengthInCount;
    cdb[ata16::kFeatures16] = features;
    cdb[ata16::kCount16] = 1;
    cdb[ata16::kLbaLow16] = lbaLow;
    cdb[ata16::kLbaMid16] = lbaMid;
    cdb[ata16::kLbaHigh16] = lbaHigh;
    cdb[ata16::kCommand16] = command;
    return cdb;
}

bool HardwareAccess::HasData(std::span<const std::uint8_t> data)
{
    return std::ranges::any_of(data, [](std::uint8_t byte) { return byte != 0; });
}

std::uint8_t HardwareAccess::ReadByAta(const std::u16string& path, std::uint8_t command, std::uint8_t count, std::uint8_t lbaLow,
                                       Sector& data, const FailureSite& site)
{
    data.fill(0);
    AtaPassThroughDirect request;
    request.length = sizeof(request);
    request.ataFlags = kAtaFlagsDrdyRequired | kAtaFlagsDataIn;
    request.dataTransferLength = static_cast<std::uint32_t>(data.size());
    request.timeOutValue = kTimeOutSeconds;
    request.dataBuffer = data.data();
    request.currentTaskFile[ata::task_file::kCount] = count;
    request.currentTaskFile[ata::task_file::kLbaLow] = lbaLow;
    request.currentTaskFile[ata::task_file::kCommand] = command;
    Send(path, kReadWrite, kIoctlAtaPassThroughDirect, &request, sizeof(request), &request, sizeof(request), site);
    return request.currentTaskFile[ata::task_file::kStatus];
}

// Intentional: neither way checks the status of IDENTIFY DEVICE, only whether data arrived.
bool HardwareAccess::IdentifyByAta(const std::u16string& path, Sector& data)
{
    static_cast<void>(ReadByAta(path, ata::kIdentifyDevice, 0, 0, data, {kHardwareUnit, 161, 173}));
    return HasData(data);
}

bool HardwareAccess::IdentifyByScsi(const std::u16string& path, Sector& data)
{
    static_cast<void>(ReadByScsi(path, MakeAtaPassThrough16(0, 0, 0, 0, ata::kIdentifyDevice), data, {kHardwareUnit, 200, 223}));
    return HasData(data);
}

bool HardwareAccess::LogPage9AByAta(const std::u16string& path, Sector& data)
{
    return IdentifyByAta(path, data) && SupportsGeneralPurposeLogging(data) &&
           (ReadByAta(path, ata::kReadLogExt, 1, ata::kPartIdentifierLog, data, {kHardwareUnit, 286, 299}) & ata::kStatusError) ==
               0 &&
           HasData(data);
}

bool HardwareAccess::LogPage9AByScsi(const std::u16string& path, Sector& data)
{
    const auto readLog = MakeAtaPassThrough16(0, ata::kPartIdentifierLog, 0, 0, ata::kReadLogExt);
    return IdentifyByScsi(path, data) && SupportsGeneralPurposeLogging(data) &&
           (ReadByScsi(path, readLog, data, {kHardwareUnit, 347, 365}) & scsi::kCheckCondition) == 0 && HasData(data);
}

}  // namespace Veyra::Orbis::Cpp::Common::HardwareAccessLib
