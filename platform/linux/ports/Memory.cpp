#include "platform/Memory.h"

#include <sys/uio.h>
#include <unistd.h>

#include <limits>

namespace orbis::platform {

// The kernel copies, so an address that is not mapped is an error and no signal. Reading oneself needs no privilege.
bool Memory::Read(const void* address, void* to, std::size_t bytes) noexcept
{
    constexpr auto kMost = static_cast<std::size_t>(std::numeric_limits<ssize_t>::max());
    const iovec local{to, bytes};
    const iovec remote{const_cast<void*>(address), bytes};
    return bytes <= kMost && ::process_vm_readv(::getpid(), &local, 1, &remote, 1, 0) == static_cast<ssize_t>(bytes);
}

}  // namespace orbis::platform
