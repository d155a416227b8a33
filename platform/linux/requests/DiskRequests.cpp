#include <algorithm>
#include <cerrno>
#include <string_view>

#include "linux/disks/DiskStats.h"
#include "linux/requests/Requests.h"
#include "linux/volumes/PartitionTable.h"
#include "platform/Errors.h"
#include "platform/Requests.h"

namespace orbis::platform::linux_system {
namespace {

// Returns nullopt and sets errno when it cannot be determined.
std::optional<PartitionTable> TableOf(const Machine& machine, const Target& target, int descriptor)
{
    if (descriptor >= 0) {
        return ReadPartitionTable(descriptor, target.disk);
    }
    std::optional<PartitionTable> table = KnownPartitionTable(machine.roots, target.disk);
    errno = EACCES;
    return table;
}

}  // namespace

Win32Error GetDeviceNumber(const Target& target, ControlBuffers& buffers)
{
    return buffers.AnswerWhole(StorageDeviceNumber{kFileDeviceDisk, target.disk.number, target.PartitionNumber()});
}

Win32Error GetDriveGeometry(const Target& target, ControlBuffers& buffers)
{
    const Disk& disk = target.disk;
    return buffers.AnswerWhole(emulated::LargeDiskGeometry(disk.bytes, disk.bytesPerSector, disk.isRemovable));
}

Win32Error GetDescriptor(const Target& target, bool ofAdapter, ControlBuffers& buffers)
{
    const Disk& disk = target.disk;
    const bool hasVendor = disk.vendor != "ATA" && disk.vendor != "NVMe";
    std::vector<std::byte> descriptor =
        ofAdapter ? emulated::AdapterDescriptor(disk.busType)
                  : emulated::DeviceDescriptor({disk.busType, disk.isRemovable, hasVendor ? disk.vendor : std::string_view(),
                                                disk.model, disk.firmwareRevision, disk.serial});
    if (buffers.out.size() < emulated::kShortestDescriptor) {
        return win32::kInsufficientBuffer;
    }
    descriptor.resize(std::min(descriptor.size(), buffers.out.size()));
    buffers.returned = static_cast<std::uint32_t>(descriptor.size());
    return buffers.AnswerBytes(descriptor, 0) ? win32::kSuccess : win32::kInsufficientBuffer;
}

Win32Error GetDiskPerformance(const Machine& machine, const Target& target, ControlBuffers& buffers)
{
    constexpr std::int64_t kTicksPerMillisecond = 10000;  // of 100 ns
    const std::optional<DiskStats> stats = ReadDiskStats(machine.roots, target.BlockName());
    if (!stats) {
        return win32::kNoSuchDevice;
    }
    const auto ticks = [](std::uint64_t milliseconds) { return static_cast<std::int64_t>(milliseconds) * kTicksPerMillisecond; };
    const auto uptime = std::chrono::duration_cast<std::chrono::milliseconds>(MonotonicClock(machine.calls)).count();
    DiskPerformance performance{.bytesRead = static_cast<std::int64_t>(stats->readBytes),
                                .bytesWritten = static_cast<std::int64_t>(stats->writtenBytes),
                                .readTime = ticks(stats->readMilliseconds),
                                .writeTime = ticks(stats->writeMilliseconds),
                                .readCount = static_cast<std::uint32_t>(stats->reads),
                                .writeCount = static_cast<std::uint32_t>(stats->writes),
                                .queueDepth = static_cast<std::uint32_t>(stats->inFlight),
                                .storageDeviceNumber = target.disk.number};
    performance.queryTime = uptime * kTicksPerMillisecond;
    performance.idleTime = std::max<std::int64_t>(0, performance.queryTime - ticks(stats->busyMilliseconds));
    performance.storageManagerName = target.volume ? emulated::kVolumeManager : emulated::kDiskManager;
    return buffers.AnswerWhole(performance);
}

Win32Error GetDriveLayout(const Machine& machine, const Target& target, int descriptor, ControlBuffers& buffers)
{
    const std::optional<PartitionTable> table = TableOf(machine, target, descriptor);
    if (!table) {
        return Win32FromErrno(errno);
    }
    const auto entries = std::as_bytes(std::span(table->entries));
    if (buffers.out.size() < sizeof(table->head) + entries.size() || !buffers.Answer(table->head) ||
        !buffers.AnswerBytes(entries, sizeof(table->head))) {
        return win32::kInsufficientBuffer;
    }
    buffers.returned = static_cast<std::uint32_t>(sizeof(table->head) + entries.size());
    return win32::kSuccess;
}

Win32Error GetPartitionInfo(const Machine& machine, const Target& target, int descriptor, ControlBuffers& buffers)
{
    const std::optional<PartitionTable> table = TableOf(machine, target, descriptor);
    if (!table) {
        return Win32FromErrno(errno);
    }
    if (target.PartitionNumber() == 0) {
        // The whole disk: no entry, so no identifier.
        PartitionInformationEx whole;
        whole.partitionStyle = table->head.partitionStyle;
        whole.partitionLength = static_cast<std::int64_t>(target.disk.bytes);
        return buffers.AnswerWhole(whole);
    }
    const auto entry = std::ranges::find(table->entries, target.PartitionNumber(), &PartitionInformationEx::partitionNumber);
    if (entry != table->entries.end()) {
        return buffers.AnswerWhole(*entry);
    }
    // A kind of table that is not known here, or one that changed since the kernel read it.
    const auto known = std::ranges::find(target.disk.partitions, target.PartitionNumber(), &Partition::number);
    if (known == target.disk.partitions.end()) {
        return win32::kNoSuchDevice;
    }
    PartitionInformationEx place;
    place.partitionStyle = PartitionStyle::Raw;
    place.partitionNumber = known->number;
    place.startingOffset = static_cast<std::int64_t>(known->startBytes);
    place.partitionLength = static_cast<std::int64_t>(known->bytes);
    return buffers.AnswerWhole(place);
}

}  // namespace orbis::platform::linux_system
