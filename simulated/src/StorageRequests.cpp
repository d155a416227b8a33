// Requests of the disk class driver: device number, geometry, descriptors, partition tables, performance.
#include <algorithm>
#include <array>
#include <limits>

#include "Activity.h"
#include "DeviceRequests.h"

namespace orbis::simulated {
namespace {

namespace win32 = platform::win32;

constexpr std::uint32_t kTracksPerCylinder = 255;
constexpr std::uint32_t kSectorsPerTrack = 63;
constexpr std::uint32_t kFixedMedia = 12;
constexpr std::uint32_t kRemovableMedia = 11;
constexpr std::uint32_t kFileDeviceCdRom = 2;
constexpr std::size_t kPropertyQuerySize = 12;  // sizeof STORAGE_PROPERTY_QUERY
constexpr std::size_t kDescriptorHeader = 8;    // STORAGE_DESCRIPTOR_HEADER
constexpr double kTicksPerSecond = 1e7;         // of 100 ns

// A counter of the driver, which holds no more than its type does.
std::int64_t Whole(double value)
{
    return value < 9.2e18 ? static_cast<std::int64_t>(value) : std::numeric_limits<std::int64_t>::max();
}

Reply DeviceNumber(const Target& target, const Request& request)
{
    platform::StorageDeviceNumber number;
    if (request.outputSize < sizeof(number)) {
        return Reply::Error(win32::kInsufficientBuffer);
    }
    number.deviceType = target.disk != nullptr ? platform::kFileDeviceDisk : kFileDeviceCdRom;
    number.deviceNumber = target.disk != nullptr ? target.disk->number : 0;
    number.partitionNumber = target.volume != nullptr ? target.volume->partitionNumber : target.disk != nullptr ? 0 : 0xFFFFFFFF;
    return Reply::Of(number);
}

Reply Geometry(const Target& target, const Request& request)
{
    platform::DiskGeometry geometry;
    if (request.outputSize < sizeof(geometry)) {
        return Reply::Error(win32::kInsufficientBuffer);
    }
    const DiskModel& disk = *target.disk;
    const std::uint64_t sectors = disk.description->size() / disk.sectorSize;
    geometry.cylinders = static_cast<std::int64_t>(sectors / kTracksPerCylinder / kSectorsPerTrack);
    geometry.mediaType = disk.removable ? kRemovableMedia : kFixedMedia;
    geometry.tracksPerCylinder = kTracksPerCylinder;
    geometry.sectorsPerTrack = kSectorsPerTrack;
    geometry.bytesPerSector = disk.sectorSize;
    return Reply::Of(geometry);
}

// STORAGE_ADAPTER_DESCRIPTOR as far as bus type and limits.
ByteVector AdapterDescriptor(const DiskModel& disk)
{
    PageWriter page(32);
    page.Put32(0, 32).Put32(4, 32);
    page.Put32(8, 0x100000).Put32(12, 257);  // longest transfer in bytes and pages
    page.Put8(24, disk.busType);
    page.Put16(26, 2);
    return page.Take();
}

Reply QueryProperty(const Target& target, const Request& request)
{
    if (request.input.size() < kPropertyQuerySize) {
        return Reply::Error(win32::kBadLength);
    }
    const auto query = request.As<platform::StoragePropertyQueryHead>().value_or(platform::StoragePropertyQueryHead{});
    const bool isProtocol = query.propertyId == platform::kStorageAdapterProtocolSpecificProperty ||
                            query.propertyId == platform::kStorageDeviceProtocolSpecificProperty;
    const bool isDescriptor =
        query.propertyId == platform::kStorageDeviceProperty || query.propertyId == platform::kStorageAdapterProperty;
    if (!isProtocol && !isDescriptor) {
        return Reply::Error(win32::kInvalidFunction);
    }
    if (query.queryType == platform::kPropertyExistsQuery) {
        return Reply::Output({});
    }
    if (query.queryType != platform::kPropertyStandardQuery) {
        return Reply::Error(win32::kNotSupported);
    }
    if (isProtocol) {
        return QueryProtocolProperty(target, request);
    }
    if (request.outputSize < kDescriptorHeader) {
        return Reply::Error(win32::kInsufficientBuffer);
    }
    // A short buffer gets the beginning: its header tells the whole size.
    return Reply::Output(query.propertyId == platform::kStorageDeviceProperty ? target.disk->descriptor
                                                                              : AdapterDescriptor(*target.disk));
}

Reply DriveLayout(const Target& target, const Request& request)
{
    if (target.volume != nullptr) {
        return Reply::Error(win32::kInvalidFunction);
    }
    return request.outputSize < target.disk->layout.size() ? Reply::Error(win32::kInsufficientBuffer)
                                                           : Reply::Output(target.disk->layout);
}

Reply PartitionInformation(const Target& target, const Request& request)
{
    const ByteVector& information = target.volume != nullptr ? target.volume->partitionInformation : target.disk->wholeDisk;
    return request.outputSize < information.size() ? Reply::Error(win32::kInsufficientBuffer) : Reply::Output(information);
}

Reply Performance(const Target& target, const Request& request)
{
    platform::DiskPerformance performance;
    if (request.outputSize < sizeof(performance)) {
        return Reply::Error(win32::kInsufficientBuffer);
    }
    const ActivityTotals totals = TotalsAt(*target.disk, request.now);
    const double share = target.volume != nullptr ? target.volume->activityShare : 1.0;
    performance.bytesRead = Whole(totals.bytesRead * share);
    performance.bytesWritten = Whole(totals.bytesWritten * share);
    performance.readTime = Whole(totals.readSeconds * share * kTicksPerSecond);
    performance.writeTime = Whole(totals.writeSeconds * share * kTicksPerSecond);
    performance.idleTime = Whole(totals.idleSeconds * kTicksPerSecond);
    performance.readCount = static_cast<std::uint32_t>(Whole(totals.reads * share));
    performance.writeCount = static_cast<std::uint32_t>(Whole(totals.writes * share));
    performance.queryTime = Whole(request.now * kTicksPerSecond);
    performance.storageDeviceNumber = target.disk->number;
    performance.storageManagerName = target.volume != nullptr
                                         ? std::array<char16_t, 8>{u'V', u'o', u'l', u'm', u'g', u'r'}
                                         : std::array<char16_t, 8>{u'P', u'h', u'y', u's', u'D', u'i', u's', u'k'};
    return Reply::Of(performance);
}

struct Handler {
    std::uint32_t code;
    Reply (*answer)(const Target& target, const Request& request);
};
constexpr std::array<Handler, 9> kHandlers{{
    {platform::kIoctlStorageGetDeviceNumber, DeviceNumber},
    {platform::kIoctlDiskGetDriveGeometry, Geometry},
    {platform::kIoctlStorageQueryProperty, QueryProperty},
    {platform::kIoctlStorageProtocolCommand, ProtocolCommand},
    {platform::kIoctlAtaPassThroughDirect, AtaPassThrough},
    {platform::kIoctlScsiPassThroughDirect, ScsiPassThrough},
    {platform::kIoctlDiskGetDriveLayoutEx, DriveLayout},
    {platform::kIoctlDiskGetPartitionInfoEx, PartitionInformation},
    {platform::kIoctlDiskPerformance, Performance},
}};

}  // namespace

Reply AnswerRequest(const Target& target, const Request& request)
{
    const auto handler =
        std::find_if(kHandlers.begin(), kHandlers.end(), [&](const Handler& known) { return known.code == request.code; });
    if (handler == kHandlers.end()) {
        return Reply::Error(win32::kInvalidFunction);
    }
    if (target.disk == nullptr) {
        const bool isNumber = request.code == platform::kIoctlStorageGetDeviceNumber && target.looseVolume != nullptr;
        return isNumber ? DeviceNumber(target, request)
                        : Reply::Error(target.looseVolume != nullptr ? win32::kNotReady : win32::kInvalidFunction);
    }
    return handler->answer(target, request);
}

}  // namespace orbis::simulated
