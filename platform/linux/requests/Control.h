#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>
#include <type_traits>

#include "linux/kernel/Kernel.h"

// What the handlers of control requests share. A handler gives a Win32 error, kSuccess for none.
namespace orbis::platform::linux_system {

using Win32Error = std::uint32_t;

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
};

// An open device and the kernel's way into it.
struct KernelDevice {
    const KernelCalls& calls;
    int descriptor = -1;

    // ioctl(2); -1 with errno.
    int Ioctl(unsigned long request, void* argument) const;
};

[[nodiscard]] std::chrono::nanoseconds MonotonicClock(const KernelCalls& calls);
// A request's time-out in the milliseconds that the kernel takes; 0 leaves it to the driver.
[[nodiscard]] std::uint32_t KernelTimeout(std::uint32_t seconds) noexcept;

// No request that is let through moves more than this; larger ones are refused before anything is allocated.
inline constexpr std::uint32_t kLargestTransfer = 1U << 20;

}  // namespace orbis::platform::linux_system
