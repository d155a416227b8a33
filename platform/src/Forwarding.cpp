#include "platform/Forwarding.h"

namespace orbis::platform {
namespace {

thread_local std::uint32_t t_LastError = 0;

}  // namespace

std::uint32_t SavedLastError() noexcept { return t_LastError; }
void SaveLastError(std::uint32_t error) noexcept { t_LastError = error; }

}  // namespace orbis::platform
