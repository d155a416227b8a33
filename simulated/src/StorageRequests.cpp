// Requests of the disk class driver: device number, geometry, descriptors, partition tables, performance.
#include <algorithm>
#include <array>
#include <limits>

#include "Activity.h"
#include "DeviceRequests.h"
#include "emulated/Control.h"

namespace orbis::simulated {
namespace {

namespace win32 = platform::win32;

constexpr std::uint32_t kFileDeviceCdRom = 2;
constexpr double kTicksPerSecond = 1e7;  // of 100 ns

// A counter of the driver, limited to the range of its type.
std::int64_t Whole(double value)
{
    return value < 9.2e18 ? static_cast<std::int64_t>(value) : std::numeric_limits<std::int64_t>::max();
}

// An answer that is given as a whole or not at all.
Reply Fitting(const Request& request, Reply reply)
{
    return request.outputSize < reply.output.size() ? Reply::Error(win32::kInsufficientBuffer) : std::move(reply);
}

Reply DeviceNumber(const Target& target, const Request& request)
{
    platform::StorageDeviceNumber number;
    number.deviceType = target.disk != nullptr ? platform::kFileDeviceDisk : kFileDeviceCdRom;
    number.deviceNumber = target.disk != nullptr ? target.disk->number : 0;
    number.partitionNumber = target.volume != nullptr ? target.volume->partitionNumber : target.disk != nullptr ? 0 : 0xFFFFFFFF;
    return Fitting(request, Reply::Of(number));
}

Reply Geometry(const Target& target, const Request& request)
{
    const DiskModel& disk = *target.disk;
    return Fitting(request,
                   Reply::Of(platform::emulated::LargeDiskGeometry(disk.description->size(), disk.sectorSize, disk.removable)));
}

Reply QueryProperty(const Target& target, const Request& request)
{
    const DiskModel& disk = *target.disk;
    const auto query = request.As<platform::StoragePropertyQueryHead>().value_or(platform::StoragePropertyQueryHead{});
    if (const auto error = platform::emulated::CheckPropertyQuery(query, request.input.size(), disk.traits->isNvme)) {
        return Reply::Error(*error);
    }
    if (platform::emulated::IsProtocolProperty(query)) {
        return QueryProtocolProperty(target, request);
    }
    if (request.outputSize < platform::emulated::kShortestDescriptor) {
        return Reply::Error(win32::kInsufficientBuffer);
    }
    if (query.propertyId == platform::kStorageDeviceProperty) {
        return Reply::Output(disk.descriptor);
    }
    const auto adapter = platform::emulated::AdapterDescriptor(static_cast<platform::BusType>(disk.busType));
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(adapter.data());
    return Reply::Output({bytes, bytes + adapter.size()});
}

Reply DriveLayout(const Target& target, const Request& request)
{
    if (target.volume != nullptr) {
        return Reply::Error(win32::kInvalidFunction);
    }
    return Fitting(request, Reply::Output(target.disk->layout));
}

Reply PartitionInformation(const Target& target, const Request& request)
{
    return Fitting(request, Reply::Output(target.volume != nullptr ? target.volume->partitionInformation : target.disk->wholeDisk));
}

Reply Performance(const Target& target, const Request& request)
{
    platform::DiskPerformance performance;
    const ActivityTotals totals = TotalsAt(*target.disk, request.now);
    const double share = target.volume != nullptr ? target.volume->activityShare : 1.0;
    performance.bytesRead = Whole(totals.bytesRead * share);
    performance.bytesWritten = Whole(totals.bytesWritten * share);
    performance.readTime = Whole(totals.readTime * share * kTicksPerSecond);
    performance.writeTime = Whole(totals.writeTime * share * kTicksPerSecond);
    performance.idleTime = Whole(totals.idleTime * kTicksPerSecond);
    performance.readCount = static_cast<std::uint32_t>(Whole(totals.reads * share));
    performance.writeCount = static_cast<std::uint32_t>(Whole(totals.writes * share));
    performance.queryTime = Whole(request.now * kTicksPerSecond);
    performance.storageDeviceNumber = target.disk->number;
    performance.storageManagerName =
        target.volume != nullptr ? platform::emulated::kVolumeManager : platform::emulated::kDiskManager;
    return Fitting(request, Reply::Of(performance));
}

struct Handler {
    std::uint32_t code;
    Reply (*answer)(const Target& target, const Request& request);
    bool needsMedium = false;
};
constexpr std::array<Handler, 9> kHandlers{{
    {platform::kIoctlStorageGetDeviceNumber, DeviceNumber},
    {platform::kIoctlDiskGetDriveGeometry, Geometry, true},
    {platform::kIoctlStorageQueryProperty, QueryProperty},
    {platform::kIoctlStorageProtocolCommand, ProtocolCommand},
    {platform::kIoctlAtaPassThroughDirect, AtaPassThrough},
    {platform::kIoctlScsiPassThroughDirect, ScsiPassThrough},
    {platform::kIoctlDiskGetDriveLayoutEx, DriveLayout, true},
    {platform::kIoctlDiskGetPartitionInfoEx, PartitionInformation, true},
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
        // An optical drive has a number and a geometry; its driver does not support partitions and performance counts.
        const bool isLetter = target.looseVolume != nullptr;
        return isLetter && request.code == platform::kIoctlStorageGetDeviceNumber ? DeviceNumber(target, request)
               : isLetter && request.code == platform::kIoctlDiskGetDriveGeometry ? Reply::Error(win32::kNotReady)
                                                                                  : Reply::Error(win32::kInvalidFunction);
    }
    // The class driver reads the capacity first and finds STATUS_NO_MEDIA_IN_DEVICE.
    if (handler->needsMedium && target.disk->description->no_medium()) {
        return Reply::Error(win32::kNotReady);
    }
    return handler->answer(target, request);
}

}  // namespace orbis::simulated
