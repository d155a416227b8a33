#include "Instructions.h"

// Where the operating system does not count them for a program.
namespace orbis::bench {

Instructions::Instructions() noexcept = default;
Instructions::~Instructions() = default;
std::optional<std::uint64_t> Instructions::Count() const noexcept { return std::nullopt; }

}  // namespace orbis::bench
