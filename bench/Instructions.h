#pragma once

#include <cstdint>
#include <optional>

namespace orbis::bench {

// Counts this thread's instructions in user mode for as long as it lives, where the machine counts them; a virtual one mostly does
// not.
class Instructions {
public:
    Instructions() noexcept;
    Instructions(const Instructions&) = delete;
    Instructions& operator=(const Instructions&) = delete;
    ~Instructions();

    [[nodiscard]] std::optional<std::uint64_t> Count() const noexcept;

private:
    int m_Counter = -1;
};

}  // namespace orbis::bench
