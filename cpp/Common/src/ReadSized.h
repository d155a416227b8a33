#pragma once

#include <cstdint>
#include <vector>

namespace Veyra::Orbis::Cpp::Common {

// Asks for the size, allocates and asks again, for system calls that return the number of elements written or, when the buffer is
// too small, the number needed. `call` takes the buffer (null with 0 elements) and its size in elements. Empty when the call
// answers 0, or when the data keeps growing between the calls.
template <class Element, class Call>
[[nodiscard]] std::vector<Element> ReadSized(Call&& call)
{
    constexpr int kAttempts = 4;
    std::vector<Element> buffer;
    std::uint32_t needed = call(static_cast<Element*>(nullptr), std::uint32_t{0});
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        buffer.assign(needed, Element{});
        const std::uint32_t written = call(buffer.empty() ? nullptr : buffer.data(), needed);
        if (written <= needed) {
            buffer.resize(written);
            return buffer;
        }
        needed = written;
    }
    return {};
}

}  // namespace Veyra::Orbis::Cpp::Common
