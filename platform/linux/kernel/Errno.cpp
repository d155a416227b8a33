#include "linux/kernel/Errno.h"

#include <cerrno>

#include "platform/Errors.h"

namespace orbis::platform::linux_system {

std::uint32_t Win32FromErrno(int error) noexcept
{
    switch (error) {
        case 0:
            return win32::kSuccess;
        case EACCES:
        case EPERM:
        case EROFS:
            return win32::kAccessDenied;
        case ENOENT:
            return win32::kFileNotFound;
        case ENOTDIR:
            return win32::kPathNotFound;
        case ENXIO:
        case ENODEV:
            return win32::kNoSuchDevice;
        case ENOTTY:
        case EOPNOTSUPP:
        case ENOSYS:
            return win32::kNotSupported;
        case EMFILE:
        case ENFILE:
            return win32::kTooManyOpenFiles;
        case ENOMEM:
            return win32::kNotEnoughMemory;
        case EBADF:
            return win32::kInvalidHandle;
        case EBUSY:
            return win32::kBusy;
        case EINVAL:
            return win32::kInvalidParameter;
        case ETIMEDOUT:
            return win32::kSemTimeout;
        case ENOMEDIUM:
            return win32::kNotReady;
        case EILSEQ:
            return win32::kCrc;
        case EIO:
        case EREMOTEIO:
            return win32::kIoDevice;
        default:
            return win32::kGenFailure;
    }
}

}  // namespace orbis::platform::linux_system
