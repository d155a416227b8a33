#include "emulated/Control.h"

#include <array>

namespace orbis::platform::emulated {
namespace {

// Appends a zero-terminated text and gives its offset.
std::uint32_t Append(std::vector<std::byte>& descriptor, std::string_view text)
{
    if (text.empty()) {
        return 0;
    }
    const auto offset = static_cast<std::uint32_t>(descriptor.size());
    const auto bytes = std::as_bytes(std::span(text.data(), text.size()));
    descriptor.insert(descriptor.end(), bytes.begin(), bytes.end());
    descriptor.push_back(std::byte{0});
    return offset;
}

}  // namespace

std::optional<Win32Error> CheckPropertyQuery(const StoragePropertyQueryHead& query, std::size_t inputSize,
                                             bool hasProtocol) noexcept
{
    constexpr std::size_t kPropertyQuerySize = 12;  // sizeof STORAGE_PROPERTY_QUERY
    if (inputSize < kPropertyQuerySize) {
        return win32::kBadLength;
    }
    const bool exists = query.propertyId == kStorageDeviceProperty || query.propertyId == kStorageAdapterProperty ||
                        (hasProtocol && IsProtocolProperty(query));
    if (!exists) {
        return win32::kInvalidFunction;
    }
    if (query.queryType == kPropertyStandardQuery) {
        return std::nullopt;
    }
    return query.queryType == kPropertyExistsQuery ? win32::kSuccess : win32::kNotSupported;
}

std::vector<std::byte> DeviceDescriptor(const DeviceDescription& device)
{
    StorageDeviceDescriptorHead head;
    std::vector<std::byte> descriptor(kStorageDeviceDescriptorSize);
    head.version = kStorageDeviceDescriptorSize;
    head.removableMedia = device.isRemovable ? 1 : 0;
    head.commandQueueing = 1;
    head.vendorIdOffset = Append(descriptor, device.vendor);
    head.productIdOffset = Append(descriptor, device.product);
    head.productRevisionOffset = Append(descriptor, device.revision);
    head.serialNumberOffset = Append(descriptor, device.serial);
    head.busType = device.busType;
    head.size = static_cast<std::uint32_t>(descriptor.size());
    std::memcpy(descriptor.data(), &head, sizeof(head));
    return descriptor;
}

std::vector<std::byte> AdapterDescriptor(BusType busType)
{
    // Version, size, longest transfer in bytes and pages, alignment, four flags and the bus type, version of the bus.
    constexpr std::uint32_t kSize = 32;
    const std::array<std::uint32_t, kSize / 4> words{
        kSize, kSize, 0x100000, 257, 0, 0, static_cast<std::uint8_t>(busType) | 2U << 16};
    const auto bytes = std::as_bytes(std::span(words));
    return {bytes.begin(), bytes.end()};
}

DiskGeometry LargeDiskGeometry(std::uint64_t bytes, std::uint32_t bytesPerSector, bool isRemovable) noexcept
{
    constexpr std::uint32_t kTracksPerCylinder = 255;
    constexpr std::uint32_t kSectorsPerTrack = 63;
    constexpr std::uint32_t kRemovableMedia = 11;
    constexpr std::uint32_t kFixedMedia = 12;
    const std::uint64_t cylinder = std::uint64_t{kTracksPerCylinder} * kSectorsPerTrack * bytesPerSector;
    return {.cylinders = static_cast<std::int64_t>(bytes / cylinder),
            .mediaType = isRemovable ? kRemovableMedia : kFixedMedia,
            .tracksPerCylinder = kTracksPerCylinder,
            .sectorsPerTrack = kSectorsPerTrack,
            .bytesPerSector = bytesPerSector};
}

}  // namespace orbis::platform::emulated
