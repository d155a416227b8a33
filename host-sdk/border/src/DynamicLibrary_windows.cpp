#include <windows.h>

#include <string>
#include <system_error>

#include "DynamicLibrary.h"
#include "HostBorder/PluginHost.h"

namespace orbis::border {

// The plug-in's own folder and the system's are searched for what it depends on; the current folder and PATH are not.
DynamicLibrary::DynamicLibrary(const std::filesystem::path& absolutePath)
    : m_Handle(LoadLibraryExW(absolutePath.c_str(), nullptr, LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_DEFAULT_DIRS))
{
    if (m_Handle == nullptr) {
        const std::error_code reason(static_cast<int>(GetLastError()), std::system_category());
        throw PluginLoadError("cannot load " + absolutePath.string() + ": " + reason.message());
    }
}

void* DynamicLibrary::Find(const char* name) const noexcept
{
    return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(m_Handle), name));
}

}  // namespace orbis::border
