#include "emulated/LastError.h"

#include "platform/Errors.h"

namespace orbis::platform::emulated {
namespace {

thread_local Win32Error t_LastError = win32::kSuccess;

}  // namespace

Win32Error LastError() noexcept { return t_LastError; }
void SetLastError(Win32Error error) noexcept { t_LastError = error; }

}  // namespace orbis::platform::emulated
