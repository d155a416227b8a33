#include "WindowsHeaders.h"
#include "platform/Memory.h"

namespace orbis::platform {

bool Memory::Read(const void* address, void* to, std::size_t bytes) noexcept
{
    SIZE_T copied = 0;
    return ::ReadProcessMemory(::GetCurrentProcess(), address, to, bytes, &copied) != FALSE && copied == bytes;
}

}  // namespace orbis::platform
