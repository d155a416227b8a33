#include <cstdint>
#include <cstring>

#include "WindowsHeaders.h"
#include "platform/Memory.h"

namespace orbis::platform {
namespace {

bool IsReadable(const MEMORY_BASIC_INFORMATION& pages) noexcept
{
    constexpr DWORD kReadable =
        PAGE_READONLY | PAGE_READWRITE | PAGE_WRITECOPY | PAGE_EXECUTE_READ | PAGE_EXECUTE_READWRITE | PAGE_EXECUTE_WRITECOPY;
    return pages.State == MEM_COMMIT && (pages.Protect & kReadable) != 0 && (pages.Protect & (PAGE_GUARD | PAGE_NOACCESS)) == 0;
}

bool AreReadable(const void* address, std::size_t bytes) noexcept
{
    const auto begin = reinterpret_cast<std::uintptr_t>(address);
    const std::uintptr_t end = begin + bytes;
    std::uintptr_t at = begin;
    while (at >= begin && at < end) {
        MEMORY_BASIC_INFORMATION pages{};
        if (::VirtualQuery(reinterpret_cast<const void*>(at), &pages, sizeof pages) == 0 || !IsReadable(pages)) {
            return false;
        }
        at = reinterpret_cast<std::uintptr_t>(pages.BaseAddress) + pages.RegionSize;
    }
    return at >= end && end >= begin;
}

}  // namespace

// ReadProcessMemory copies under a guard of its own, so it goes first. Where it is refused for the process's own memory, as by Wine
// in an emulator without ptrace, the pages are looked at before they are read.
bool Memory::Read(const void* address, void* to, std::size_t bytes) noexcept
{
    SIZE_T copied = 0;
    if (::ReadProcessMemory(::GetCurrentProcess(), address, to, bytes, &copied) != FALSE) {
        return copied == bytes;
    }
    if (!AreReadable(address, bytes)) {
        return false;
    }
    std::memcpy(to, address, bytes);
    return true;
}

}  // namespace orbis::platform
