#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>
#include <string_view>
#include <type_traits>
#include <vector>

#include "emulated/LastError.h"
#include "platform/Errors.h"
#include "platform/Requests.h"

// Shared by the handlers of control requests. A handler returns a Win32 error, or kSuccess.
namespace orbis::platform::emulated {

// The caller's buffers of one request. `in` and `out` may be the same bytes: read all of a request before the answer is written.
struct ControlBuffers {
    std::span<const std::byte> in;
    std::span<std::byte> out;
    std::uint32_t returned = 0;  // bytes of the answer

    template <typename T>
    [[nodiscard]] std::optional<T> Request(std::size_t offset = 0) const noexcept
    {
        static_assert(std::is_trivially_copyable_v<T>);
        if (offset > in.size() || in.size() - offset < sizeof(T)) {
            return std::nullopt;
        }
        T value;
        std::memcpy(&value, in.data() + offset, sizeof(T));
        return value;
    }

    // Writes all of `value` at `offset`; false when it does not fit.
    template <typename T>
    [[nodiscard]] bool Answer(const T& value, std::size_t offset = 0) noexcept
    {
        static_assert(std::is_trivially_copyable_v<T>);
        return AnswerBytes(std::as_bytes(std::span(&value, 1)), offset);
    }

    [[nodiscard]] bool AnswerBytes(std::span<const std::byte> bytes, std::size_t offset) noexcept
    {
        if (offset > out.size() || out.size() - offset < bytes.size()) {
            return false;
        }
        if (!bytes.empty()) {
            std::memcpy(out.data() + offset, bytes.data(), bytes.size());
        }
        return true;
    }

    // The whole answer: all of `value` or nothing.
    template <typename T>
    [[nodiscard]] Win32Error AnswerWhole(const T& value) noexcept
    {
        const bool fits = Answer(value);
        returned = fits ? sizeof(value) : 0;
        return fits ? win32::kSuccess : win32::kInsufficientBuffer;
    }
};

// A property query answered as far as no driver is needed: its error, or success for a query whether the property exists. Nothing:
// a standard query of a property that exists. NVMe disks alone have protocol-specific properties.
[[nodiscard]] std::optional<Win32Error> CheckPropertyQuery(const StoragePropertyQueryHead& query, std::size_t inputSize,
                                                           bool hasProtocol) noexcept;
[[nodiscard]] constexpr bool IsProtocolProperty(const StoragePropertyQueryHead& query) noexcept
{
    return query.propertyId == kStorageAdapterProtocolSpecificProperty ||
           query.propertyId == kStorageDeviceProtocolSpecificProperty;
}
// A descriptor's beginning goes into a short buffer, if that holds its version and size.
inline constexpr std::size_t kShortestDescriptor = 8;

// STORAGE_DEVICE_DESCRIPTOR; an empty text is absent.
struct DeviceDescription {
    BusType busType = BusType::Unknown;
    bool isRemovable = false;
    std::string_view vendor;
    std::string_view product;
    std::string_view revision;
    std::string_view serial;
};
[[nodiscard]] std::vector<std::byte> DeviceDescriptor(const DeviceDescription& device);
// STORAGE_ADAPTER_DESCRIPTOR as far as bus type and limits.
[[nodiscard]] std::vector<std::byte> AdapterDescriptor(BusType busType);
// The keeper of the counts of DISK_PERFORMANCE: the partition manager for a disk, the volume manager for a volume.
inline constexpr std::array<char16_t, 8> kDiskManager{u'P', u'h', u'y', u's', u'D', u'i', u's', u'k'};
inline constexpr std::array<char16_t, 8> kVolumeManager{u'V', u'O', u'L', u'M', u'G', u'R', u' ', u' '};
// The geometry that Windows reports for every disk, because modern drives have none.
[[nodiscard]] DiskGeometry LargeDiskGeometry(std::uint64_t bytes, std::uint32_t bytesPerSector, bool isRemovable) noexcept;

}  // namespace orbis::platform::emulated
