#pragma once

#include <windows.h>

namespace orbis::tests {

// True where Wine stands in for Windows. Tests name each thing that it does otherwise, and say what it does.
inline bool OnWine() { return ::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr; }

}  // namespace orbis::tests
