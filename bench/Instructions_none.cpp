#include "Instructions.h"

// For operating systems that do not count instructions for a program.
namespace orbis::bench {

Instructions::Instructions() noexcept = default;
Instructions::~Instructions() = default;
std::optional<std::uint64_t> Instructions::Count() const noexcept { return std::nullopt; }

}  // namespace orbis::bench
