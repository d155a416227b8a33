#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>

#include "linux/kernel/Kernel.h"
#include "platform/Errors.h"

namespace orbis::platform::linux_system {

std::uint32_t Win32FromErrno(int error) noexcept
{
    constexpr std::array<std::pair<int, std::uint32_t>, 22> kErrors{{
        {0, win32::kSuccess},
        {EACCES, win32::kAccessDenied},
        {EPERM, win32::kAccessDenied},
        {EROFS, win32::kAccessDenied},
        {ENOENT, win32::kFileNotFound},
        {ENOTDIR, win32::kPathNotFound},
        {ENXIO, win32::kNoSuchDevice},
        {ENODEV, win32::kNoSuchDevice},
        {ENOTTY, win32::kNotSupported},
        {EOPNOTSUPP, win32::kNotSupported},
        {ENOSYS, win32::kNotSupported},
        {EMFILE, win32::kTooManyOpenFiles},
        {ENFILE, win32::kTooManyOpenFiles},
        {ENOMEM, win32::kNotEnoughMemory},
        {EBADF, win32::kInvalidHandle},
        {EBUSY, win32::kBusy},
        {EINVAL, win32::kInvalidParameter},
        {ETIMEDOUT, win32::kSemTimeout},
        {ENOMEDIUM, win32::kNotReady},
        {EILSEQ, win32::kCrc},
        {EIO, win32::kIoDevice},
        {EREMOTEIO, win32::kIoDevice},
    }};
    const auto found = std::ranges::find(kErrors, error, &std::pair<int, std::uint32_t>::first);
    return found != kErrors.end() ? found->second : win32::kGenFailure;
}

}  // namespace orbis::platform::linux_system
