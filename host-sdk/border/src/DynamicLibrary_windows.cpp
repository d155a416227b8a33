#include <windows.h>

#include <string>

#include "DynamicLibrary.h"
#include "HostBorder/PluginHost.h"
#include "TextOf.h"

namespace orbis::border {

// The plug-in's own folder and the system's are searched for what it depends on; the current folder and PATH are not.
DynamicLibrary::DynamicLibrary(const std::filesystem::path& absolutePath)
    : m_Handle(LoadLibraryExW(absolutePath.c_str(), nullptr, LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_DEFAULT_DIRS))
{
    if (m_Handle == nullptr) {
        throw PluginLoadError("cannot load " + TextOf(absolutePath) + ": Windows error " + std::to_string(GetLastError()));
    }
}

void* DynamicLibrary::Find(const char* name) const noexcept
{
    return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(m_Handle), name));
}

}  // namespace orbis::border
