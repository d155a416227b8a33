#pragma once

// Includes windows.h without its rarely used headers and its min and max macros, and converts the port's types to the SDK's.
#define WIN32_LEAN_AND_MEAN
#define NOMINMAX
#include <windows.h>

#include <bit>
#include <cstdint>

#include "platform/Guid.h"

namespace orbis::platform {

static_assert(sizeof(wchar_t) == sizeof(char16_t) && sizeof(void*) == 8, "UTF-16 text and a 64-bit process");
static_assert(sizeof(GUID) == sizeof(Guid));

inline const wchar_t* AsWide(const char16_t* text) noexcept { return reinterpret_cast<const wchar_t*>(text); }
inline wchar_t* AsWide(char16_t* text) noexcept { return reinterpret_cast<wchar_t*>(text); }
inline HANDLE AsHandle(std::intptr_t value) noexcept { return reinterpret_cast<HANDLE>(value); }
inline std::intptr_t FromHandle(HANDLE handle) noexcept { return reinterpret_cast<std::intptr_t>(handle); }
inline GUID AsGuid(const Guid& guid) noexcept { return std::bit_cast<GUID>(guid); }

}  // namespace orbis::platform
