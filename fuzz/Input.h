#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>

namespace orbis::fuzz {

using Bytes = std::span<const std::uint8_t>;

// How a target reads its input: data from the front, choices from the back, zeros when it is used up. A seed is therefore the
// content of a device or a file, followed by a few bytes of choices.
class Input {
public:
    explicit Input(Bytes bytes) noexcept : m_Rest(bytes) {}

    // At most `size` bytes.
    [[nodiscard]] Bytes Data(std::size_t size) noexcept
    {
        const Bytes data = m_Rest.first(std::min(size, m_Rest.size()));
        m_Rest = m_Rest.subspan(data.size());
        return data;
    }
    template <class T>
    [[nodiscard]] T Number() noexcept
    {
        std::uint64_t value = 0;
        for (std::size_t byte = 0; byte < sizeof(T); ++byte) {
            value = value << 8U | LastByte();
        }
        return static_cast<T>(value);
    }
    // 0 to `count` - 1.
    [[nodiscard]] std::uint32_t Below(std::uint32_t count) noexcept
    {
        return (count <= 256 ? Number<std::uint8_t>() : Number<std::uint32_t>()) % count;
    }
    [[nodiscard]] bool Choice() noexcept { return Below(2) != 0; }
    template <class T, std::size_t N>
    [[nodiscard]] T OneOf(const T (&values)[N]) noexcept
    {
        return values[Below(N)];
    }

private:
    std::uint8_t LastByte() noexcept
    {
        if (m_Rest.empty()) {
            return 0;
        }
        const std::uint8_t last = m_Rest.back();
        m_Rest = m_Rest.first(m_Rest.size() - 1);
        return last;
    }

    Bytes m_Rest;
};

}  // namespace orbis::fuzz
